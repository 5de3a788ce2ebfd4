// Shell links.
#pragma once

#include <shlobj.h>

namespace winhost {

// Makes a shell link and returns its interface `iid` in `object`.
HRESULT CreateShellLink(REFIID iid, void** object);

}  // namespace winhost
