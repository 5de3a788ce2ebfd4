// What each record does, from the package folder and the earlier records.
#pragma once

#include <map>
#include <unordered_map>
#include <vector>

#include "package_check/package_files.h"
#include "package_check/spelling.h"

namespace package_check {

// Takes the records in the order of the manifest, as if it installed them into the default folder.
class RecordChecks {
  public:
    // All arguments must outlive this object.
    RecordChecks(const CString& package, PackageFiles& files, std::vector<Finding>& findings);

    // Reports what is wrong with the record. `line` is its number in the manifest, from 1.
    void Take(const Record& record, unsigned line);
    // Reports what can be seen only from the whole manifest.
    void Finish();

  private:
    struct Folder {
        CString name;              // below the installation folder
        unsigned makers = 0;       // bits of the record kinds that have made it
        unsigned copiedAt = 0;     // line of the first record that made it by copying into it
        unsigned firstRecord = 0;  // line of its first "Make Dir: " record
        unsigned lastRecord = 0;
        bool staysTooLong = false;  // the record of a sub-folder comes later
    };
    struct Target {
        unsigned line = 0;
        bool always = false;  // installed on every machine
    };
    struct Singles {
        CString folder;  // in the package and below the installation folder alike
        unsigned firstLine = 0;
        unsigned count = 0;
    };
    struct Removal {
        unsigned line = 0;
        CString record;
        CString pattern;
    };

    void TakeCopy();
    void TakePattern(const CString& pattern);
    void TakeTwoNames(const CString& name, const CString& newName);
    void TakeRemoval();
    void TakeFolderRecord();

    bool NameWorks(const CString& name, const CString& folder, bool wildcards);
    void CheckLength(const CString& path, int cchMost, const char* effect);
    void CheckDownload(const CString& name);
    void AddFile(const CString& source, const CString& target);
    void MakeFolders(const CString& target);
    bool IsMade(const CString& folder) const;
    void NoteRemoval();

    void FinishFolders();
    void FinishRemovals();
    void FinishShortNames();
    void FinishShortNamesOfOthers();
    void FinishSingles();
    void RequireInstalled(LPCWSTR file, const char* id, const char* happens);

    // Reports something about the current record, once for each record and id.
    void Report(const char* id, const std::string& happens, const std::string& instead);
    void Add(const char* id, unsigned line, const CString& what, const std::string& happens,
             const std::string& instead);

    const CString& m_package;
    PackageFiles& m_files;
    std::vector<Finding>& m_findings;
    CString m_target;
    CString m_parent;
    Wide m_belowTarget;  // the beginning of the key of each path in m_target
    Wide m_logKey;

    // The current record.
    const Record* m_record = nullptr;
    unsigned m_line = 0;
    CString m_root;  // what its installed name is relative to
    std::size_t m_findingsBefore = 0;

    std::unordered_map<Wide, Target> m_targets;
    std::unordered_map<Wide, Folder> m_folders;
    std::unordered_map<Wide, unsigned> m_patterns;  // with wildcards: line of the first
    std::vector<Removal> m_removals;                // with wildcards
    std::map<Wide, Singles> m_singles;              // records of one file, by the key of their folder
};

}  // namespace package_check
