// One-call access to the registry. No failure is reported: it comes back as an empty or false result, and the
// caller decides what that means. `hive` is a root or any open key; a null value name means the key's default
// value.
#pragma once

#include <framework.h>

#include "support/handles.h"

// An open key, or null when it can't be opened with that access.
RegistryKey OpenRegKey(HKEY hive, LPCWSTR subKey, REGSAM access);

// The value's text, or empty: a missing key or value, and one of more than 260 bytes (130 characters with the
// terminator) alike. The type is not looked at.
CString GetRegString(HKEY hive, LPCWSTR subKey, LPCWSTR value);

// Write a value, making the key with all missing levels. 1 on success, else 0.
int SetRegString(HKEY hive, LPCWSTR subKey, LPCWSTR value, LPCWSTR text);
int SetRegDword(HKEY hive, LPCWSTR subKey, LPCWSTR value, DWORD number);

// True when the key can be opened for reading.
bool RegKeyExists(HKEY hive, LPCWSTR subKey);
