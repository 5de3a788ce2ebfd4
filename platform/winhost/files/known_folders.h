// Large folders of the host whose entries this process knows, so that it doesn't read a whole folder for each name.
//
// The kernel reports every entry that any process adds, renames or changes, before the call that does so returns. The
// reports are read before each answer. An answer never leaves out an entry, but it may list one that has lost the name
// or is gone. So the caller looks at each one.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace winhost {

// A folder with more entries is worth knowing. Reading a smaller one takes less time than its reports do.
inline constexpr std::size_t kManyEntries = 64;

// Reads the folder and follows its changes from now on. The folder stays unknown if the host can't report them.
void KnowFolder(const std::string& folder);
// Returns the entries that may have this name, which is in upper case, as their own one or, if that counts, as their short
// one. None if the folder is not known.
std::optional<std::vector<std::string>> EntriesLike(const std::string& folder, std::u16string_view upper,
                                                    bool shortNames);
// Returns those of the names, all in upper case, that an entry has as its own or its short one; `newEntry` has no short one
// yet. None if the folder is not known.
std::optional<std::set<std::u16string>> TakenOf(const std::string& folder, const std::string& newEntry,
                                                const std::vector<std::u16string>& names);
// Returns the entries that were seen without a short name since the last call. Empty for an unknown folder.
std::set<std::string> TakeUnnamed(const std::string& folder);

}  // namespace winhost
