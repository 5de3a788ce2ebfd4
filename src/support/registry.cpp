#include "support/registry.h"

namespace {

// The size that a query may fill. Longer values count as missing.
constexpr DWORD kMaxValueBytes = 260;

int SetRegValue(HKEY hive, LPCWSTR subKey, LPCWSTR value, DWORD type, const void* data, std::size_t cbData) {
    HKEY opened;
    if (RegCreateKeyW(hive, subKey, &opened) != ERROR_SUCCESS) return 0;
    const RegistryKey key(opened);
    const LSTATUS status =
        RegSetValueExW(opened, value, 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(cbData));
    return status == ERROR_SUCCESS;
}

}  // namespace

RegistryKey OpenRegKey(HKEY hive, LPCWSTR subKey, REGSAM access) {
    HKEY opened;
    if (RegOpenKeyExW(hive, subKey, 0, access, &opened) != ERROR_SUCCESS) return nullptr;
    return RegistryKey(opened);
}

CString GetRegString(HKEY hive, LPCWSTR subKey, LPCWSTR value) {
    const RegistryKey key = OpenRegKey(hive, subKey, KEY_READ);
    if (!key) return {};
    // One character more than the query may fill, because a stored value may lack its terminator.
    WCHAR text[kMaxValueBytes / sizeof(WCHAR) + 1] = {};
    DWORD cbText = kMaxValueBytes;
    const LSTATUS status =
        RegQueryValueExW(key.get(), value, nullptr, nullptr, reinterpret_cast<LPBYTE>(text), &cbText);
    if (status != ERROR_SUCCESS) return {};
    return text;
}

int SetRegString(HKEY hive, LPCWSTR subKey, LPCWSTR value, LPCWSTR text) {
    return SetRegValue(hive, subKey, value, REG_SZ, text, (wcslen(text) + 1) * sizeof(WCHAR));
}

int SetRegDword(HKEY hive, LPCWSTR subKey, LPCWSTR value, DWORD number) {
    return SetRegValue(hive, subKey, value, REG_DWORD, &number, sizeof number);
}

bool RegKeyExists(HKEY hive, LPCWSTR subKey) {
    return OpenRegKey(hive, subKey, KEY_READ) != nullptr;
}
