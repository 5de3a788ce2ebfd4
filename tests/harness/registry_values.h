// Registry values as they are stored, for tests.
#pragma once

#include <memory>

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

// Returns the key, or null when it is missing.
inline std::unique_ptr<HKEY__, LSTATUS(WINAPI*)(HKEY)> OpenKey(HKEY hive, const Text& key,
                                                               REGSAM access = KEY_READ) {
    HKEY opened = nullptr;
    (void)RegOpenKeyExW(hive, key.c_str(), 0, access, &opened);
    return {opened, RegCloseKey};
}

inline bool HasKey(HKEY hive, const Text& key) {
    return OpenKey(hive, key) != nullptr;
}

// Returns none when the key or the value is missing.
inline std::optional<StoredValue> GetValue(HKEY hive, const Text& key, LPCWSTR name) {
    const auto opened = OpenKey(hive, key);
    StoredValue value = {REG_NONE, std::string(1 << 16, '\0')};
    DWORD cbValue = static_cast<DWORD>(value.bytes.size());
    if (!opened || RegQueryValueExW(opened.get(), name, nullptr, &value.type,
                                    reinterpret_cast<LPBYTE>(value.bytes.data()), &cbValue) != ERROR_SUCCESS)
        return {};
    value.bytes.resize(cbValue);
    return value;
}
