// The part of COM that shell links need.
#include <objbase.h>

#include "core/faults.h"
#include "core/machine.h"
#include "shell/shell_link.h"

const IID IID_IUnknown = {0x00000000, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
const IID IID_IPersistFile = {0x0000010B, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

namespace {

thread_local unsigned initialized;

}  // namespace

HRESULT CoInitialize(LPVOID reserved) {
    if (const DWORD fault = winhost::FaultOf("CoInitialize")) return HRESULT_FROM_WIN32(fault);
    if (reserved) return E_INVALIDARG;
    return initialized++ == 0 ? S_OK : S_FALSE;
}

void CoUninitialize() {
    if (winhost::FaultOf("CoUninitialize")) return;
    if (initialized > 0) --initialized;
}

HRESULT CoCreateInstance(REFCLSID classId, IUnknown* outer, DWORD context, REFIID iid, LPVOID* object) {
    if (!object) return E_POINTER;
    *object = nullptr;
    if (const DWORD fault = winhost::FaultOf("CoCreateInstance")) return HRESULT_FROM_WIN32(fault);
    if (outer || context != CLSCTX_INPROC_SERVER)
        winhost::NotModelled("CoCreateInstance", "outer object or context");
    if (initialized == 0) return CO_E_NOTINITIALIZED;
    if (classId != CLSID_ShellLink)
        winhost::NotModelled("CoCreateInstance", "another class than that of links");
    return winhost::CreateShellLink(iid, object);
}
