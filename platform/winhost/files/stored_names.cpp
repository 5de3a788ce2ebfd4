// Names as folders store them, and their short names.
#include "files/stored_names.h"

#include <dirent.h>
#include <strings.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <utility>
#include <vector>

#include "core/machine.h"
#include "core/text.h"
#include "files/attributes.h"
#include "short_names.h"
#include <winhost.h>

namespace winhost {

namespace {

// There where the machine has no short names.
constexpr char kWithoutShortNames[] = "no-short-names";
// Stands between the short name and the long one; no name holds it.
constexpr char kThenLong = '/';
constexpr std::size_t kLongestShortName = 12;
// On a folder: who has last assigned short names in it.
constexpr char kFolderMark[] = "user.winhost.short-names-by";

bool HasShortNames() {
    return access((StateFolder() / kWithoutShortNames).c_str(), F_OK) != 0;
}

bool IsAscii(std::string_view text) {
    return std::none_of(text.begin(), text.end(), [](char byte) { return byte & 0x80; });
}

bool SameAscii(std::string_view left, std::string_view right) {
    return left.size() == right.size() && strncasecmp(left.data(), right.data(), left.size()) == 0;
}

struct Folder {
    explicit Folder(const std::string& host) : entries(opendir(host.c_str()), closedir) {}
    const char* Next() {
        const dirent* entry = entries ? readdir(entries.get()) : nullptr;
        return entry ? entry->d_name : nullptr;
    }
    // Until the folder is closed, no other process assigns short names in it.
    void Lock() {
        while (entries && flock(dirfd(entries.get()), LOCK_EX) != 0 && errno == EINTR) {
        }
    }
    std::unique_ptr<DIR, int (*)(DIR*)> entries;
};

// The short name that is kept on an entry; empty for none.
std::string KeptShortName(const std::string& folder, std::string_view name) {
    const std::string kept = KeptText(folder + "/" + std::string(name), kShortNameText);
    const std::size_t end = kept.find(kThenLong);
    return end <= kLongestShortName && std::string_view(kept).substr(end + 1) == name ? kept.substr(0, end)
                                                                                      : std::string();
}

// The entry of this name, without regard to case; empty for none.
std::string EntryNamed(const std::string& folder, std::u16string_view name) {
    const std::string spelled = Utf8(name);
    const bool plain = IsAscii(spelled);
    Folder entries(folder);
    while (const char* entry = entries.Next()) {
        // Text is converted only where bytes alone can't tell: creating many files scans a folder each time.
        const std::string_view stored = entry;
        if (plain && IsAscii(stored) ? SameAscii(stored, spelled) : SameName(Utf16(stored), name))
            return std::string(stored);
    }
    return {};
}

// The short names in the folder where this process last assigned one. Without it, each new entry of a large folder would
// read those of all other entries. It is valid as long as the folder has this process's mark, because everyone who
// assigns a short name leaves a new mark.
struct LastFolder {
    std::mutex mutex;
    std::string folder;
    std::string mark;
    std::map<std::u16string, std::string> owners;  // the entries by their short names
};

LastFolder& Last() {
    static auto* last = new LastFolder;
    return *last;
}

bool IsValid(const LastFolder& last, const std::string& folder) {
    return last.folder == folder && !last.mark.empty() && KeptText(folder, kFolderMark) == last.mark;
}

void LeaveMark(LastFolder& last) {
    static unsigned count;
    last.mark = std::to_string(getpid()) + ":" + std::to_string(++count);
    if (!KeepText(last.folder, kFolderMark, last.mark)) last.mark.clear();
}

// Whether an entry of the last folder has this short name, or has it as its own name.
bool IsTaken(const LastFolder& last, const std::u16string& shortName) {
    const auto owner = last.owners.find(shortName);
    return (owner != last.owners.end() && KeptShortName(last.folder, owner->second) == Utf8(shortName)) ||
           !EntryNamed(last.folder, shortName).empty();
}

void AssignFirstFree(LastFolder& last, const std::string& name, std::u16string_view upper,
                     const std::function<bool(const std::u16string&)>& isTaken) {
    const names::ShortNames candidates(Utf16(name), upper);
    unsigned number = 1;
    while (isTaken(candidates.Candidate(number)))
        ++number;
    const std::string text = Utf8(candidates.Candidate(number)) + kThenLong + name;
    // Another process may have taken the entry away in the meantime.
    if (!KeepText(last.folder + "/" + name, kShortNameText, text) && errno != ENOENT)
        NotModelled("short names", "an entry that keeps none: " + last.folder + "/" + name);
    last.owners[candidates.Candidate(number)] = name;
}

// Assigns short names to those entries that lack one, in the order of a search.
void AssignShortNames(LastFolder& last, Folder& entries) {
    last.owners.clear();
    std::set<std::u16string> taken;
    std::vector<std::pair<std::u16string, std::string>> lacking;
    while (const char* entry = entries.Next()) {
        const std::string kept = KeptShortName(last.folder, entry);
        std::u16string upper = Upper(Utf16(kept.empty() ? entry : kept));
        if (!kept.empty()) last.owners[upper] = entry;
        if (!kept.empty() || names::IsShort(upper))
            taken.insert(std::move(upper));
        else
            lacking.emplace_back(std::move(upper), entry);
    }
    std::sort(lacking.begin(), lacking.end());
    for (const auto& [upper, name] : lacking)
        AssignFirstFree(last, name, upper,
                        [&](const std::u16string& candidate) { return !taken.insert(candidate).second; });
}

// Assigns a short name to the new entry, and to every entry that lacks one if this process doesn't know the folder.
void AssignIn(const std::string& folder, const std::string& newEntry) {
    LastFolder& last = Last();
    const std::lock_guard lock(last.mutex);
    Folder entries(folder);
    entries.Lock();
    if (!newEntry.empty() && IsValid(last, folder)) {
        AssignFirstFree(last, newEntry, Upper(Utf16(newEntry)),
                        [&](const std::u16string& candidate) { return IsTaken(last, candidate); });
    } else {
        last.folder = folder;
        AssignShortNames(last, entries);
    }
    LeaveMark(last);
}

// The entry that has this short name; empty for none.
std::string NameByShortName(const std::string& host, std::u16string_view name) {
    if (name.find(u'~') == name.npos) return {};
    const std::u16string upper = Upper(name);
    Folder folder(host);
    while (const char* stored = folder.Next())
        if (ShortName(host, stored) == upper) return stored;
    return {};
}

}  // namespace

void SetHasShortNames(bool on) {
    if (on)
        (void)unlink((StateFolder() / kWithoutShortNames).c_str());
    else
        std::ofstream(StateFolder() / kWithoutShortNames).put('1');
}

std::string StoredName(const std::string& folder, std::u16string_view name, bool& found) {
    std::string spelled = Utf8(name);
    struct stat info;
    found = lstat((folder + "/" + spelled).c_str(), &info) == 0;
    if (found) return spelled;
    std::string stored = EntryNamed(folder, name);
    if (stored.empty()) stored = NameByShortName(folder, name);
    found = !stored.empty();
    return found ? stored : spelled;
}

std::u16string ShortName(const std::string& folder, const std::string& name) {
    if (names::IsShort(Utf16(name)) || !HasShortNames()) return {};
    if (const std::string kept = KeptShortName(folder, name); !kept.empty()) return Utf16(kept);
    AssignIn(folder, {});
    return Utf16(KeptShortName(folder, name));
}

void GiveShortName(const std::string& host) {
    // One that came with the entry belongs to its former folder or name.
    DropText(host, kShortNameText);
    const std::size_t end = host.rfind('/');
    const std::string name = host.substr(end + 1);
    if (HasShortNames() && !names::IsShort(Utf16(name))) AssignIn(host.substr(0, end), name);
}

}  // namespace winhost
