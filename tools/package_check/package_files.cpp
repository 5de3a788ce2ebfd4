#include "package_check/package_files.h"

#include <algorithm>
#include <stdexcept>

#include "engine/file_steps.h"
#include "name_patterns.h"
#include "package_check/name_rules.h"
#include "run/product.h"
#include "support/handles.h"

namespace package_check {

namespace {

// A link to a folder above it would make the search almost endless.
constexpr std::size_t kMostEntries = 1'000'000;

constexpr WCHAR kAgreement[] = TEXT("agreement.txt");

bool IsDotName(const CString& name) {
    return name == TEXT(".") || name == TEXT("..");
}

// A program with such a name installs, because setup chooses its job by the name.
bool IsSetup(CString name) {
    return name.MakeLower().Find(kInstallerNameTest) >= 0;
}

// Whether only the system can do the search: it knows the other case of these letters.
bool NeedsSystem(const CString& name) {
    const Wide& text = name.Text();
    return std::any_of(text.begin(), text.end(), [](WCHAR character) { return character >= 0x80; });
}

Wide FolderKey(const CString& folder) {
    Wide key = Key(folder);
    if (key.ends_with('\\')) key.pop_back();
    return key;
}

}  // namespace

PackageFiles::PackageFiles(const CString& folder, std::vector<Finding>& findings) : m_folder(folder) {
    std::vector<CString> folders{folder};
    while (!folders.empty()) {
        const CString next = folders.back();
        folders.pop_back();
        TakeFolder(next, folders, findings);
        if (m_entries.size() <= kMostEntries) continue;
        findings.push_back({"unreadable", "", 0, "more than a million files",
                            "The check read only the first million.",
                            "A package folder without links to a folder above."});
        return;
    }
}

void PackageFiles::TakeFolder(const CString& folder, std::vector<CString>& subFolders,
                              std::vector<Finding>& findings) {
    const CString start = WithSeparator(folder);
    const int cchPackage = WithSeparator(m_folder).GetLength();
    WIN32_FIND_DATAW data;
    const FindHandle find(FindFirstFileW(start + TEXT("*"), &data));
    if (!find) {
        findings.push_back({"unreadable", Utf8(folder.Mid(cchPackage)), 0, "a folder that can't be read",
                            "Its contents aren't checked.", "A folder that the check may read."});
        return;
    }
    do {
        const CString name = data.cFileName;
        if (IsDotName(name)) continue;
        const CString path = start + name;
        const Wide key = Key(path);
        m_keys[FolderOf(key.c_str()).Text()].insert(key);
        Entry& entry = m_entries[key];
        entry.name = path.Mid(cchPackage);
        entry.isFolder = (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
        if (entry.isFolder) {
            subFolders.push_back(path);
            continue;
        }
        const bool isSetup = IsSetup(name) && folder == m_folder;
        m_hasSetup = m_hasSetup || isSetup;
        entry.named =
            isSetup || entry.name.CompareNoCase(kLogFile) == 0 || entry.name.CompareNoCase(kAgreement) == 0;
    } while (FindNextFileW(find.get(), &data));
}

std::vector<PackageFiles::Match> PackageFiles::Find(const CString& pattern) const {
    const CString search = WithSeparator(m_folder) + pattern;
    if (!HasWildcard(pattern) && !NeedsSystem(pattern)) {
        const auto found = m_entries.find(Key(search));
        if (found == m_entries.end()) return {};
        return {{NameOf(found->second.name), found->second.isFolder}};
    }
    std::vector<Match> matches;
    if (HasWildcard(pattern)) {
        const names::Text expression = names::Expression(NameOf(pattern).MakeUpper().Text());
        for (const Wide& key : KeysIn(FolderOf(pattern)))
            if (const Entry& entry = m_entries.at(key);
                names::Matches(expression, NameOf(key.c_str()).Text()))
                matches.push_back({NameOf(entry.name), entry.isFolder});
        return matches;
    }
    if (HasTooLong(pattern)) throw std::runtime_error("a name that the host can't store: " + Utf8(pattern));
    WIN32_FIND_DATAW data;
    if (const FindHandle find(FindFirstFileW(search, &data)); find)
        matches.push_back({data.cFileName, (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0});
    return matches;
}

std::vector<Wide> PackageFiles::NamesIn(const CString& folder) const {
    std::vector<Wide> names;
    for (const Wide& key : KeysIn(folder))
        names.push_back(NameOf(key.c_str()).Text());
    return names;
}

const std::set<Wide>& PackageFiles::KeysIn(const CString& folder) const {
    static const std::set<Wide> kNone;
    const auto found = m_keys.find(FolderKey(WithSeparator(m_folder) + folder));
    return found == m_keys.end() ? kNone : found->second;
}

void PackageFiles::MarkNamed(const CString& path) {
    const auto found = m_entries.find(Key(path));
    if (found != m_entries.end()) found->second.named = true;
}

std::vector<CString> PackageFiles::Unnamed() const {
    std::vector<CString> names;
    for (const auto& [key, entry] : m_entries)
        if (!entry.named && !entry.isFolder) names.push_back(entry.name);
    std::sort(names.begin(), names.end(),
              [](const CString& left, const CString& right) { return left.Text() < right.Text(); });
    return names;
}

}  // namespace package_check
