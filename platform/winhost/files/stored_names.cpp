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
#include <memory>
#include <set>
#include <utility>
#include <vector>

#include "core/machine.h"
#include "core/text.h"
#include "files/attributes.h"
#include "short_names.h"
#include "winhost.h"

namespace winhost {

namespace {

// There where the machine has no short names.
constexpr char kWithoutShortNames[] = "no-short-names";
// Stands between the short name and the long one; no name holds it.
constexpr char kThenLong = '/';
constexpr std::size_t kLongestShortName = 12;

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

void AssignFirstFree(const std::string& folder, const std::string& name, std::u16string_view upper,
                     std::set<std::u16string>& taken) {
    const names::ShortNames candidates(Utf16(name), upper);
    unsigned number = 1;
    while (!taken.insert(candidates.Candidate(number)).second)
        ++number;
    const std::string text = Utf8(candidates.Candidate(number)) + kThenLong + name;
    // Another process may have taken the entry away in the meantime.
    if (!KeepText(folder + "/" + name, kShortNameText, text) && errno != ENOENT)
        NotModelled("short names", "an entry that keeps none: " + folder + "/" + name);
}

// Assigns short names to those entries that lack one, in the order of a search.
void AssignShortNames(const std::string& host) {
    Folder folder(host);
    folder.Lock();
    std::set<std::u16string> taken;
    std::vector<std::pair<std::u16string, std::string>> lacking;
    while (const char* entry = folder.Next()) {
        // Each new entry scans its folder, so a long name that has a short one isn't converted.
        const std::string_view name = entry;
        const std::string kept = name.size() > kLongestShortName ? KeptShortName(host, name) : std::string();
        std::u16string upper = kept.empty() ? Upper(Utf16(entry)) : Utf16(kept);
        if (!kept.empty() || names::IsShort(upper))
            taken.insert(std::move(upper));
        else if (const std::string own = KeptShortName(host, name); !own.empty())
            taken.insert(Utf16(own));
        else
            lacking.emplace_back(std::move(upper), entry);
    }
    std::sort(lacking.begin(), lacking.end());
    for (const auto& [upper, name] : lacking)
        AssignFirstFree(host, name, upper, taken);
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
    const bool plain = IsAscii(spelled);
    Folder entries(folder);
    while (const char* entry = entries.Next()) {
        // Text is converted only where bytes alone can't tell: creating many files scans a folder each time.
        const std::string_view stored = entry;
        found = plain && IsAscii(stored) ? SameAscii(stored, spelled) : SameName(Utf16(stored), name);
        if (found) return std::string(stored);
    }
    std::string byShortName = NameByShortName(folder, name);
    found = !byShortName.empty();
    return found ? byShortName : spelled;
}

std::u16string ShortName(const std::string& folder, const std::string& name) {
    if (names::IsShort(Utf16(name)) || !HasShortNames()) return {};
    if (const std::string kept = KeptShortName(folder, name); !kept.empty()) return Utf16(kept);
    AssignShortNames(folder);
    return Utf16(KeptShortName(folder, name));
}

void GiveShortName(const std::string& host) {
    // One that came with the entry belongs to its former folder or name.
    DropText(host, kShortNameText);
    const std::size_t end = host.rfind('/');
    if (HasShortNames() && !names::IsShort(Utf16(host.substr(end + 1))))
        AssignShortNames(host.substr(0, end));
}

}  // namespace winhost
