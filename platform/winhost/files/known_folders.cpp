#include "files/known_folders.h"

#include <dirent.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <functional>
#include <iterator>
#include <map>
#include <mutex>
#include <set>
#include <unordered_map>
#include <utility>

#include "core/host_io.h"
#include "core/text.h"
#include "files/attributes.h"
#include "short_names.h"
#include "winhost.h"

namespace winhost {

namespace {

constexpr std::size_t kMostFolders = 16;
constexpr std::uint32_t kReported = IN_CREATE | IN_MOVED_TO | IN_ATTRIB | IN_DELETE | IN_MOVED_FROM;

using FolderId = std::pair<dev_t, ino_t>;

FolderId IdOf(const struct stat& info) {
    return {info.st_dev, info.st_ino};
}

std::size_t HashOf(std::u16string_view upper) {
    return std::hash<std::u16string_view>()(upper);
}

// As long as a folder is open, no other one has its id.
class KnownFolder {
  public:
    KnownFolder(Descriptor opened, FolderId id) : m_opened(std::move(opened)), m_id(id) {}

    FolderId Id() const { return m_id; }
    // The same folder whatever its path has become.
    std::string Path() const { return "/proc/self/fd/" + std::to_string(m_opened.get()); }
    // An entry is there, is changed, or is gone. A new one is reported several times.
    void Add(const std::string& name) {
        if (m_unread.contains(name)) return;
        m_unnamed.erase(name);
        m_shortNames.erase(name);
        AddAs(Upper(Utf16(name)), name);
        if (!names::IsShort(Utf16(name))) m_unread.insert(name);
    }
    // The short name of a new entry is read once, when short names count. The entry `except` has none yet.
    void ReadShortNames(const std::string& except = {}) {
        for (const std::string& name : std::exchange(m_unread, {})) {
            if (name == except) {
                m_unread.insert(name);
                continue;
            }
            const std::u16string shortName = Utf16(KeptShortName(Path(), name));
            if (shortName.empty()) {
                m_unnamed.insert(name);
            } else {
                AddAs(shortName, name);
                m_shortNames[name] = shortName;
            }
        }
    }
    std::vector<std::string> Like(std::u16string_view upper) const {
        std::vector<std::string> names;
        const auto [begin, end] = m_entries.equal_range(HashOf(upper));
        std::transform(begin, end, std::back_inserter(names), [](const auto& entry) { return entry.second; });
        return names;
    }
    // Whether an entry has this name as its own or its short one.
    bool IsTaken(std::u16string_view upper) const {
        const std::vector<std::string> like = Like(upper);
        return std::any_of(like.begin(), like.end(), [&](const std::string& entry) {
            const auto known = m_shortNames.find(entry);
            if (known != m_shortNames.end()) return known->second == upper;
            return Upper(Utf16(entry)) == upper && access((Path() + "/" + entry).c_str(), F_OK) == 0;
        });
    }
    std::set<std::string> TakeUnnamed() {
        ReadShortNames();
        return std::exchange(m_unnamed, {});
    }

  private:
    void AddAs(std::u16string_view upper, const std::string& name) {
        const auto [begin, end] = m_entries.equal_range(HashOf(upper));
        if (std::none_of(begin, end, [&](const auto& entry) { return entry.second == name; }))
            m_entries.emplace(HashOf(upper), name);
    }

    Descriptor m_opened;
    FolderId m_id;
    // By the hash of the own name and of the short name, both in upper case.
    std::unordered_multimap<std::size_t, std::string> m_entries;
    std::set<std::string> m_unread;  // entries whose short names have not been read since their last report
    std::set<std::string> m_unnamed;
    std::unordered_map<std::string, std::u16string> m_shortNames;  // of the other entries that have one
};

struct KnownFolders {
    std::mutex threads;
    bool isForked = false;  // then it shares the reports with its parent, so it begins anew
    Descriptor reports;
    std::map<int, KnownFolder> folders;  // by the number that the kernel reports; the oldest comes first

    void Forget() {
        folders.clear();
        reports = Descriptor();
        isForked = false;
    }
};

// Never destroyed: static objects of the program make calls at its end.
KnownFolders& TheFolders() {
    static KnownFolders* folders = [] {
        (void)pthread_atfork([] { TheFolders().threads.lock(); }, [] { TheFolders().threads.unlock(); },
                             [] {
                                 TheFolders().isForked = true;
                                 TheFolders().threads.unlock();
                             });
        return new KnownFolders;
    }();
    return *folders;
}

void TakeReport(KnownFolders& known, const inotify_event& report) {
    const auto folder = known.folders.find(report.wd);
    if (report.mask & (IN_Q_OVERFLOW | IN_UNMOUNT))
        known.Forget();
    else if (folder != known.folders.end() && report.len > 0)
        folder->second.Add(report.name);
}

void ReadReports(KnownFolders& known) {
    alignas(inotify_event) std::array<char, 1 << 16> bytes;
    while (known.reports) {
        const ssize_t length = read(known.reports.get(), bytes.data(), bytes.size());
        if (length < 0 && errno == EINTR) continue;
        if (length <= 0 && errno == EAGAIN) return;
        if (length <= 0) known.Forget();
        for (ssize_t at = 0; at < length;) {
            const auto* report = reinterpret_cast<const inotify_event*>(bytes.data() + at);
            at += static_cast<ssize_t>(sizeof *report + report->len);
            TakeReport(known, *report);
        }
    }
}

// Brings what this process knows up to date. Null when the folder is not known.
KnownFolder* Find(KnownFolders& known, const std::string& path) {
    if (known.isForked) known.Forget();
    struct stat info;
    if (known.folders.empty() || stat(path.c_str(), &info) != 0) return nullptr;
    ReadReports(known);
    const auto found = std::find_if(known.folders.begin(), known.folders.end(),
                                    [&](const auto& each) { return each.second.Id() == IdOf(info); });
    return found == known.folders.end() ? nullptr : &found->second;
}

void DropOldest(KnownFolders& known) {
    (void)inotify_rm_watch(known.reports.get(), known.folders.begin()->first);
    known.folders.erase(known.folders.begin());
}

}  // namespace

void KnowFolder(const std::string& path) {
    KnownFolders& known = TheFolders();
    const std::lock_guard lock(known.threads);
    if (Find(known, path)) return;
    Descriptor opened(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    struct stat info;
    if (!opened || fstat(opened.get(), &info) != 0) return;
    KnownFolder folder(std::move(opened), IdOf(info));
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir(folder.Path().c_str()), closedir);
    if (!known.reports) known.reports = Descriptor(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    if (!entries || !known.reports) return;
    if (known.folders.size() == kMostFolders) DropOldest(known);
    const int number = inotify_add_watch(known.reports.get(), folder.Path().c_str(), kReported);
    if (number < 0) return;
    // What changes meanwhile is reported, too.
    while (const dirent* entry = readdir(entries.get()))
        folder.Add(entry->d_name);
    known.folders.insert_or_assign(number, std::move(folder));
}

std::optional<std::vector<std::string>> EntriesLike(const std::string& path, std::u16string_view upper,
                                                    bool shortNames) {
    KnownFolders& known = TheFolders();
    const std::lock_guard lock(known.threads);
    KnownFolder* folder = Find(known, path);
    if (folder && shortNames) folder->ReadShortNames();
    return folder ? std::optional(folder->Like(upper)) : std::nullopt;
}

std::optional<std::set<std::u16string>> TakenOf(const std::string& path, const std::string& newEntry,
                                                const std::vector<std::u16string>& names) {
    KnownFolders& known = TheFolders();
    const std::lock_guard lock(known.threads);
    KnownFolder* folder = Find(known, path);
    if (!folder) return std::nullopt;
    folder->ReadShortNames(newEntry);
    std::set<std::u16string> taken;
    std::copy_if(names.begin(), names.end(), std::inserter(taken, taken.end()),
                 [&](const std::u16string& name) { return folder->IsTaken(name); });
    return taken;
}

std::set<std::string> TakeUnnamed(const std::string& path) {
    KnownFolders& known = TheFolders();
    const std::lock_guard lock(known.threads);
    KnownFolder* folder = Find(known, path);
    return folder ? folder->TakeUnnamed() : std::set<std::string>();
}

}  // namespace winhost
