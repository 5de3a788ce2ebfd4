#include "private_folder.h"

#include <shlobj.h>

#include <algorithm>
#include <random>

#include "delete_marks.h"
#include "support/shell_folders.h"

namespace download {

namespace {

constexpr WCHAR kDigits[] = TEXT("abcdefghijklmnopqrstuvwxyz234567");
constexpr int kNameDigits = 26;  // 130 bits
constexpr WCHAR kExtension[] = TEXT(".dl");
constexpr int kAttempts = 3;
// A program that setup has started may need the folder for a moment.
constexpr int kRemovals = 20;
constexpr DWORD kRemovalMs = 50;

// Throws std::exception when the system has no random numbers.
CString NewName() {
    std::random_device random;
    CString name;
    for (int i = 0; i < kNameDigits; ++i)
        name += kDigits[random() % 32];
    return name + kExtension;
}

bool IsOwnName(LPCWSTR name) {
    const CString text = name;
    if (text.GetLength() != kNameDigits + 3 || text.Right(3) != kExtension) return false;
    return std::all_of(name, name + kNameDigits,
                       [](WCHAR digit) { return wcschr(kDigits, digit) != nullptr; });
}

// Calls `visit` for all that is in a folder, but not in those below.
template <class Visit>
void ForEachEntry(const CString& folder, Visit visit) {
    WIN32_FIND_DATAW found;
    const FindHandle search(FindFirstFileW(folder + TEXT("\\*"), &found));
    if (!search) return;
    do {
        const CString name = found.cFileName;
        if (name != TEXT(".") && name != TEXT("..")) visit(name, found.dwFileAttributes);
    } while (FindNextFileW(search.get(), &found));
}

// What is in the folder first, the deepest part first.
std::vector<CString> PathsOf(const CString& folder, const Table& table) {
    std::vector<CString> paths;
    for (const Rebuilt& rebuilt : table.rebuilt)
        paths.push_back(folder + TEXT("\\") + CString(rebuilt.file.name));
    for (auto entry = table.entries.rbegin(); entry != table.entries.rend(); ++entry)
        if (!entry->IsFolder()) paths.push_back(folder + TEXT("\\") + CString(entry->name));
    for (auto entry = table.entries.rbegin(); entry != table.entries.rend(); ++entry)
        if (entry->IsFolder()) paths.push_back(folder + TEXT("\\") + CString(entry->name));
    paths.push_back(folder);
    return paths;
}

constexpr DWORD kFolderFlags = FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT;

}  // namespace

Outcome PrivateFolder::Make(const Table& table) {
    const CString programs = GetShellFolder(CSIDL_PROGRAM_FILES);
    if (programs.IsEmpty()) return Outcome::Failed;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        const CString path = programs + TEXT("\\") + NewName();
        if (const DWORD error = MarkForNextStart(PathsOf(path, table))) return OutcomeOf(error);
        if (!MakeProtectedFolder(path)) {
            const DWORD error = GetLastError();
            (void)WithdrawMarks(path);
            return OutcomeOf(error);
        }
        m_path = path;
        m_hold =
            OpenHandle(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_EXISTING, kFolderFlags);
        if (m_hold) return Outcome::Right;
        // Another run that has just started has taken it for one that was left.
        (void)WithdrawMarks(path);
        m_path = TEXT("");
    }
    return Outcome::Failed;
}

PrivateFolder::~PrivateFolder() {
    if (m_path.IsEmpty()) return;
    m_hold.reset();
    for (int removal = 0; removal < kRemovals; ++removal) {
        if (RemoveTree(m_path)) {
            (void)WithdrawMarks(m_path);
            return;
        }
        Sleep(kRemovalMs);
    }
}

void PrivateFolder::RemoveOthers() const {
    const CString programs = GetShellFolder(CSIDL_PROGRAM_FILES);
    ForEachEntry(programs, [&](const CString& name, DWORD attributes) {
        const CString path = programs + TEXT("\\") + name;
        if (!IsOwnName(name) || path == m_path || !(attributes & FILE_ATTRIBUTE_DIRECTORY) ||
            (attributes & FILE_ATTRIBUTE_REPARSE_POINT))
            return;
        // Nobody can open it this way while a run holds it, or while it is the current folder of setup.
        KernelHandle left = OpenHandle(path, READ_CONTROL | DELETE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                       OPEN_EXISTING, kFolderFlags);
        if (!left || !HaveSameOwner(left.get(), m_hold.get())) return;
        left.reset();
        if (RemoveTree(path)) (void)WithdrawMarks(path);
    });
}

bool RemoveTree(const CString& folder) {
    ForEachEntry(folder, [&](const CString& name, DWORD attributes) {
        const CString path = folder + TEXT("\\") + name;
        if (attributes & FILE_ATTRIBUTE_READONLY) (void)SetFileAttributesW(path, FILE_ATTRIBUTE_NORMAL);
        if (!(attributes & FILE_ATTRIBUTE_DIRECTORY))
            (void)DeleteFileW(path);
        else if (attributes & FILE_ATTRIBUTE_REPARSE_POINT)
            (void)RemoveDirectoryW(path);
        else
            (void)RemoveTree(path);
    });
    return RemoveDirectoryW(folder) || GetLastError() == ERROR_FILE_NOT_FOUND;
}

}  // namespace download
