#include "update.h"

#include <cstdio>
#include <fstream>
#include <future>
#include <iterator>
#include <memory>
#include <stdexcept>

#include "common/copied_files.h"
#include "common/text.h"
#include "differ.h"
#include "engine/manifest.h"
#include "sha256.h"
#include "support/handles.h"

namespace download_make {

namespace {

namespace fs = std::filesystem;
using download::Digest, download::Entry, download::Rebuilt, download::SumOf;
using tools::CopiedFiles;

constexpr const char* kManifest = "QtvUnInst.log";
// Setup reads the first four in the package, or they are installed otherwise than a record says. The others come from beside
// the download.
constexpr const char* kOwnFiles[] = {"setup.exe",     "QtvUnInst.exe", kManifest,
                                     "agreement.txt", "QtvApp8.ini",   "QtvApp8.reg"};

bool IsNamed(const std::vector<std::string>& patterns, const std::string& name) {
    return std::any_of(patterns.begin(), patterns.end(),
                       [&](const std::string& pattern) { return tools::MatchesPattern(pattern, name); });
}

// A file of the earlier package, and its copy in an installation.
struct Source {
    std::string copy;  // below the installation folder
    fs::path path;
    Digest sum;
    std::uint64_t cbFile;
};

class EarlierPackage {
  public:
    EarlierPackage(const fs::path& folder, std::vector<std::string> always) : m_never(std::move(always)) {
        const Package package = ReadPackage(folder);
        for (std::size_t i = 0; i < package.entries.size(); ++i)
            AddEntry(tools::Utf8(package.entries[i].name), package.entries[i], package.paths[i]);
        ReadManifest(folder / kManifest);
        for (const auto& [target, copy] : m_onSome.All())
            AddCopy(target, copy);
    }

    // A file with the same bytes. One of the same name is the first choice.
    const Source* Same(const Digest& sum, const std::string& name) const {
        const auto found = m_bySum.find(sum);
        if (found == m_bySum.end()) return nullptr;
        const Source* const named = Named(name);
        return named && named->sum == sum ? named : &found->second;
    }

    // The file of the same name.
    const Source* Named(const std::string& name) const {
        const auto found = m_byName.find(tools::Folded(name));
        return found == m_byName.end() ? nullptr : &found->second;
    }

  private:
    void AddEntry(const std::string& name, const Entry& entry, const fs::path& path) {
        if (entry.IsFolder()) {
            m_folders.push_back(name);
            return;
        }
        m_paths[name] = path;
        for (CopiedFiles* const files : {&m_onAll, &m_onSome, &m_portable})
            files->AddFile(name);
    }

    void ReadManifest(const fs::path& path) {
        const FileStream manifest(std::fopen(path.c_str(), "r"));
        if (!manifest) throw std::runtime_error(path.string() + " can't be read");
        ForEachRecord(manifest.get(), [&](const LogRecord& record) {
            const AtInstall install = record.kind.install;
            if (install == AtInstall::Nothing && record.kind.removal == AtRemoval::DeleteFiles)
                m_never.push_back(tools::Utf8(RemovalPattern(record.value).Text()));
            const bool isIf = install == AtInstall::CopyIfMissing;
            if (install != AtInstall::Copy && install != AtInstall::CopyX64 && !isIf) return;
            if (!IsSure(record.value)) return;
            m_portable.Take(record.value, {});
            if (install == AtInstall::Copy || isIf) m_onSome.Take(record.value, {});
            if (install == AtInstall::Copy) m_onAll.Take(record.value, {});
        });
    }

    // Whether setup carries out the whole record. It makes no folder for a new name, and stops at a folder that a pattern
    // matches, after it has moved the installed folder of that name away.
    bool IsSure(const CString& value) {
        CString name, newName;
        const bool isRenamed = SplitNames(value, name, newName);
        const CString& target = isRenamed ? newName : value;
        bool isSure = target.Find('/') < 0 && !(isRenamed && target.Find('\\') >= 0);
        const std::string pattern = tools::Utf8(target.Text());
        for (const std::string& folder : m_folders)
            if (tools::MatchesPattern(pattern, folder)) {
                m_moved.push_back(tools::Folded(folder) + '\\');
                isSure = false;
            }
        return isSure;
    }

    void AddCopy(const std::string& target, const CopiedFiles::Copy& copy) {
        for (const CopiedFiles* const files : {&m_onAll, &m_portable})
            if (const auto other = files->All().find(target);
                other == files->All().end() || other->second.source != copy.source)
                return;
        const bool isMoved = std::any_of(m_moved.begin(), m_moved.end(), [&](const std::string& folder) {
            return target.starts_with(folder);
        });
        if (isMoved || IsNamed(m_never, copy.target) ||
            IsNamed({std::begin(kOwnFiles), std::end(kOwnFiles)}, copy.target))
            return;
        const std::string bytes = ReadFile(m_paths.at(copy.source));
        const Source source{copy.target, m_paths.at(copy.source), SumOf(bytes), bytes.size()};
        m_byName.emplace(tools::Folded(copy.source), source);
        m_bySum.emplace(source.sum, source);
    }

    std::vector<std::string> m_never;             // patterns for files that others write, too
    std::vector<std::string> m_folders, m_moved;  // the latter folded, with a backslash
    std::map<std::string, fs::path> m_paths;
    CopiedFiles m_onAll, m_onSome, m_portable;  // what the records for each kind of machine copy
    std::map<std::string, Source> m_byName;     // in the package, folded
    std::map<Digest, Source> m_bySum;
};

// The sum of the file that is made checks its difference, too. Another one of it would take as long again.
constexpr lzma_check kDifferenceCheck = LZMA_CHECK_CRC32;

// Returns the packed difference, or none if the file is smaller as it is.
std::optional<std::string> PackDifference(const std::string& earlier, const std::string& present,
                                          std::uint64_t& cbUnpacked) {
    auto whole = std::async(std::launch::async, [&] { return Pack(present, kDifferenceCheck).size(); });
    const std::string steps = DifferenceOf(earlier, present);
    std::string packed = Pack(steps, kDifferenceCheck);
    if (packed.size() >= whole.get()) return {};
    cbUnpacked = steps.size();
    return packed;
}

// Adds the file as one that is rebuilt. False if it must be carried.
bool AddRebuilt(Update& update, const EarlierPackage& earlier, const Entry& entry, const fs::path& path) {
    const std::string name = tools::Utf8(entry.name), bytes = ReadFile(path);
    const Digest sum = SumOf(bytes);
    if (const Source* const same = earlier.Same(sum, name)) {
        update.rebuilt.push_back({entry, tools::Wide(same->copy), same->cbFile, sum, sum, {}});
        return true;
    }
    const Source* const former = earlier.Named(name);
    if (!former || former->cbFile > download::cbMostEarlier || former->cbFile == 0) return false;
    std::uint64_t cbUnpacked = 0;
    std::optional<std::string> packed = PackDifference(ReadFile(former->path), bytes, cbUnpacked);
    if (!packed) return false;
    update.rebuilt.push_back(
        {entry, tools::Wide(former->copy), former->cbFile, former->sum, sum, {packed->size(), cbUnpacked}});
    update.differences.push_back(std::move(*packed));
    return true;
}

}  // namespace

Update PlanUpdate(const Package& package, const fs::path& folder, const std::vector<std::string>& always) {
    const EarlierPackage earlier(folder, always);
    std::vector<std::string> carried = always;
    carried.insert(carried.end(), std::begin(kOwnFiles), std::end(kOwnFiles));
    Update update;
    for (std::size_t i = 0; i < package.entries.size(); ++i) {
        const Entry& entry = package.entries[i];
        const bool isCarried =
            entry.IsFolder() || entry.cbFile == 0 || IsNamed(carried, tools::Utf8(entry.name));
        if (!isCarried && AddRebuilt(update, earlier, entry, package.paths[i])) continue;
        update.carried.entries.push_back(entry);
        update.carried.paths.push_back(package.paths[i]);
    }
    return update;
}

}  // namespace download_make
