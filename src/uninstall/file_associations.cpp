#include "uninstall/file_associations.h"

#include <shlobj.h>

#include "install/system_registration.h"
#include "run/product.h"
#include "run/run_values.h"
#include "support/registry.h"
#include "uninstall/reg_scratch.h"

namespace {

constexpr WCHAR kFileExtsKey[] = TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\FileExts");
constexpr WCHAR kUserChoice[] = TEXT("UserChoice");
constexpr WCHAR kFormerChoice[] = TEXT("QtvAppOld");

// The choice to restore for each extension, before Windows Vista only; empty when there is none.
WCHAR g_savedAssociations[kExtensionCount][kRegScratchChars];

// Where the choices are stored: baseKey has a key for each extension. Before Windows Vista the choice is the
// value valueName of that key, from Vista on it is the sub-key UserChoice.
struct Choices {
    HKEY baseKey;
    LPCWSTR valueName;
};

bool IsVista() {
    return g_osVersion.dwMajorVersion >= 6;
}

bool Holds(LPCWSTR text, LPCWSTR part) {
    return wcsstr(text, part) != nullptr;
}

// The key that is opened here stays open until the process ends.
Choices FindChoices() {
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_CURRENT_USER, kFileExtsKey, 0, KEY_ALL_ACCESS, &key) == ERROR_SUCCESS)
        return {key, TEXT("Application")};
    if (RegOpenKeyExW(HKEY_CLASSES_ROOT, nullptr, 0, KEY_ALL_ACCESS, &key) == ERROR_SUCCESS)
        return {key, nullptr};
    return {nullptr, nullptr};
}

// ---- first pass: does the product own the extension, and what was the choice before? ----

// Only this one text marks the extension as the product's. A choice of the product's ProgID isn't looked for.
void NoteUserChoice(HKEY extension, int row) {
    const CString progId = GetRegString(extension, kUserChoice, TEXT("Progid"));
    if (Holds(progId, kApplicationProgId)) g_extensionTable[row].ownedByUs = 1;
}

void NoteChosenValue(HKEY extension, LPCWSTR valueName, int row) {
    if (!ReadRegScratch(extension, valueName) || !*g_regScratch) return;
    if (Holds(g_regScratch, kApplicationFile)) {
        g_extensionTable[row].ownedByUs = 1;
        if (!ReadRegScratch(extension, kFormerChoice)) return;
    }
    wcscpy(g_savedAssociations[row], g_regScratch);
}

void NoteChoice(const Choices& choices, int row) {
    g_savedAssociations[row][0] = 0;
    g_extensionTable[row].ownedByUs = 0;
    const RegistryKey extension =
        OpenRegKey(choices.baseKey, g_extensionTable[row].extension, KEY_ALL_ACCESS);
    if (!extension) return;
    if (IsVista())
        NoteUserChoice(extension.get(), row);
    else
        NoteChosenValue(extension.get(), choices.valueName, row);
}

// ---- second pass: return the extension; the functions return true for a change ----

bool DropUserChoice(HKEY extension, int row) {
    const bool owned = g_extensionTable[row].ownedByUs != 0;
    if (owned) (void)RegDeleteKeyW(extension, kUserChoice);
    (void)RegDeleteValueW(extension, kFormerChoice);
    return owned;
}

bool PutChosenValueBack(HKEY extension, LPCWSTR valueName, int row) {
    if (!ReadRegScratch(extension, valueName) || !Holds(g_regScratch, kApplicationFile)) return false;
    const LPCWSTR saved = g_savedAssociations[row];
    if (*saved) {
        const DWORD cbSaved = static_cast<DWORD>((wcslen(saved) + 1) * sizeof(WCHAR));
        (void)RegSetValueExW(extension, valueName, 0, REG_SZ, reinterpret_cast<const BYTE*>(saved), cbSaved);
    } else {
        (void)RegDeleteValueW(extension, valueName);
    }
    (void)RegDeleteValueW(extension, kFormerChoice);
    return true;
}

bool GiveBack(const Choices& choices, int row) {
    const RegistryKey extension =
        OpenRegKey(choices.baseKey, g_extensionTable[row].extension, KEY_ALL_ACCESS);
    if (!extension) return false;
    return IsVista() ? DropUserChoice(extension.get(), row)
                     : PutChosenValueBack(extension.get(), choices.valueName, row);
}

}  // namespace

void RestoreFileAssociations() {
    const Choices choices = FindChoices();
    if (!choices.baseKey) return;
    for (int row = 0; row < kExtensionCount; ++row)
        NoteChoice(choices, row);
    bool changed = false;
    for (int row = 0; row < kExtensionCount; ++row)
        if (GiveBack(choices, row)) changed = true;
    if (changed) SHChangeNotify(SHCNE_ASSOCCHANGED, SHCNF_IDLIST, nullptr, nullptr);
}
