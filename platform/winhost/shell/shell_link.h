// Shell links.
#pragma once

#include <shlobj.h>

namespace winhost {

HRESULT CreateShellLink(REFIID iid, void** object);

}  // namespace winhost
