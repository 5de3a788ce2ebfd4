// Removes the product's keys of the machine, of the current user and of every user whose hive is loaded.
#pragma once

#include <framework.h>

//   company, product   name the product's key below SOFTWARE
//   uninstallKey       names its entry in the list of installed programs
//   exeName            names its application
// A path of 512 characters or more names no key and is skipped.
void PurgeRegistry(LPCWSTR company, LPCWSTR product, LPCWSTR uninstallKey, LPCWSTR exeName);

// Deletes a key with everything below it, and skips what can't
// be deleted. Returns true when the key itself was deleted.
bool DeleteRegTree(HKEY parent, LPCWSTR subKey);

// Deletes a key that has no sub-keys, even when it has values.
void DeleteRegKeyIfEmpty(HKEY parent, LPCWSTR subKey);
