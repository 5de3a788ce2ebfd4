#include "package_check/package_files.h"

#include <algorithm>

#include "app/setup_state.h"
#include "engine/file_steps.h"
#include "support/handles.h"

namespace package_check {

namespace {

// Links that lead back to a folder above would hardly come to an end.
constexpr std::size_t kMostEntries = 1'000'000;

constexpr WCHAR kAgreement[] = TEXT("agreement.txt");

bool IsDotName(const CString& name) {
    return name == TEXT(".") || name == TEXT("..");
}

// A program of that name installs, as the start tells the two jobs apart.
bool IsSetup(CString name) {
    return name.MakeLower().Find(kInstallerNameTest) >= 0;
}

// Whether a search is for the system to answer: patterns, short names, and letters whose other case only the
// file system knows.
bool NeedsSystem(const CString& pattern) {
    const auto isPlain = [](WCHAR character) { return character < 0x80 && character != '~'; };
    const Wide& text = pattern.Text();
    return HasWildcard(pattern) || !std::all_of(text.begin(), text.end(), isPlain);
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
                            "The check looked at the first million alone.",
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
        findings.push_back({"unreadable", Utf8(folder.Mid(cchPackage)), 0,
                            "a folder that can't be looked into", "What it holds isn't checked.",
                            "A folder that the check may read."});
        return;
    }
    do {
        const CString name = data.cFileName;
        if (IsDotName(name)) continue;
        const CString path = start + name;
        Entry& entry = m_entries[Key(path)];
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
    if (!NeedsSystem(pattern)) {
        const auto found = m_entries.find(Key(search));
        if (found == m_entries.end()) return {};
        return {{NameOf(found->second.name), found->second.isFolder}};
    }
    std::vector<Match> matches;
    WIN32_FIND_DATAW data;
    const FindHandle find(FindFirstFileW(search, &data));
    if (!find) return {};
    do {
        if (!IsDotName(data.cFileName))
            matches.push_back({data.cFileName, (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0});
    } while (FindNextFileW(find.get(), &data));
    return matches;
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
