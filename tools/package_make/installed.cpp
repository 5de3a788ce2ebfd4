#include "package_make/installed.h"

#include <algorithm>
#include <set>

#include "engine/file_steps.h"
#include "engine/manifest.h"
#include "package_check/name_rules.h"
#include "package_make/manifest_text.h"
#include "package_make/source_folder.h"

namespace package_make {

namespace {

using package_check::FolderOf;
using package_check::HasWildcard;
using package_check::NameOf;
using package_check::Utf8;

// Any folder with a parent will do: only what is below it counts.
constexpr WCHAR kTarget[] = TEXT("C:\\Parent\\Target\\");

// Returns the name by the system's rules. Empty if it leads out of the folder.
CString Below(const CString& name) {
    const CString path = package_check::FullPath(CString(kTarget) + name);
    const CString target = kTarget;
    return path.Left(target.GetLength()) == target ? path.Mid(target.GetLength()) : CString();
}

void Add(Names& names, const CString& name) {
    const CString below = Below(name);
    if (!below.IsEmpty()) names.try_emplace(Folded(below), below);
}

void AddWithParents(Names& folders, CString name) {
    for (; !name.IsEmpty(); name = FolderOf(name))
        Add(folders, name);
}

class InstalledReader {
  public:
    explicit InstalledReader(const package_check::PackageFiles& files) : m_files(files) {}

    void Take(const CString& line) {
        const LogRecord record = ReadRecord(line);
        if (!record.value) return;
        switch (record.kind.install) {
            case AtInstall::Copy:
                return Copy(record.value, m_installed.always);
            case AtInstall::CopyX64:
            case AtInstall::CopyIfMissing:
                return Copy(record.value, m_installed.sometimes);
            case AtInstall::CopyToParent:
                return Copy(record.value, m_installed.parent);
            case AtInstall::MakeFolder:
                return Add(m_installed.folders, record.value);
            case AtInstall::Nothing:
                break;
        }
        if (record.kind.removal != AtRemoval::DeleteFiles) return;
        if (CString(record.kind.prefix) == kFileDel)
            m_installed.removals.push_back(line);
        else
            Add(m_installed.overwritten, RemovalPattern(record.value));
    }

    Installed Result() { return std::move(m_installed); }

  private:
    void Copy(const CString& value, Names& names) {
        CString name, newName;
        const bool isTwoNames = SplitNames(value, name, newName);
        // Setup separates folders only by a backslash, and copies no folder.
        if (isTwoNames && HasWildcard(name)) return;
        for (const auto& match : m_files.Find(isTwoNames ? name : value)) {
            if (match.isFolder || value.Find('/') >= 0) continue;
            const CString folder = FolderOf(value);
            Add(names, isTwoNames         ? newName
                       : folder.IsEmpty() ? match.name
                                          : folder + TEXT("\\") + match.name);
            if (!isTwoNames && &names != &m_installed.parent) AddWithParents(m_installed.folders, folder);
        }
    }

    const package_check::PackageFiles& m_files;
    Installed m_installed;
};

std::string Sentence(const char* what, const CString& name, const std::string& advice) {
    return what + Utf8(name) + advice;
}

// Returns a file of this package that the pattern would delete at every update. Empty for none.
CString BackAgain(const CString& pattern, const Installed& present) {
    const Wide folded = Folded(pattern);
    if (!HasWildcard(pattern)) return present.Has(folded) ? pattern : CString();
    const names::Text expression = names::Expression(NameOf(folded.c_str()).Text());
    for (const Names* names : {&present.always, &present.sometimes})
        for (const auto& [key, name] : *names)
            if (FolderOf(key.c_str()) == FolderOf(folded.c_str()) &&
                names::Matches(expression, NameOf(key.c_str()).Text()))
                return name;
    return {};
}

// A record makes one level, and the removal takes folders in the order of their last records: so a folder comes before those
// in it, and once more after them.
void AddEmptyFolders(Update& update, const Installed& earlier, const Installed& present, bool makeDirs) {
    std::vector<CString> records;
    for (const auto& [key, name] : earlier.folders) {
        if (present.folders.contains(key)) continue;
        if (present.Has(key))
            update.stays.push_back(Sentence("the folder ", name, ", whose name is that of a file now"));
        else if (makeDirs)
            records.push_back(Prefix(AtInstall::MakeFolder) + name);
        else
            update.stays.push_back(
                Sentence("the empty folder ", name, ", unless the recipe names it: Make Dir: " + Utf8(name)));
    }
    update.records.insert(update.records.end(), records.begin(), records.end());
    for (auto record = records.rbegin(); record != records.rend(); ++record)
        if (std::any_of(records.begin(), records.end(), [&](const CString& other) {
                return Folded(other).starts_with(Folded(*record + TEXT("\\")));
            }))
            update.records.push_back(*record);
}

}  // namespace

Installed ReadInstalled(const package_check::PackageFiles& files, const std::vector<CString>& lines) {
    InstalledReader reader(files);
    for (const CString& line : lines)
        reader.Take(line);
    return reader.Result();
}

Update UpdateFrom(const Installed& earlier, const Installed& present, bool makeDirs) {
    Update update;
    std::set<Wide> named;
    for (const CString& line : present.removals)
        named.insert(Folded(RemovalPattern(ReadRecord(line).value)));
    for (const Names* names : {&earlier.always, &earlier.sometimes})
        for (const auto& [key, name] : *names)
            if (!present.Has(key) && named.insert(key).second) update.records.push_back(kFileDel + name);
    for (const CString& line : earlier.removals) {
        const CString pattern = RemovalPattern(ReadRecord(line).value);
        const CString back = BackAgain(pattern, present);
        if (!back.IsEmpty()) {
            if (HasWildcard(pattern))
                update.stays.push_back(Sentence("what the earlier record \"", line,
                                                "\" names, since the pattern matches " + Utf8(back) +
                                                    " as well: name the files one by one in the recipe"));
        } else if (named.insert(Folded(pattern)).second) {
            update.records.push_back(line);
        }
    }
    for (const auto& [key, name] : earlier.always)
        if (!present.always.contains(key) && present.sometimes.contains(key))
            update.stays.push_back(
                Sentence("", name, ", of the earlier version, where this one's record isn't carried out"));
    AddEmptyFolders(update, earlier, present, makeDirs);
    for (const auto& [key, name] : earlier.overwritten)
        if (!present.overwritten.contains(key) && !present.Has(key))
            update.stays.push_back(Sentence("", name,
                                            ", which the application of the earlier version made, "
                                            "unless the recipe names it: File Overwrite: " +
                                                Utf8(name)));
    for (const auto& [key, name] : earlier.parent)
        if (!present.parent.contains(key))
            update.stays.push_back(Sentence("", name, ", in the parent folder of a portable installation"));
    return update;
}

}  // namespace package_make
