#include "package_check/records.h"

#include <algorithm>

#include "app/setup_state.h"
#include "engine/file_steps.h"
#include "package_check/name_rules.h"

namespace package_check {

namespace {

// Where most machines have it; a longer name of the folder leaves a path even less room.
constexpr WCHAR kProgramFiles[] = TEXT("C:\\Program Files");

// The one file that setup itself asks for only where it carries "File Copy x64: " records out.
constexpr WCHAR kX64Handler[] = TEXT("x64\\ThumbQvi64.dll");

// From here on a record for each file costs more time than the files do.
constexpr unsigned kManyRecords = 100;

// A folder has room for a name of 8.3 characters in it.
constexpr int kMostOfFolder = MAX_PATH - 13;

// For a set of kinds.
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
            return Report(
                "setup-record",
                "Setup writes such records itself, into the log of an installation. From a manifest "
                "the uninstaller takes them for its own, and deletes what they name.",
                "No such line; take the manifest, not the log of an installation.");
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
            "This setup program is a 64-bit one, and passes the record over in every installation that is "
            "not portable, 64-bit Windows or not. The uninstaller deletes a file of that name all the same.",
            "File Copy: for a file that every machine needs.");
}

void RecordChecks::TakePattern(const CString& pattern) {
    if (HasWildcard(pattern)) {
        const auto [first, isNew] = m_patterns.try_emplace(Key(m_root + TEXT("\\") + pattern), m_line);
        if (!isNew)
            return Report("written-twice", "The pattern stands in " + Line(first->second) + " already.",
                          "One record for it.");
    }
    const std::vector<PackageFiles::Match> matches = m_files.Find(pattern);
    if (matches.empty())
        return Report("no-match",
                      "The package holds no such file: nothing is copied, and not even the folder is made.",
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
                       ", which can't be copied; the matches behind it are then given up as well.",
                   "A pattern that no folder matches, and a record of its own for what the folder holds: " +
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
        return Report(
            "empty-new-name",
            "An empty name is a name: setup takes the installation folder for the old file, marks it for "
            "deletion at the next start of the machine, and asks for a restart.",
            Utf8(m_record->kind->prefix + name + TEXT(" > ") + NameOf(name)));
    if (name.IsEmpty())
        return Report(
            "empty-name",
            "Setup takes the package folder for the file: the copy fails, and an older file of that "
            "name is gone by then.",
            "The name of a file in the package in front of the sign.");
    if (HasWildcard(name) || HasWildcard(newName))
        return Report(
            "two-name-wildcard",
            "Two names are taken literally at the installation: no file is found, or none can be made. "
            "At the removal a wildcard in the new name works, and takes all that it matches.",
            "A record for each file.");
    if (!NameWorks(name, m_package, false) || !NameWorks(newName, m_root, false)) return;
    const std::vector<PackageFiles::Match> matches = m_files.Find(name);
    if (matches.empty())
        return Report("no-match", "The package holds no such file: nothing is copied.",
                      "The name of a file in the package, or no such line.");
    if (matches.front().isFolder)
        return Report("folder-match", "That is a folder, which can't be copied.", "The name of a file.");
    const CString target = WithSeparator(m_root) + newName;
    if (!IsMade(FolderOf(target)))
        Report("two-name-folder",
               FolderOf(newName).IsEmpty() ? "A record of two names makes no folder, and no record in front "
                                             "of it makes the installation "
                                             "folder: on a fresh machine nothing is copied."
                                           : "A record of two names makes no folder, and no record in front "
                                             "of it does: nothing is copied.",
               FolderOf(newName).IsEmpty() ? "The record behind one \"File Copy: \" record of a single name."
                                           : "Make Dir: " + Utf8(FolderOf(newName)) + " in front of it.");
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
        Report("folder-before-parent",
               missing.IsEmpty()
                   ? "One level alone is made, and no record in front of it makes the installation folder: "
                     "on a fresh machine the folder isn't made."
                   : "One level alone is made, and no record in front of it makes " + Utf8(missing) +
                         ": the folder isn't made.",
               missing.IsEmpty() ? "The record behind one \"File Copy: \" record of a single name."
                                 : "Make Dir: " + Utf8(missing) + " in front of it.");
    }
}

// Whether a name leads to a place below the folder.
bool RecordChecks::NameWorks(const CString& name, const CString& folder, bool wildcards) {
    const bool wrongWildcard = HasWildcard(wildcards ? FolderOf(name) : name);
    if (wrongWildcard || HasForbidden(name)) {
        Report("bad-name",
               wrongWildcard ? "Wildcards work in the last part of a file's name alone: nothing is found."
                             : "No file can have such a name: nothing is found.",
               "A name relative to the package, of characters that Windows' names can hold.");
        return false;
    }
    if (HasBlankOrDotEnd(name)) {
        Report("blank-or-dot-end",
               "Windows cuts blanks and dots from the end of a whole path only. Inside a path they count, "
               "and no "
               "folder has such a name: nothing is found, or another file than the one meant.",
               "The name without them.");
        return false;
    }
    if (HasDevice(name)) {
        Report("device-name",
               "Windows keeps the name for a device, in every folder and with any ending: no such file or "
               "folder "
               "can be made.",
               "Another name.");
        return false;
    }
    const Wide below = folder == m_target ? m_belowTarget : Key(WithSeparator(folder));
    if (Key(WithSeparator(folder) + name).compare(0, below.size(), below) == 0) return true;
    Report("outside-folder",
           "The name leads out of the folder, so that setup writes or deletes where the product has no "
           "business.",
           "A name below the folder.");
    return false;
}

void RecordChecks::CheckLength(const CString& path, int cchMost, const char* effect) {
    if (path.GetLength() <= cchMost) return;
    Report("long-path",
           "In " + Utf8(m_target) + " the path has " + std::to_string(path.GetLength()) +
               " characters, and Windows takes " + std::to_string(cchMost) + ": " + effect + ".",
           "Shorter names, or fewer folders.");
}

void RecordChecks::AddFile(const CString& source, const CString& target) {
    m_files.MarkNamed(source);
    CheckLength(target, MAX_PATH - 1, "the file isn't copied");
    const Wide key = Key(target);
    if (key == m_logKey)
        Report("log-record",
               "Setup copies the manifest by itself. At the removal the record deletes it while it is being "
               "read, "
               "which fails and leaves a mark: a new installation then loses its log at the next start.",
               "No record for it, and no pattern that matches it.");
    const bool always = m_record->kind->install == AtInstall::Copy && m_record->asWritten();
    const auto [earlier, isNew] = m_targets.try_emplace(key, Target{m_line, always});
    if (isNew) return;
    if (earlier->second.line != m_line)
        Report("written-twice",
               Line(earlier->second.line) + " writes " + Utf8(NameOf(target)) +
                   " as well; the later record wins.",
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

// Whether the folder is there when the present record is carried out.
bool RecordChecks::IsMade(const CString& folder) const {
    const auto found = m_folders.find(Key(folder));
    if (found == m_folders.end()) return false;
    // A library that one machine lacks says nothing of another record of its kind.
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
                     "The shortcuts and the registry lead to a program that isn't there.");
    RequireInstalled(
        kUninstallerFile, "uninstaller-not-installed",
        "The application can't be removed: its entry among the installed programs starts a program that "
        "isn't there.");
    RequireInstalled(kHelpFile, "help-not-installed", "The group's shortcut to the help leads nowhere.");
    for (const CString& name : m_files.Unnamed())
        m_findings.push_back({"unnamed-file", Utf8(name), 0, "no record names this file",
                              "It isn't installed.", "File Copy: " + Utf8(name)});
}

void RecordChecks::FinishFolders() {
    for (auto& [key, folder] : m_folders) {
        if (folder.copiedAt && !folder.firstRecord && !folder.name.IsEmpty())
            Add("folder-stays", folder.copiedAt, folder.name,
                "The copy makes the folder, and nothing removes it: it stays, and so does the installation "
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
                    ") still stands when this folder's turn comes: it goes at the next start of the machine "
                    "only.",
                "The records behind those that copy into the folders, the deepest first; or this one once "
                "more behind " +
                    Line(folder.firstRecord) + ".");
        }
    }
}

// A folder that the manifest makes counts as the package's own, with all that it holds; elsewhere a pattern's
// first characters have to say whose files they are.
void RecordChecks::FinishRemovals() {
    constexpr int kOwnChars = 3;
    for (const Removal& removal : m_removals) {
        const CString folder = FolderOf(removal.pattern);
        const auto found = m_folders.find(Key(m_target + TEXT("\\") + folder));
        const bool isOwn = !folder.IsEmpty() && found != m_folders.end() && found->second.firstRecord;
        if (isOwn || !HasWildcard(NameOf(removal.pattern).Left(kOwnChars))) continue;
        Add("removal-takes-more", removal.line, removal.record,
            folder.IsEmpty()
                ? "It deletes whatever matches in the installation folder, the user's files "
                  "too; one that matches .. marks the folder above for deletion when it is empty."
                : "It deletes whatever matches in that folder, the user's files too.",
            "The files by name, or a pattern that begins with a part of their names; or, for a folder "
            "that is the package's alone, its Make Dir: record.");
    }
}

// The names are the package's own, but the user's files of such names are found in the same way.
void RecordChecks::FinishShortNames() {
    if (m_removals.empty()) return;
    std::unordered_map<Wide, std::vector<Wide>> installed;  // names by the key of their folder
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
            "Most drives keep a second, short name of each file, of 8 characters and an ending of 3. By it "
            "the "
            "pattern also finds " +
                Utf8(more->c_str()) + ", and files of the user with such names.",
            "The files by name, or a pattern that is meant for both.");
    }
}

// A pattern stops at a folder, so it is no choice where one is.
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
            "File Copy: " + Utf8(pattern) + ", if the product alone writes to the folder.");
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
