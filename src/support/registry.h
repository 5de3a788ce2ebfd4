// Access to the registry in one call. A failure is an empty or false result, and the caller decides what that
// means. `hive` is a root or any open key. A null value name means the key's default value.
#pragma once

#include <framework.h>

#include "support/handles.h"

// An open key, or null when it can't be opened with that access.
RegistryKey OpenRegKey(HKEY hive, LPCWSTR subKey, REGSAM access);

// The text of a value, whatever its type. Empty when the key or the value is missing, or when the value has
// more than 260 bytes (130 characters with the terminator).
CString GetRegString(HKEY hive, LPCWSTR subKey, LPCWSTR value);

// Write a value, and make the key with all missing levels. They return 1 on success, else 0.
int SetRegString(HKEY hive, LPCWSTR subKey, LPCWSTR value, LPCWSTR text);
int SetRegDword(HKEY hive, LPCWSTR subKey, LPCWSTR value, DWORD number);

// True when the key can be opened for reading.
bool RegKeyExists(HKEY hive, LPCWSTR subKey);
