#include "rehearse/residue.h"

#include <algorithm>

#include "engine/manifest.h"
#include "common/text.h"
#include "common/copied_files.h"
#include "support/handles.h"

namespace rehearse {

namespace {

bool IsFolder(const std::string& name) {
    return name.ends_with('\\');
}

bool IsInRegistry(const std::string& name) {
    return name.starts_with("HK");
}

// Whether a name contains a name of the product. The name of the maker does not count, because other products have it too.
bool NamesProduct(std::string name) {
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
    for (const char* own : {"qantivo", "qtv", "qv8."})
        if (name.find(own) != name.npos) return true;
    return false;
}

// Whether the system finds a file by this name only if the file has it, but for the case of its letters.
bool NamesItself(const CString& name) {
    return std::all_of(
               name.Text().begin(), name.Text().end(),
               [](WCHAR unit) { return unit >= 0x20 && unit < 0x7F && !wcschr(TEXT("*?<>\"~/"), unit); }) &&
           name.Last() != '.';
}

// Adds the files that the system finds by the patterns, as the removal does.
void AddNamed(const std::string& folder, const std::vector<CString>& patterns,
              std::unordered_set<std::string>& named) {
    for (const CString& pattern : patterns) {
        const CString path = CString(tools::Wide(folder).c_str()) + pattern;
        if (NamesItself(pattern)) {
            named.insert(Folded(tools::Utf8(path.Text())));
            continue;
        }
        const CString found = path.Left(path.ReverseFind('\\') + 1);
        WIN32_FIND_DATAW data;
        const FindHandle find(FindFirstFileW(path, &data));
        if (!find) continue;
        do {
            named.insert(Folded(tools::Utf8((found + data.cFileName).Text())));
        } while (FindNextFileW(find.get(), &data));
    }
}

}  // namespace

Installation::Installation(const std::string& uninstaller, const lab::State& machine)
    : m_folder(tools::FolderOf(uninstaller)),
      m_parent(tools::FolderOf(m_folder.substr(0, m_folder.size() - 1))),
      m_machine(machine) {
    ReadLog("install.log");
    ReadLog("QtvUnInst.log");
}

void Installation::ReadLog(const char* name) {
    const FileStream log(_wfopen(tools::Wide(m_folder + name).c_str(), TEXT("r")));
    if (!log) return;
    ForEachRecord(log.get(), [&](const LogRecord& record) {
        if (record.kind.removal != AtRemoval::DeleteFiles) return;
        const CString pattern = RemovalPattern(record.value);
        m_patterns.push_back(pattern);
        if (record.kind.install == AtInstall::CopyToParent) m_portablePatterns.push_back(pattern);
    });
}

void Installation::FindNamed() {
    AddNamed(m_folder, m_patterns, m_named);
    AddNamed(m_parent, m_portablePatterns, m_namedInParent);
}

std::string Installation::WhyLeft(const lab::Change& change) const {
    const std::string& name = change.name;
    if (change.kind == '-' && name.starts_with(m_folder))
        return "the installation folder is the package's own";
    if (change.kind != '+') return {};
    if (IsInRegistry(name)) return WhyKeyLeft(name);
    if (!IsFolder(name)) return WhyFileLeft(name);
    return name != m_folder && m_folder.starts_with(name) ? "on the way to the installation folder" : "";
}

std::string Installation::WhyFileLeft(const std::string& name) const {
    if (name.starts_with(m_folder))
        return m_named.contains(tools::Folded(name)) ? "" : "the log doesn't name it, so nothing takes it";
    return tools::FolderOf(name) == m_parent && m_namedInParent.contains(tools::Folded(name))
               ? "a portable installation's, in the parent folder"
               : "";
}

std::string Installation::WhyKeyLeft(const std::string& name) const {
    if (!IsFolder(name) || NamesProduct(name)) return {};
    for (auto below = m_machine.upper_bound(name); below != m_machine.end() && below->first.starts_with(name);
         ++below)
        if (NamesProduct(below->first.substr(name.size()))) return "on the way to a key of the product";
    return {};
}

std::vector<Leftover> Judge(const Changes& left, std::vector<Installation> installations) {
    for (Installation& installation : installations)
        installation.FindNamed();
    std::vector<Leftover> judged;
    std::unordered_set<std::string> held;  // folders with something in them that may stay
    for (const auto& change : left) {
        std::string reason;
        for (const Installation& installation : installations)
            if (reason.empty()) reason = installation.WhyLeft(change);
        std::size_t end = reason.empty() ? 0 : change.name.size() - 1;
        while (end != 0 && (end = change.name.rfind('\\', end - 1)) != change.name.npos)
            if (!held.insert(change.name.substr(0, end + 1)).second) break;
        judged.push_back({change, reason});
    }
    // A folder is deleted only if it is empty.
    for (Leftover& folder : judged)
        if (folder.reason.empty() && !IsInRegistry(folder.change.name) && held.contains(folder.change.name))
            folder.reason = "it holds what stays";
    return judged;
}

}  // namespace rehearse
