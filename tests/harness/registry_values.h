// Registry values as they are stored, for tests.
#pragma once

#include "harness/scratch.h"

struct StoredValue {
    DWORD type;
    std::string bytes;
    bool operator==(const StoredValue&) const = default;
};

// A text with its terminator, as it is stored.
inline StoredValue Sz(const Text& text, DWORD type = REG_SZ) {
    return {type, {reinterpret_cast<const char*>(text.c_str()), (text.size() + 1) * sizeof(WCHAR)}};
}

inline StoredValue Number(DWORD number) {
    return {REG_DWORD, {reinterpret_cast<const char*>(&number), sizeof number}};
}

// Writes a value and makes the key with all missing levels. A null name means the key's default value.
inline void PutValue(HKEY hive, const Text& key, LPCWSTR name, const StoredValue& value) {
    HKEY opened;
    ASSERT_EQ(RegCreateKeyW(hive, key.c_str(), &opened), ERROR_SUCCESS);
    EXPECT_EQ(RegSetValueExW(opened, name, 0, value.type, reinterpret_cast<const BYTE*>(value.bytes.data()),
                             static_cast<DWORD>(value.bytes.size())),
              ERROR_SUCCESS);
    RegCloseKey(opened);
}

inline bool HasKey(HKEY hive, const Text& key) {
    HKEY opened;
    if (RegOpenKeyExW(hive, key.c_str(), 0, KEY_READ, &opened) != ERROR_SUCCESS) return false;
    RegCloseKey(opened);
    return true;
}

// Returns none when the key or the value is missing.
inline std::optional<StoredValue> GetValue(HKEY hive, const Text& key, LPCWSTR name) {
    HKEY opened;
    if (RegOpenKeyExW(hive, key.c_str(), 0, KEY_READ, &opened) != ERROR_SUCCESS) return {};
    char bytes[2048];
    StoredValue value = {};
    DWORD cbValue = sizeof bytes;
    const LSTATUS status =
        RegQueryValueExW(opened, name, nullptr, &value.type, reinterpret_cast<LPBYTE>(bytes), &cbValue);
    RegCloseKey(opened);
    if (status != ERROR_SUCCESS) return {};
    value.bytes.assign(bytes, cbValue);
    return value;
}
