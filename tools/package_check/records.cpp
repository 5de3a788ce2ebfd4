#include "package_check/records.h"

#include <algorithm>

#include "engine/file_steps.h"
#include "format.h"
#include "package_check/name_rules.h"
#include "run/product.h"

namespace package_check {

namespace {

// The folder on most machines. A longer name leaves even less space for a path.
constexpr WCHAR kProgramFiles[] = TEXT("C:\\Program Files");

// Setup itself looks for this file only if it carries out "File Copy x64: " records.
constexpr WCHAR kX64Handler[] = TEXT("x64\\ThumbQvi64.dll");

// Windows requires space for a name of 8.3 characters in a folder.
constexpr int kMostOfFolder = MAX_PATH - 13;

// A bit for a set of kinds.
unsigned Bit(AtInstall install) {
    return 1U << static_cast<unsigned>(install);
}

}  // namespace

RecordChecks::RecordChecks(const CString& package, PackageFiles& files, std::vector<Finding>& findings)
    : m_package(package),
      m_files(files),
      m_findings(findings),
      m_target(CString(kProgramFiles) + TEXT("\\") + kProductName),
      m_parent(kProgramFiles) {
    m_belowTarget = Key(WithSeparator(m_target));
    m_logKey = Key(m_target + TEXT("\\") + kLogFile);
    m_folders[Key(m_parent)].makers = Bit(AtInstall::MakeFolder);
}

void RecordChecks::Take(const Record& record, unsigned line) {
    m_record = &record;
    m_line = line;
    m_root = record.kind->install == AtInstall::CopyToParent ? m_parent : m_target;
    m_findingsBefore = m_findings.size();
    for (const Mending& mending : record.mendings)
        Report(mending.id, mending.happens, mending.instead);
    switch (JobOf(*record.kind)) {
        case Job::Copy:
            return TakeCopy();
        case Job::Remove:
            return TakeRemoval();
        case Job::Folder:
            return TakeFolderRecord();
        case Job::Setup:
            return Report("setup-record",
                          "Setup writes such records itself, into the log of an installation. If they are in "
                          "a manifest, "
                          "the uninstaller deletes what they name.",
                          "No such line. Use the manifest, not the log of an installation.");
    }
}

void RecordChecks::TakeCopy() {
    const CString value = m_record->Value();
    CString name, newName;
    if (SplitNames(value, name, newName)) {
        TakeTwoNames(name, newName);
    } else if (NameWorks(value, m_root, true)) {
        TakePattern(value);
        NoteRemoval();
    }
    if (m_record->kind->install == AtInstall::CopyX64 &&
        RemovalPattern(m_record->Value()).CompareNoCase(kX64Handler) != 0)
        Report(
            "x64-ignored",
            "This setup program is a 64-bit program, and skips the record in every installation that is not "
            "portable. The uninstaller deletes a file of that name nevertheless.",
            "File Copy: for a file that every machine needs.");
}

void RecordChecks::TakePattern(const CString& pattern) {
    if (HasWildcard(pattern)) {
        const auto [first, isNew] = m_patterns.try_emplace(Key(m_root + TEXT("\\") + pattern), m_line);
        if (!isNew)
            return Report("written-twice", "The pattern is already in " + Line(first->second) + ".",
                          "One record for the pattern.");
    }
    const std::vector<PackageFiles::Match> matches = m_files.Find(pattern);
    if (matches.empty())
        return Report("no-match", "The package has no such file: nothing is copied, and no folder is made.",
                      "The name of a file in the package, or no such line.");
    const CString target = CopyTarget(m_root, pattern);
    const CString source = WithSeparator(CopySource(m_package, pattern));
    MakeFolders(target);
    if (m_record->kind->install == AtInstall::Copy && !HasWildcard(pattern) && !FolderOf(pattern).IsEmpty()) {
        Singles& singles =
            m_singles.try_emplace(Key(target), Singles{FolderOf(pattern), m_line, 0}).first->second;
        ++singles.count;
    }
    for (const auto& [name, isFolder] : matches) {
        if (isFolder) {
            Report("folder-match",
                   "It matches the folder " + Utf8(name) +
                       ", which can't be copied. The matches after it are not copied either.",
                   "A pattern that no folder matches, and another record for the files in the folder: " +
                       Utf8(m_record->kind->prefix +
                            (FolderOf(pattern).IsEmpty() ? CString() : FolderOf(pattern) + TEXT("\\")) +
                            name + TEXT("\\*.*")));
            continue;
        }
        AddFile(source + name, target + name);
    }
}

void RecordChecks::TakeTwoNames(const CString& name, const CString& newName) {
    if (newName.IsEmpty())
        return Report("empty-new-name",
                      "With an empty name setup treats the installation folder as the old file, marks it for "
                      "deletion at "
                      "the next start of the machine, and sets that a restart is needed.",
                      Utf8(m_record->kind->prefix + name + TEXT(" > ") + NameOf(name)));
    if (name.IsEmpty())
        return Report(
            "empty-name",
            "Setup treats the package folder as the file: the copy fails, and an older file of that name has "
            "been deleted.",
            "The name of a file in the package before the sign.");
    if (HasWildcard(name) || HasWildcard(newName))
        return Report(
            "two-name-wildcard",
            "Two names are taken literally at the installation: no file is found, or none can be made. "
            "At the removal a wildcard in the new name works, and deletes everything that it matches.",
            "A record for each file.");
    if (!NameWorks(name, m_package, false) || !NameWorks(newName, m_root, false)) return;
    const std::vector<PackageFiles::Match> matches = m_files.Find(name);
    if (matches.empty())
        return Report("no-match", "The package has no such file: nothing is copied.",
                      "The name of a file in the package, or no such line.");
    if (matches.front().isFolder)
        return Report("folder-match", "That is a folder, which can't be copied.", "The name of a file.");
    const CString target = WithSeparator(m_root) + newName;
    if (!IsMade(FolderOf(target)))
        Report("two-name-folder",
               FolderOf(newName).IsEmpty() ? "A record of two names makes no folder, and no earlier record "
                                             "makes the installation folder: on a new machine nothing is "
                                             "copied."
                                           : "A record of two names makes no folder, and no earlier record "
                                             "makes it: nothing is copied.",
               FolderOf(newName).IsEmpty() ? "The record after a \"File Copy: \" record with a single name."
                                           : "Make Dir: " + Utf8(FolderOf(newName)) + " before it.");
    AddFile(WithSeparator(m_package) + name, target);
}

void RecordChecks::TakeRemoval() {
    const CString pattern = RemovalPattern(m_record->Value());
    if (pattern.IsEmpty())
        return Report("empty-new-name", "Nothing is removed.", "The name of the file to remove.");
    if (!NameWorks(pattern, m_target, true)) return;
    CheckLength(WithSeparator(m_target) + pattern, MAX_PATH - 1, "nothing is removed");
    NoteRemoval();
}

void RecordChecks::TakeFolderRecord() {
    const CString name = m_record->Value();
    if (name.IsEmpty() || !NameWorks(name, m_target, false)) return;
    CheckLength(WithSeparator(m_target) + name, kMostOfFolder, "the folder isn't made");
    const CString path = FullPath(m_target + TEXT("\\") + name + TEXT("\\."));
    Folder& folder = m_folders[Key(path)];
    folder.name = name;
    if (!folder.firstRecord) folder.firstRecord = m_line;
    folder.lastRecord = m_line;
    if (folder.makers & Bit(AtInstall::MakeFolder)) return;
    const CString parent = FolderOf(path);
    if (IsMade(parent)) {
        folder.makers |= Bit(AtInstall::MakeFolder);
    } else {
        const CString missing = parent.Mid(m_target.GetLength() + 1);
        Report(
            "folder-before-parent",
            missing.IsEmpty()
                ? "A record makes one level only, and no earlier record makes the installation folder: on a "
                  "new machine this folder is not made."
                : "A record makes one level only, and no earlier record makes " + Utf8(missing) +
                      ": this folder is not made.",
            missing.IsEmpty() ? "The record after a \"File Copy: \" record with a single name."
                              : "Make Dir: " + Utf8(missing) + " before it.");
    }
}

// Whether a name leads to a place inside the folder.
bool RecordChecks::NameWorks(const CString& name, const CString& folder, bool wildcards) {
    const bool wrongWildcard = HasWildcard(wildcards ? FolderOf(name) : name);
    if (wrongWildcard || HasForbidden(name)) {
        Report("bad-name",
               wrongWildcard ? "Wildcards work only in the last part of the name of a file: nothing is found."
                             : "No file can have such a name: nothing is found.",
               "A name relative to the package, with characters that Windows allows.");
        return false;
    }
    if (HasBlankOrDotEnd(name)) {
        Report("blank-or-dot-end",
               "Windows removes blanks and dots only from the end of a whole path. No folder has such a name "
               "inside a path: nothing is found, or another file is.",
               "The name without them.");
        return false;
    }
    if (HasDevice(name)) {
        Report(
            "device-name",
            "Windows reserves the name for a device, in every folder and with any extension: no such file or "
            "folder can be made.",
            "Another name.");
        return false;
    }
    const Wide below = folder == m_target ? m_belowTarget : Key(WithSeparator(folder));
    if (Key(WithSeparator(folder) + name).compare(0, below.size(), below) == 0) return true;
    Report("outside-folder",
           "The name leaves the folder, so setup writes or deletes in a place that does not belong to the "
           "product.",
           "A name in the folder.");
    return false;
}

void RecordChecks::CheckLength(const CString& path, int cchMost, const char* effect) {
    if (path.GetLength() <= cchMost) return;
    Report("long-path",
           "In " + Utf8(m_target) + " the path has " + std::to_string(path.GetLength()) +
               " characters, and Windows allows " + std::to_string(cchMost) + ": " + effect + ".",
           "Shorter names, or fewer folders.");
}

void RecordChecks::CheckDownload(const CString& name) {
    constexpr int kMost = static_cast<int>(download::cchMostName);
    if (name.GetLength() <= kMost) return;
    const std::size_t before = m_findings.size();
    Report("long-for-download",
           "The name has " + std::to_string(name.GetLength()) + " characters. A download takes up to " +
               std::to_string(kMost) +
               ", because it unpacks into a folder whose own name is longer than that of the installation "
               "folder.",
           "A shorter name, unless the package is never made into a download.");
    if (m_findings.size() > before) m_findings.back().isNote = true;
}

void RecordChecks::AddFile(const CString& source, const CString& target) {
    m_files.MarkNamed(source);
    CheckLength(target, MAX_PATH - 1, "the file isn't copied");
    if (target.GetLength() < MAX_PATH) CheckDownload(source.Mid(WithSeparator(m_package).GetLength()));
    const Wide key = Key(target);
    if (key == m_logKey)
        Report("log-record",
               "Setup copies the manifest itself. At the removal the record tries to delete it while it is "
               "being "
               "read. That fails and leaves a mark: a new installation then loses its log at the next start.",
               "No record for it, and no pattern that matches it.");
    const bool always = m_record->kind->install == AtInstall::Copy && m_record->asWritten();
    const auto [earlier, isNew] = m_targets.try_emplace(key, Target{m_line, always});
    if (isNew) return;
    if (earlier->second.line != m_line)
        Report("written-twice",
               Line(earlier->second.line) + " writes " + Utf8(NameOf(target)) +
                   " too. The later record replaces the file.",
               "One record for each file.");
    earlier->second.always = earlier->second.always || always;
}

// Copying by a pattern makes all levels of the target folder.
void RecordChecks::MakeFolders(const CString& target) {
    for (CString path = FullPath(target + TEXT(".")); !FolderOf(path).IsEmpty(); path = FolderOf(path)) {
        const Wide key = Key(path);
        Folder& folder = m_folders[key];
        if (folder.makers & Bit(m_record->kind->install) && folder.copiedAt) return;
        folder.makers |= Bit(m_record->kind->install);
        if (!folder.copiedAt) folder.copiedAt = m_line;
        if (key.compare(0, m_belowTarget.size(), m_belowTarget) == 0)
            folder.name = path.Mid(m_target.GetLength() + 1);
    }
}

// Whether the folder exists when the current record is carried out.
bool RecordChecks::IsMade(const CString& folder) const {
    const auto found = m_folders.find(Key(folder));
    if (found == m_folders.end()) return false;
    unsigned makers = Bit(AtInstall::MakeFolder) | Bit(AtInstall::Copy);
    // A machine that lacks one library may have the library of another such record.
    if (m_record->kind->install != AtInstall::CopyIfMissing) makers |= Bit(m_record->kind->install);
    return (found->second.makers & makers) != 0;
}

void RecordChecks::NoteRemoval() {
    const CString pattern = RemovalPattern(m_record->Value());
    if (HasWildcard(pattern)) m_removals.push_back({m_line, m_record->written, pattern});
}

void RecordChecks::Report(const char* id, const std::string& happens, const std::string& instead) {
    const auto first = m_findings.begin() + static_cast<std::ptrdiff_t>(m_findingsBefore);
    const auto same = [&](const Finding& finding) { return finding.id == id; };
    if (std::none_of(first, m_findings.end(), same)) Add(id, m_line, m_record->written, happens, instead);
}

void RecordChecks::Add(const char* id, unsigned line, const CString& what, const std::string& happens,
                       const std::string& instead) {
    m_findings.push_back({id, Utf8(kLogFile), line, Utf8(what), happens, instead});
}

}  // namespace package_check
