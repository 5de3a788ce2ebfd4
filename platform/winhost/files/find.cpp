// Searches: the names that match a pattern, in the order in which NTFS stores them.
#include "files/find.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <vector>

#include "core/faults.h"
#include "core/handles.h"
#include "core/text.h"
#include "files/attributes.h"
#include "files/paths.h"
#include "files/stored_names.h"
#include "name_patterns.h"

namespace winhost {

namespace {

// A search is a snapshot of names. Everything else about a file is read when it is returned.
struct Search : KernelObject {
    bool IsKernels() const override { return false; }
    std::string folder;
    std::vector<std::string> names;
    std::size_t next = 0;
};

FILETIME TimeOf(const statx_timestamp& time) {
    constexpr LONGLONG kSecondsBefore1970 = 11644473600;
    const auto ticks =
        static_cast<ULONGLONG>((time.tv_sec + kSecondsBefore1970) * 10000000 + time.tv_nsec / 100);
    return {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
}

bool MatchesByShortName(const std::string& folder, const std::string& name,
                        const std::u16string& expression) {
    const std::u16string shortName = ShortName(folder, name);
    return !shortName.empty() && names::Matches(expression, shortName);
}

std::vector<std::string> MatchingNames(const Place& folder, const std::u16string& expression) {
    struct Entry {
        std::u16string key;
        std::string name;
    };
    std::vector<Entry> found;
    const bool isRoot = folder.windows.size() == 3;
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir(folder.host.c_str()), closedir);
    while (const dirent* entry = entries ? readdir(entries.get()) : nullptr) {
        const std::string name = entry->d_name;
        if (isRoot && (name == "." || name == "..")) continue;
        std::u16string key = Upper(Utf16(name));
        if (names::Matches(expression, key) || MatchesByShortName(folder.host, name, expression))
            found.push_back({std::move(key), name});
    }
    // "." and ".." come first, because NTFS doesn't store them and adds them before the stored names.
    const auto rank = [](const Entry& entry) { return entry.name == "." ? 0 : entry.name == ".." ? 1 : 2; };
    std::sort(found.begin(), found.end(), [&](const Entry& left, const Entry& right) {
        return rank(left) != rank(right) ? rank(left) < rank(right) : left.key < right.key;
    });
    std::vector<std::string> names;
    for (Entry& entry : found)
        names.push_back(std::move(entry.name));
    return names;
}

// Fills the search. Returns the error code, or 0 when it found something.
DWORD Start(Search& search, LPCWSTR pattern) {
    const DWORD before = GetLastError();
    const std::u16string full = FullPath(pattern);
    SetLastError(before);
    if (full.empty() || full.size() >= MAX_PATH) return ERROR_PATH_NOT_FOUND;
    const std::size_t separator = full.rfind(u'\\');
    const std::u16string_view name = std::u16string_view(full).substr(separator + 1);
    if (full.starts_with(u"\\\\")) {
        const Place device = Locate(pattern);
        search.names = {Utf8(name)};
        return device.isDevice ? 0 : device.error;
    }
    const Place folder = Locate(full.substr(0, separator + 1));
    if (folder.isFileForFolder) return ERROR_DIRECTORY;
    if (!folder.exists())
        return folder.error == ERROR_INVALID_NAME ? ERROR_INVALID_NAME : ERROR_PATH_NOT_FOUND;
    if (name.empty()) return ERROR_FILE_NOT_FOUND;
    search.folder = folder.host;
    // The rules for paths cut the end of a name, which has a meaning in a pattern.
    const std::u16string_view path = pattern;
    const std::u16string typed = Upper(path.substr(path.find_last_of(u"\\/:") + 1));
    if (!names::IsPattern(typed)) {
        const Place place = Locate(full);
        if (!place.exists()) return place.error;
        search.names = {place.host.substr(place.host.rfind('/') + 1)};
        return 0;
    }
    if (name.find_first_of(u":|") != name.npos) return ERROR_INVALID_NAME;
    search.names = MatchingNames(folder, names::Expression(typed));
    return search.names.empty() ? ERROR_FILE_NOT_FOUND : 0;
}

}  // namespace

void Describe(const std::string& folder, const std::string& name, WIN32_FIND_DATAW& data) {
    data = {};
    const std::u16string text = Utf16(name);
    std::copy_n(text.data(), std::min<std::size_t>(text.size(), MAX_PATH - 1), data.cFileName);
    const std::u16string shortName = ShortName(folder, name);
    std::copy(shortName.begin(), shortName.end(), data.cAlternateFileName);
    data.dwFileAttributes = FILE_ATTRIBUTE_ARCHIVE;
    const std::string host = folder + "/" + name;
    struct statx info;
    // A file that was deleted after the start of the search is still returned, by its name only.
    if (statx(AT_FDCWD, host.c_str(), 0, STATX_BASIC_STATS | STATX_BTIME, &info) != 0) return;
    const bool isFolder = S_ISDIR(info.stx_mode);
    data.dwFileAttributes = StoredAttributes(host, isFolder);
    data.ftCreationTime = TimeOf(info.stx_mask & STATX_BTIME ? info.stx_btime : info.stx_mtime);
    data.ftLastAccessTime = TimeOf(info.stx_atime);
    data.ftLastWriteTime = TimeOf(info.stx_mtime);
    if (isFolder) return;
    data.nFileSizeHigh = static_cast<DWORD>(info.stx_size >> 32);
    data.nFileSizeLow = static_cast<DWORD>(info.stx_size);
}

}  // namespace winhost

using namespace winhost;

HANDLE FindFirstFileW(LPCWSTR pattern, WIN32_FIND_DATAW* data) {
    if (Fails("FindFirstFileW")) return INVALID_HANDLE_VALUE;
    auto search = std::make_shared<Search>();
    if (const DWORD error = Start(*search, pattern)) {
        SetLastError(error);
        return INVALID_HANDLE_VALUE;
    }
    Describe(search->folder, search->names[search->next++], *data);
    return AddHandle(std::move(search));
}

BOOL FindNextFileW(HANDLE find, WIN32_FIND_DATAW* data) {
    if (Fails("FindNextFileW")) return FALSE;
    const auto search = HandleAs<Search>(find);
    if (!search) return FALSE;
    if (search->next == search->names.size()) {
        SetLastError(ERROR_NO_MORE_FILES);
        return FALSE;
    }
    Describe(search->folder, search->names[search->next++], *data);
    return TRUE;
}

BOOL FindClose(HANDLE find) {
    if (Fails("FindClose")) return FALSE;
    return HandleAs<Search>(find) && DropHandle(find);
}
