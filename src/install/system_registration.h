// What makes the application known to Windows: registry values and the thumbnail handler.
#pragma once

#include <framework.h>

// An image file extension, and whether the product owns it on this machine.
struct ExtensionRow {
    LPCWSTR extension;
    int ownedByUs;
};
inline constexpr int kExtensionCount = 14;
// The install reads only `extension`. `ownedByUs` is working state of the file association restore.
extern ExtensionRow g_extensionTable[kExtensionCount];

// Writes all registry values in a fixed order, and skips a value that can't be written.
void WriteSystemRegistration();

// The path of the thumbnail handler for this process and system in `folder`, which has a closing backslash.
// Empty when there is none. The install registers the handler, and the uninstall unregisters the same one.
CString ThumbnailHandlerPath(LPCWSTR folder);

// A handler path up to this length counts as none, since a file in a folder has a longer path.
inline constexpr int kNoHandlerChars = 4;

// Starts regsvr32.exe, as the system's search finds it, to register the thumbnail handler. Doesn't wait for it.
void RegisterThumbnailHandler();
