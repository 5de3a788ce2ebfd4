// Removes the product's keys for the machine, the current user and every user whose hive is loaded.
#pragma once

#include <framework.h>

// company and product name the product's key below SOFTWARE, uninstallKey its entry in the list of installed
// programs, exeName its application. A path of 512 characters or more names no key and is passed over.
void PurgeRegistry(LPCWSTR company, LPCWSTR product, LPCWSTR uninstallKey, LPCWSTR exeName);

// Deletes a key with all below it; what can't be deleted is stepped over. True when the key itself went.
bool DeleteRegTree(HKEY parent, LPCWSTR subKey);

// Deletes a key that has no sub-keys; values are no reason to keep it.
void DeleteRegKeyIfEmpty(HKEY parent, LPCWSTR subKey);
