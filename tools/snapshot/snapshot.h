// A machine as sorted text: files, shortcuts, registry, boot-time
// marks. A comparison of two snapshots shows what a run changed.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace snapshot {

// The name of an item, and what it is, in UTF-8:
//   "C:\Folder\"               "folder"
//   "C:\Folder\file.txt"       "file RHS 123 bytes 0123456789abcdef" (attributes that are set, size, digest)
//   "C:\Folder\link.lnk"       "shortcut to C:\target.exe in C:\working folder"
//   "HKLM\SOFTWARE\Key\"       "key"
//   "HKLM\SOFTWARE\Key\ : name"    "REG_SZ "text"" (the default value is named (default))
//   "mark 001"                 "delete C:\path" or "move C:\a to C:\b"
using Snapshot = std::map<std::string, std::string>;

// Reads drives C and D except for the folders of the system, the software keys of the machine and of every user, and the
// marks. Leaves out what can't be read.
Snapshot Take();

struct Change {
    char kind;  // '+' new, '-' deleted, '*' changed
    std::string name;
    std::string before;
    std::string after;
};
// The differences, sorted by name.
std::vector<Change> Compare(const Snapshot& before, const Snapshot& after);

// A snapshot as lines "name<TAB>what", and back. A line without a tab is skipped.
std::string ToText(const Snapshot& snapshot);
Snapshot FromText(const std::string& text);

}  // namespace snapshot
