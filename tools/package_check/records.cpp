#include "package_check/records.h"

#include <algorithm>

#include "app/setup_state.h"
#include "engine/file_steps.h"
#include "package_check/name_rules.h"

namespace package_check {

namespace {

// The folder on most machines. A longer name leaves even less room for a path.
constexpr WCHAR kProgramFiles[] = TEXT("C:\\Program Files");

// Setup itself looks for this file only if it carries out "File Copy x64: " records.
constexpr WCHAR kX64Handler[] = TEXT("x64\\ThumbQvi64.dll");

// With more records than this, the records need more time than the files.
constexpr unsigned kManyRecords = 100;

// Windows requires room for a name of 8.3 characters in a folder.
constexpr int kMostOfFolder = MAX_PATH - 13;

// A bit for a set of kinds.
unsigned Bit(AtInstall install) {
    return 1U << static_cast<unsigned>(install);
}

std::string Line(unsigned number) {
    return "line " + std::to_string(number);
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

void RecordChecks::AddFile(const CString& source, const CString& target) {
    m_files.MarkNamed(source);
    CheckLength(target, MAX_PATH - 1, "the file isn't copied");
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
    for (CString path = FullPath(target + TEXT(".")); path.Find('\\') >= 0; path = FolderOf(path)) {
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
    // A machine that lacks one library may have the library of another such record.
    const unsigned own =
        m_record->kind->install == AtInstall::CopyIfMissing ? 0 : Bit(m_record->kind->install);
    return (found->second.makers & (Bit(AtInstall::MakeFolder) | Bit(AtInstall::Copy) | own)) != 0;
}

void RecordChecks::NoteRemoval() {
    const CString pattern = RemovalPattern(m_record->Value());
    if (HasWildcard(pattern)) m_removals.push_back({m_line, m_record->written, pattern});
}

void RecordChecks::Finish() {
    FinishFolders();
    FinishRemovals();
    FinishShortNames();
    FinishSingles();
    RequireInstalled(kApplicationFile, "application-not-installed",
                     "The shortcuts and the registry name a program that is not installed.");
    RequireInstalled(
        kUninstallerFile, "uninstaller-not-installed",
        "The application can't be removed: its entry in the list of programs starts a program that is not "
        "installed.");
    RequireInstalled(kHelpFile, "help-not-installed", "The shortcut to the help opens nothing.");
    for (const CString& name : m_files.Unnamed())
        m_findings.push_back({"unnamed-file", Utf8(name), 0, "no record names this file",
                              "It isn't installed.", "File Copy: " + Utf8(name)});
}

void RecordChecks::FinishFolders() {
    for (auto& [key, folder] : m_folders) {
        if (folder.copiedAt && !folder.firstRecord && !folder.name.IsEmpty())
            Add("folder-stays", folder.copiedAt, folder.name,
                "The copy makes the folder, and no record removes it. It stays, and so does the installation "
                "folder.",
                "Make Dir: " + Utf8(folder.name));
        if (!folder.firstRecord) continue;
        // The uninstaller removes folders in the order of the records.
        Wide above = key;
        while ((above = FolderOf(above).Text()).size() >= m_belowTarget.size()) {
            const auto parent = m_folders.find(above);
            if (parent == m_folders.end() || !parent->second.lastRecord) continue;
            Folder& upper = parent->second;
            if (upper.staysTooLong || upper.lastRecord > folder.firstRecord) continue;
            upper.staysTooLong = true;
            Add("removal-order", upper.lastRecord, TEXT("Make Dir: ") + upper.name,
                "At the removal " + Utf8(folder.name) + " (" + Line(folder.firstRecord) +
                    ") is still there when this folder is removed. This folder is deleted only at the next "
                    "start of the "
                    "machine.",
                "The records after those that copy into the folders, the deepest first; or this record once "
                "more "
                "after " +
                    Line(folder.firstRecord) + ".");
        }
    }
}

// A folder that the manifest makes belongs to the package, with everything in it. Elsewhere the first characters of
// a pattern must show whose files they are.
void RecordChecks::FinishRemovals() {
    constexpr int kOwnChars = 3;
    for (const Removal& removal : m_removals) {
        const CString folder = FolderOf(removal.pattern);
        const auto found = m_folders.find(Key(m_target + TEXT("\\") + folder));
        const bool isOwn = !folder.IsEmpty() && found != m_folders.end() && found->second.firstRecord;
        if (isOwn || !HasWildcard(NameOf(removal.pattern).Left(kOwnChars))) continue;
        Add("removal-takes-more", removal.line, removal.record,
            folder.IsEmpty() ? "It deletes everything that matches in the installation folder, files of the "
                               "user too. A pattern "
                               "that matches .. also marks the parent folder for deletion if it is empty."
                             : "It deletes everything that matches in that folder, files of the user too.",
            "The files by name, or a pattern that begins with a part of their names. Or, if the folder "
            "belongs "
            "only to the package, its Make Dir: record.");
    }
}

// The pattern is meant for files of the package, but it also finds files of the user with such short names.
void RecordChecks::FinishShortNames() {
    if (m_removals.empty()) return;
    std::unordered_map<Wide, std::vector<Wide>> installed;  // names for the key of their folder
    for (const auto& [key, target] : m_targets)
        installed[FolderOf(key.c_str()).Text()].push_back(NameOf(key.c_str()).Text());
    for (const Removal& removal : m_removals) {
        const CString folder = FolderOf(removal.pattern);
        std::vector<Wide> known = m_files.NamesIn(folder);
        const auto found =
            installed.find(FolderOf(Key(WithSeparator(m_target) + removal.pattern).c_str()).Text());
        if (found != installed.end()) known.insert(known.end(), found->second.begin(), found->second.end());
        std::sort(known.begin(), known.end());
        const names::Text expression = names::Expression(NameOf(removal.pattern).MakeUpper().Text());
        const auto more = std::find_if(known.begin(), known.end(), [&](const Wide& name) {
            return MatchesByShortName(expression, name);
        });
        if (more == known.end()) continue;
        Add("short-name-match", removal.line, removal.record,
            "Most drives store a second, short name for each file: 8 characters and an extension of 3. By "
            "that "
            "name the pattern also finds " +
                Utf8(more->c_str()) + ", and files of the user with such names.",
            "The files by name, or a pattern that is meant for both.");
    }
}

// A pattern stops at a folder, so it can't replace single records where there is one.
void RecordChecks::FinishSingles() {
    for (const auto& [key, singles] : m_singles) {
        if (singles.count <= kManyRecords) continue;
        const CString pattern = singles.folder + TEXT("\\*.*");
        const auto matches = m_files.Find(pattern);
        if (std::any_of(matches.begin(), matches.end(), [](const auto& match) { return match.isFolder; }))
            continue;
        Add("many-records", singles.firstLine, singles.folder,
            std::to_string(singles.count) +
                " records copy a file each into the folder: the installation takes longer than with one "
                "pattern.",
            "File Copy: " + Utf8(pattern) + ", if nothing but the product writes to the folder.");
        m_findings.back().isNote = true;
    }
}

void RecordChecks::RequireInstalled(LPCWSTR file, const char* id, const char* happens) {
    const auto found = m_targets.find(Key(m_target + TEXT("\\") + file));
    if (found != m_targets.end() && found->second.always) return;
    Add(id, 0, TEXT("no record installs ") + CString(file) + TEXT(" on every machine"), happens,
        "File Copy: " + Utf8(file));
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
