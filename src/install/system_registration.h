// What ties the application into Windows: registry values and the thumbnail handler.
#pragma once

#include <framework.h>

// An image file extension, and whether the product owns it on this machine.
struct ExtensionRow {
    LPCWSTR extension;
    int ownedByUs;
};
inline constexpr int kExtensionCount = 14;
// The install reads `extension` alone; `ownedByUs` is working state of the file association restore.
extern ExtensionRow g_extensionTable[kExtensionCount];

// Writes all registry values, in a fixed order. A value that can't be written is left out.
void WriteSystemRegistration();

// The thumbnail handler for this process and system, in `folder` (with a closing backslash); empty when there
// is none. The install registers it and the uninstall takes the same one out.
CString ThumbnailHandlerPath(LPCWSTR folder);

// A handler path up to this length counts as none: no path of a file below a folder is that short.
inline constexpr int kNoHandlerChars = 4;

// Has regsvr32.exe, as the system's search finds it, register the thumbnail handler; waits for nothing.
void RegisterThumbnailHandler();
