// What the file subjects of winhost share among themselves.
#pragma once

#include <vector>

#include "internal.h"

namespace winhost {

// ---- paths.cpp ----
bool IsSeparator(char16_t unit);
// False for null and for no text.
bool EndsInSeparator(LPCWSTR path);
// A missing file can't be named with a closing separator: as Locate, but ERROR_INVALID_NAME for that.
Place LocateFile(LPCWSTR path);

// ---- files.cpp ----
// Opens a file as CreateFileW does, with the last error set as there: on success too, where it says whether
// the file was there before. Null for a folder. `attributes` are those of a file that is made or emptied.
std::unique_ptr<OpenFile> OpenPlace(const Place& place, unsigned access, unsigned share, DWORD disposition,
                                    DWORD attributes);
// Writes all bytes, or fails with errno set.
bool WriteWhole(int descriptor, const void* data, std::size_t cbData);
// Takes a file, or an empty folder, away by all rules but those of sharing. Gives the error code, or 0.
DWORD RemovePlace(const Place& place);

// ---- copy_move.cpp ----
// Moves a file or folder within its drive by all rules but those of sharing. Gives the error code, or 0.
DWORD MovePlace(const Place& from, const Place& to, bool replace);

// ---- folders.cpp ----
// Copies text and its end out; gives its length, or the size that the buffer would need when it is too small.
DWORD CopyOut(std::u16string_view text, LPWSTR buffer, DWORD cchBuffer);
// Claims the current folder for this process, so that nobody removes or renames it. A process that was
// started inside the machine calls this as it begins.
void ClaimCurrentFolder();

// ---- profile.cpp ----
// The entries of a section, trimmed, in order: "key=value", or the line as it stands when it has no "=".
std::vector<std::u16string> ReadSection(const Place& file, std::u16string_view section);

// ---- boot.cpp ----
// Marks a move, or with a null target a delete, for the next start. Fails with the last error set.
bool AddBootMark(LPCWSTR source, LPCWSTR target, bool replace);

}  // namespace winhost
