// The marks for the machine's next start: delayed moves and deletes.
#pragma once

#include <windows.h>

#include <optional>
#include <string>
#include <vector>

namespace winhost {

struct BootMark {
    std::u16string source;
    std::optional<std::u16string> target;  // none: the source is deleted
    bool replace = false;                  // the move may replace an existing file
};
// Marks a move, or with a null target a delete, for the next start. Returns false, with the last error set, when it fails.
bool AddBootMark(LPCWSTR source, LPCWSTR target, bool replace);
// Returns all marks in their order. ForgetBootMarks removes them.
std::vector<BootMark> BootMarks();
void ForgetBootMarks();

}  // namespace winhost
