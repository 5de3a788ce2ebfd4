// What can be seen only from all records together.
#include <algorithm>

#include "engine/file_steps.h"
#include "package_check/name_rules.h"
#include "package_check/records.h"
#include "run/product.h"

namespace package_check {

namespace {

// With more records than this, the records need more time than the files.
constexpr unsigned kManyRecords = 100;

}  // namespace

void RecordChecks::Finish() {
    FinishFolders();
    FinishRemovals();
    FinishShortNames();
    FinishShortNamesOfOthers();
    FinishSingles();
    RequireInstalled(kApplicationFile, "application-not-installed",
                     "The shortcuts and the registry name a program that is not installed.");
    RequireInstalled(
        kUninstallerFile, "uninstaller-not-installed",
        "The application can't be removed: its entry in the list of programs starts a program that is not "
        "installed.");
    // A product may have no help.
    if (!m_files.Find(kHelpFile).empty())
        RequireInstalled(kHelpFile, "help-not-installed", "The shortcut to the help opens nothing.");
    for (const CString& name : m_files.Unnamed())
        m_findings.push_back(
            {"unnamed-file", Utf8(name), 0, "no record names this file", "It isn't installed.",
             HasDevice(name) ? "Another name: this one is kept for a device." : "File Copy: " + Utf8(name)});
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
        while ((above = FolderOf(above).Text()).starts_with(m_belowTarget)) {
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

// The drive gives such a name to the file that is copied first. The other record then writes to that same file.
void RecordChecks::FinishShortNamesOfOthers() {
    for (const auto& [key, target] : m_targets) {
        const CString folder = WithSeparator(FolderOf(key.c_str()));
        for (const Wide& candidate : ShortNamesOf(NameOf(key.c_str()).Text())) {
            const auto other = m_targets.find((folder + candidate.c_str()).Text());
            if (other == m_targets.end()) continue;
            Add("short-name-taken", std::max(target.line, other->second.line), candidate.c_str(),
                "Most drives store a second, short name for each file, and may choose " +
                    Utf8(candidate.c_str()) + " for " + Utf8(NameOf(key.c_str())) + " (" + Line(target.line) +
                    "). Then one of the two files replaces the other.",
                "A name for " + Utf8(candidate.c_str()) + " (" + Line(other->second.line) +
                    ") without a ~ and a number.");
        }
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

}  // namespace package_check
