// Names as folders store them. Each entry also has a short name of 8.3 characters, as on a Windows system
// drive.
//
// An entry gets its short name when it is made, renamed or moved, or when it is first seen if the host put it
// there. The short name is stored on the entry itself, with the long name that it belongs to. So it no longer
// counts when the host renames the entry.
#pragma once

#include <string>
#include <string_view>

namespace winhost {

// Returns the name as the folder stores it. It is found without regard to case, and by its short name. When
// the folder has no such entry, `found` is false and the name is returned as spelled.
std::string StoredName(const std::string& folder, std::u16string_view name, bool& found);
// Returns the short name of an entry, in upper case. Empty when its own name is short, and on a machine
// without short names.
std::u16string ShortName(const std::string& folder, const std::string& name);
// Assigns a short name to an entry that is new in its
// folder or has a new name. `host` is its path on the host.
void GiveShortName(const std::string& host);

}  // namespace winhost
