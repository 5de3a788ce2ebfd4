// Single files and folders: opened, made and taken away.
#pragma once

#include <windows.h>

#include <memory>

#include "files/paths.h"
#include "files/sharing.h"

namespace winhost {

// Opens a file as CreateFileW does, with the last error set as there: on success too, where it says whether
// the file was there before. Null for a folder. `attributes` are those of a file that is made or emptied.
std::unique_ptr<OpenFile> OpenPlace(const Place& place, unsigned access, unsigned share, DWORD disposition,
                                    DWORD attributes);
// Makes a folder that is missing only itself. Returns the error code, or 0.
DWORD MakeFolder(const Place& place);
// Takes a file, or an empty folder, away by all rules but those of sharing. Returns the error code, or 0.
DWORD RemovePlace(const Place& place);

}  // namespace winhost
