// A thumbnail handler that can only be registered and unregistered: it writes its own path under its class,
// and removes it. HANDLER_FILE is the name of the library's file, as wide text.
#include <windows.h>

#include <cwchar>

namespace {

constexpr WCHAR kClassKey[] = TEXT("CLSID\\{5E0C2B7A-8D41-4F69-9C3B-71A6D2E48F15}");
constexpr WCHAR kServerKey[] = TEXT("CLSID\\{5E0C2B7A-8D41-4F69-9C3B-71A6D2E48F15}\\InprocServer32");

bool SetText(LPCWSTR subKey, LPCWSTR name, LPCWSTR text) {
    HKEY key = nullptr;
    if (RegCreateKeyW(HKEY_CLASSES_ROOT, subKey, &key) != ERROR_SUCCESS) return false;
    const DWORD cbText = static_cast<DWORD>((wcslen(text) + 1) * sizeof(WCHAR));
    const LSTATUS status = RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text), cbText);
    RegCloseKey(key);
    return status == ERROR_SUCCESS;
}

}  // namespace

// The registrar calls these.
extern "C" HRESULT WINAPI DllRegisterServer();
extern "C" HRESULT WINAPI DllUnregisterServer();

HRESULT WINAPI DllRegisterServer() {
    WCHAR path[MAX_PATH];
    const DWORD cchPath = GetModuleFileNameW(GetModuleHandleW(HANDLER_FILE), path, MAX_PATH);
    if (cchPath == 0 || cchPath == MAX_PATH) return E_FAIL;
    const bool done = SetText(kClassKey, nullptr, TEXT("Qantivo thumbnails")) &&
                      SetText(kServerKey, nullptr, path) &&
                      SetText(kServerKey, TEXT("ThreadingModel"), TEXT("Apartment"));
    return done ? S_OK : E_FAIL;
}

HRESULT WINAPI DllUnregisterServer() {
    const LSTATUS server = RegDeleteKeyW(HKEY_CLASSES_ROOT, kServerKey);
    const LSTATUS handlerClass = RegDeleteKeyW(HKEY_CLASSES_ROOT, kClassKey);
    return server == ERROR_SUCCESS && handlerClass == ERROR_SUCCESS ? S_OK : E_FAIL;
}
