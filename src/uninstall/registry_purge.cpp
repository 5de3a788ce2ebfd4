#include "uninstall/registry_purge.h"

#include "run/process_helpers.h"
#include "run/product.h"
#include "support/path_text.h"
#include "support/registry.h"

namespace {

constexpr int kKeyChars = 512;

// A path that doesn't fit names no key. It must not reach the functions below as an empty text, which
// would name the parent itself.
void DeleteProductTree(HKEY hive, LPCWSTR company, LPCWSTR product) {
    WCHAR path[kKeyChars];
    if (FormatBounded(path, kKeyChars, TEXT("SOFTWARE\\%s\\%s"), company, product) > 0)
        (void)DeleteRegTree(hive, path);
}

void DeleteCompanyKeyIfEmpty(HKEY hive, LPCWSTR company) {
    WCHAR path[kKeyChars];
    if (FormatBounded(path, kKeyChars, TEXT("SOFTWARE\\%s"), company) > 0) DeleteRegKeyIfEmpty(hive, path);
}

void DeleteApplicationTree(HKEY hive, LPCWSTR exeName) {
    WCHAR path[kKeyChars];
    if (FormatBounded(path, kKeyChars, TEXT("SOFTWARE\\Classes\\Applications\\%s"), exeName) > 0)
        (void)DeleteRegTree(hive, path);
}

void PurgeUsers(LPCWSTR company, LPCWSTR product, LPCWSTR exeName) {
    WCHAR name[kKeyChars];
    for (DWORD index = 0; RegEnumKeyW(HKEY_USERS, index, name, kKeyChars) == ERROR_SUCCESS; ++index) {
        const RegistryKey user = OpenRegKey(HKEY_USERS, name, KEY_ALL_ACCESS);
        if (!user) continue;
        DeleteProductTree(user.get(), company, product);
        DeleteCompanyKeyIfEmpty(user.get(), company);
        DeleteApplicationTree(user.get(), exeName);
    }
}

void PurgeMachineLists(LPCWSTR uninstallKey, LPCWSTR exeName) {
    constexpr WCHAR kCurrentVersion[] = TEXT("SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\");
    const CString current = kCurrentVersion;
    // The delete isn't recursive: an entry to which somebody added keys stays.
    if (const RegistryKey entries =
            OpenRegKey(HKEY_LOCAL_MACHINE, current + TEXT("Uninstall"), KEY_ALL_ACCESS))
        (void)RegDeleteKeyW(entries.get(), uninstallKey);
    if (const RegistryKey paths = OpenRegKey(HKEY_LOCAL_MACHINE, current + TEXT("App Paths"), KEY_ALL_ACCESS))
        (void)DeleteRegTree(paths.get(), exeName);
    if (const RegistryKey registered =
            OpenRegKey(HKEY_LOCAL_MACHINE, TEXT("SOFTWARE\\RegisteredApplications"), KEY_ALL_ACCESS))
        (void)RegDeleteValueW(registered.get(), kProgId);
}

// The browser reads the 64-bit view of the registry.
void DeleteBrowserHost(HKEY hive) {
    const REGSAM access = IsWow64() ? KEY_ALL_ACCESS | KEY_WOW64_64KEY : KEY_ALL_ACCESS;
    if (const RegistryKey hosts = OpenRegKey(hive, TEXT("SOFTWARE\\Mozilla\\NativeMessagingHosts"), access))
        (void)DeleteRegTree(hosts.get(), TEXT("qtvff"));
}

}  // namespace

void PurgeRegistry(LPCWSTR company, LPCWSTR product, LPCWSTR uninstallKey, LPCWSTR exeName) {
    DeleteProductTree(HKEY_LOCAL_MACHINE, company, product);
    DeleteProductTree(HKEY_CURRENT_USER, company, product);
    DeleteCompanyKeyIfEmpty(HKEY_LOCAL_MACHINE, company);
    DeleteCompanyKeyIfEmpty(HKEY_CURRENT_USER, company);
    DeleteApplicationTree(HKEY_LOCAL_MACHINE, exeName);
    PurgeUsers(company, product, exeName);
    (void)DeleteRegTree(HKEY_CLASSES_ROOT, TEXT("QV8.Document"));
    (void)DeleteRegTree(HKEY_CLASSES_ROOT, kProgId);
    PurgeMachineLists(uninstallKey, exeName);
    DeleteBrowserHost(HKEY_LOCAL_MACHINE);
    DeleteBrowserHost(HKEY_CURRENT_USER);
}

bool DeleteRegTree(HKEY parent, LPCWSTR subKey) {
    if (const RegistryKey key = OpenRegKey(parent, subKey, KEY_ALL_ACCESS)) {
        WCHAR name[kKeyChars];
        DWORD index = 0;
        // After a delete the next key has the same index. A key that stays is skipped.
        while (RegEnumKeyW(key.get(), index, name, kKeyChars) == ERROR_SUCCESS)
            if (!DeleteRegTree(key.get(), name)) ++index;
    }
    return RegDeleteKeyW(parent, subKey) == ERROR_SUCCESS;
}

void DeleteRegKeyIfEmpty(HKEY parent, LPCWSTR subKey) {
    {
        const RegistryKey key = OpenRegKey(parent, subKey, KEY_ALL_ACCESS);
        WCHAR name[kKeyChars];
        if (!key || RegEnumKeyW(key.get(), 0, name, kKeyChars) == ERROR_SUCCESS) return;
    }
    (void)RegDeleteKeyW(parent, subKey);
}
