// Names as folders store them, and their short names.
#include "files/stored_names.h"

#include <dirent.h>
#include <fcntl.h>
#include <strings.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <memory>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "core/host_io.h"
#include "core/machine.h"
#include "core/text.h"
#include "files/attributes.h"
#include "files/known_folders.h"
#include "short_names.h"
#include <winhost.h>

namespace winhost {

namespace {

// There where the machine has no short names.
constexpr char kWithoutShortNames[] = "no-short-names";

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
    std::unique_ptr<DIR, int (*)(DIR*)> entries;
};

bool Exists(const std::string& folder, const std::string& name) {
    struct stat info;
    return lstat((folder + "/" + name).c_str(), &info) == 0;
}

bool LacksShortName(const std::string& folder, const std::string& name) {
    return !names::IsShort(Utf16(name)) && KeptShortName(folder, name).empty() && Exists(folder, name);
}

// Whether the entry has this name as its own one, without regard to case.
bool IsNamed(std::string_view entry, std::u16string_view name, const std::string& spelled) {
    // Text is converted only where bytes alone can't tell.
    return IsAscii(entry) && IsAscii(spelled) ? SameAscii(entry, spelled) : SameName(Utf16(entry), name);
}

// The entry that has this name as its own one, or else, if short names count, the one that keeps it. Empty for none.
std::string FindEntry(const std::string& folder, std::u16string_view name, bool shortNames) {
    const std::string spelled = Utf8(name), upper = Utf8(Upper(name));
    std::string keeping;
    if (const auto known = EntriesLike(folder, Upper(name), shortNames)) {
        for (const std::string& entry : *known) {
            if (IsNamed(entry, name, spelled) && Exists(folder, entry)) return entry;
            if (shortNames && KeptShortName(folder, entry) == upper) keeping = entry;
        }
        return keeping;
    }
    std::size_t seen = 0;
    Folder entries(folder);
    while (const char* entry = entries.Next()) {
        if (++seen == kManyEntries) KnowFolder(folder);
        if (IsNamed(entry, name, spelled)) return entry;
        if (shortNames && KeptShortName(folder, entry) == upper) keeping = entry;
    }
    return keeping;
}

void Assign(const std::string& folder, const std::string& name, std::u16string_view shortName) {
    const std::string text = Utf8(shortName) + kNameSeparator + name;
    // Another process may have taken the entry away in the meantime.
    if (!KeepText(folder + "/" + name, kShortNameText, text) && errno != ENOENT)
        NotModelled("short names", "an entry that keeps none: " + folder + "/" + name);
}

// Assigns short names to those entries that lack one, in the order of a search.
void AssignToAll(const std::string& folder) {
    Folder entries(folder);
    std::set<std::u16string> taken;
    std::vector<std::pair<std::u16string, std::string>> lacking;
    while (const char* entry = entries.Next()) {
        const std::string kept = KeptShortName(folder, entry);
        std::u16string upper = Upper(Utf16(kept.empty() ? entry : kept));
        if (!kept.empty() || names::IsShort(upper))
            taken.insert(std::move(upper));
        else
            lacking.emplace_back(std::move(upper), entry);
    }
    std::sort(lacking.begin(), lacking.end());
    for (const auto& [upper, name] : lacking) {
        const names::ShortNames candidates(Utf16(name), upper);
        unsigned number = 1;
        while (!taken.insert(candidates.Candidate(number)).second)
            ++number;
        Assign(folder, name, candidates.Candidate(number));
    }
    if (taken.size() > kManyEntries) KnowFolder(folder);
}

// Returns the first short name for the new entry that no entry of the folder has; none for an unknown folder. Several are
// looked for at a time.
std::optional<std::u16string> FirstFree(const std::string& folder, const std::string& newEntry) {
    const std::u16string name = Utf16(newEntry);
    const names::ShortNames candidates(name, Upper(name));
    for (unsigned first = 1;; first += candidates.firstSummed()) {
        std::vector<std::u16string> wanted;
        for (unsigned number = first; number < first + candidates.firstSummed(); ++number)
            wanted.push_back(candidates.Candidate(number));
        const auto taken = TakenOf(folder, newEntry, wanted);
        if (!taken) return std::nullopt;
        for (const std::u16string& candidate : wanted)
            if (!taken->contains(candidate)) return candidate;
    }
}

// Assigns a short name to the new entry, and to every entry that lacks one if this process doesn't know the folder.
void AssignIn(const std::string& folder, const std::string& newEntry) {
    // Until it is closed, nobody else assigns short names in this folder.
    const Descriptor lock(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    while (lock && flock(lock.get(), LOCK_EX) != 0 && errno == EINTR) {
    }
    std::optional<std::u16string> free;
    if (!newEntry.empty()) free = FirstFree(folder, newEntry);
    if (free)
        Assign(folder, newEntry, *free);
    else
        AssignToAll(folder);
}

bool AnyLacksShortName(const std::string& folder) {
    if (EntriesLike(folder, {}, false)) {
        const auto unnamed = TakeUnnamed(folder);
        return std::any_of(unnamed.begin(), unnamed.end(),
                           [&](const std::string& entry) { return LacksShortName(folder, entry); });
    }
    Folder entries(folder);
    while (const char* entry = entries.Next())
        if (LacksShortName(folder, entry)) return true;
    return false;
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
    const bool shortNames = name.find(u'~') != name.npos && HasShortNames();
    std::string stored = FindEntry(folder, name, shortNames);
    if (stored.empty() && shortNames && AnyLacksShortName(folder)) {
        AssignIn(folder, {});
        stored = FindEntry(folder, name, shortNames);
    }
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
