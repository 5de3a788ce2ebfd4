#include "package_make/manifest_text.h"

#include <algorithm>
#include <set>
#include <unordered_map>

#include "engine/file_steps.h"
#include "package_check/spelling.h"
#include "run/product.h"

namespace package_make {

namespace {

using package_check::FolderOf;
using package_check::Key;

constexpr WCHAR kAllFiles[] = TEXT("\\*.*");

std::string Text(const CString& name) {
    return package_check::Utf8(name);
}

class Manifest {
  public:
    Manifest(const ManifestInput& input, const CString& package, const package_check::PackageFiles& files)
        : m_input(input), m_package(package), m_files(files) {}

    std::vector<CString> Lines() {
        CoverByRecipe();
        for (const CString& folder : m_input.own)
            AddOwnFolder(folder);
        AddFiles();
        AddFoldersThatNothingMakes();
        for (const CString& line : m_input.recipe)
            AddLine(line);
        // The removal's search marks such a folder and its parent. A file in use must be marked before that.
        for (const CString& folder : m_ownFolders)
            AddLine(Prefix(AtInstall::Copy) + folder + kAllFiles);
        AddFoldersToRemove();
        return std::move(m_lines);
    }

  private:
    void CoverByRecipe() {
        for (const CString& line : m_input.recipe) {
            const package_check::Record record = package_check::MendedRecord(line);
            if (!record.kind || !record.asWritten()) continue;
            const CString value = record.Value();
            if (record.kind->install == AtInstall::MakeFolder) m_recipeFolders.insert(Folded(value));
            if (package_check::JobOf(*record.kind) != package_check::Job::Copy) continue;
            CString name, newName;
            const bool isTwoNames = SplitNames(value, name, newName);
            if (!isTwoNames) name = value;
            const CString source = WithSeparator(CopySource(m_package, name));
            if (isTwoNames && package_check::HasWildcard(name)) continue;
            for (const auto& match : m_files.Find(name))
                m_covered.insert(Key(source + match.name));
        }
    }

    bool IsCovered(const CString& name) const {
        return m_covered.contains(Key(m_package + TEXT("\\") + name));
    }

    void AddOwnFolder(const CString& folder) {
        const auto complain = [&](const char* what) {
            throw BadInput("--own " + Text(folder) + ": " + what);
        };
        const Wide start = Folded(folder + TEXT("\\"));
        bool isThere = false, hasFiles = false;
        for (const Entry& entry : m_input.entries) {
            const Wide folded = Folded(entry.name);
            isThere = isThere || (entry.isFolder && folded + TEXT("\\") == start);
            if (!folded.starts_with(start)) continue;
            if (entry.isFolder)
                complain("it holds a folder, which the pattern of its files would match and stop at");
            hasFiles = true;
            m_own.insert(folded);
        }
        if (!isThere) complain("no such folder in the folder of the files");
        if (!hasFiles) complain("it holds no file");
    }

    void AddFiles() {
        std::vector<CString> names{kApplicationFile, kUninstallerFile};
        for (const Entry& entry : m_input.entries)
            if (!entry.isFolder && entry.name.CompareNoCase(kApplicationFile) != 0 &&
                entry.name.CompareNoCase(kAgreement) != 0)
                names.push_back(entry.name);
        const CString prefix = Prefix(AtInstall::Copy);
        for (const CString& name : names) {
            if (IsCovered(name)) continue;
            const CString folder = FolderOf(name);
            if (m_own.contains(Folded(name))) {
                if (m_ownNamed.insert(Folded(folder)).second) m_ownFolders.push_back(folder);
                continue;
            }
            MakeWithParents(folder);
            AddLine(prefix + name);
        }
    }

    void MakeWithParents(CString folder) {
        for (; !folder.IsEmpty(); folder = FolderOf(folder))
            m_made.insert(Folded(folder));
    }

    std::vector<CString> Folders() const {
        std::vector<CString> folders;
        for (const Entry& entry : m_input.entries)
            if (entry.isFolder) folders.push_back(entry.name);
        std::stable_sort(folders.begin(), folders.end(), [](const CString& left, const CString& right) {
            return Depth(left) < Depth(right);
        });
        return folders;
    }
    static std::ptrdiff_t Depth(const CString& name) {
        return std::count(name.Text().begin(), name.Text().end(), '\\');
    }

    // A record makes one level, so upper levels come first. The recipe may make a folder itself, unless a folder in it
    // is needed earlier.
    void AddFoldersThatNothingMakes() {
        const std::vector<CString> folders = Folders();
        std::vector<CString> records;
        std::set<Wide> needed;
        for (auto folder = folders.rbegin(); folder != folders.rend(); ++folder) {
            const Wide folded = Folded(*folder);
            if (m_made.contains(folded) || m_ownNamed.contains(folded) ||
                (m_recipeFolders.contains(folded) && !needed.contains(folded)))
                continue;
            records.push_back(*folder);
            needed.insert(Folded(FolderOf(*folder)));
        }
        for (auto record = records.rbegin(); record != records.rend(); ++record)
            AddLine(Prefix(AtInstall::MakeFolder) + *record);
    }

    // The removal removes folders in the order of their records. So each folder needs a record after the first record
    // of every folder in it.
    void AddFoldersToRemove() {
        const std::vector<CString> folders = Folders();
        for (auto folder = folders.rbegin(); folder != folders.rend(); ++folder) {
            const Wide folded = Folded(*folder);
            const auto last = m_lastRecord.find(folded);
            if (last == m_lastRecord.end() || last->second < m_firstBelow[folded])
                AddLine(Prefix(AtInstall::MakeFolder) + *folder);
        }
    }

    void AddLine(const CString& line) {
        m_lines.push_back(line);
        const LogRecord record = ReadRecord(line);
        if (!record.value || record.kind.install != AtInstall::MakeFolder) return;
        const std::size_t number = m_lines.size();
        const bool isFirst = m_lastRecord.insert_or_assign(Folded(record.value), number).second;
        for (CString upper = FolderOf(record.value); isFirst && !upper.IsEmpty(); upper = FolderOf(upper))
            m_firstBelow[Folded(upper)] = number;
    }

    const ManifestInput& m_input;
    const CString& m_package;
    const package_check::PackageFiles& m_files;
    std::vector<CString> m_lines;
    std::set<Wide> m_covered;           // files that the recipe copies, by the key of their path
    std::set<Wide> m_recipeFolders;     // folders that a record of the recipe names
    std::set<Wide> m_own;               // files in own folders
    std::vector<CString> m_ownFolders;  // own folders that need a record
    std::set<Wide> m_ownNamed;          // the same by their folded names
    std::set<Wide> m_made;              // folders that derived records make by copying
    std::unordered_map<Wide, std::size_t> m_lastRecord;  // of a folder: the line of its last record
    std::unordered_map<Wide, std::size_t> m_firstBelow;  // the latest first record of a folder in it
};

}  // namespace

CString Prefix(AtInstall install) {
    const auto kind = std::find_if(std::begin(kRecordKinds), std::end(kRecordKinds),
                                   [&](const RecordKind& candidate) { return candidate.install == install; });
    return kind->prefix;
}

std::vector<CString> DeriveManifest(const ManifestInput& input, const CString& package,
                                    const package_check::PackageFiles& files) {
    return Manifest(input, package, files).Lines();
}

}  // namespace package_make
