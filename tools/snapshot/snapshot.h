// What a machine holds, as sorted text: files, shortcuts, registry, boot-time marks. Two snapshots compared
// show what a run changed.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace snapshot {

// An item's name, and what it is, in UTF-8:
//   "C:\Folder\"               "folder"
//   "C:\Folder\file.txt"       "file RHS 123 bytes 0123456789abcdef" (attributes that are set, size, digest)
//   "C:\Folder\link.lnk"       "shortcut to C:\target.exe in C:\working folder"
//   "HKLM\SOFTWARE\Key\"       "key"
//   "HKLM\SOFTWARE\Key\ : name"    "REG_SZ "text"" (the default value is named (default))
//   "mark 001"                 "delete C:\path" or "move C:\a to C:\b"
using Snapshot = std::map<std::string, std::string>;

// Takes the whole of drives C and D but the system's own folders, the software keys of the machine and of
// every user, and the marks. What can't be read is passed over.
Snapshot Take();

struct Change {
    char kind;  // '+' appeared, '-' went, '*' changed
    std::string name;
    std::string before;
    std::string after;
};
// The differences, sorted by name.
std::vector<Change> Compare(const Snapshot& before, const Snapshot& after);

// A snapshot as lines "name<TAB>what", and back. A line without a tab is passed over.
std::string ToText(const Snapshot& snapshot);
Snapshot FromText(const std::string& text);

}  // namespace snapshot
