// Attributes are kept on the file itself, so they survive a rename.
#pragma once

#include <windows.h>

#include <string>

#include "core/host_io.h"

namespace winhost {

// Windows attributes of a host file: what is stored, FILE_ATTRIBUTE_DIRECTORY for folders, NORMAL for none.
DWORD StoredAttributes(const std::string& host, bool isFolder);
bool StoreAttributes(const std::string& host, DWORD attributes);
// Gives an opened file the archive attribute, as writing to it does.
void MarkWritten(int descriptor);

}  // namespace winhost
