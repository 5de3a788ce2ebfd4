#include "uninstall/registry_purge.h"

#include "harness/registry_values.h"

namespace {

using RegistryPurge = ScratchTest;

// A user whose hive is always loaded, and who is not the current one.
const Text kUser = TEXT(".DEFAULT");
const Text kBrowserHosts = TEXT("SOFTWARE\\Mozilla\\NativeMessagingHosts");
const Text kWindows = TEXT("SOFTWARE\\Microsoft\\Windows\\CurrentVersion");

TEST_F(RegistryPurge, TakesTheProductsKeysAndNoOthers) {
    const struct {
        HKEY hive;
        Text key;
        bool stays;
    } rows[] = {
        {HKEY_CURRENT_USER, TEXT("SOFTWARE\\Lorvanta\\Qantivo 8\\a\\b"), false},
        {HKEY_CURRENT_USER, TEXT("SOFTWARE\\Lorvanta\\Qantivo 8\\c"), false},
        {HKEY_CURRENT_USER, TEXT("SOFTWARE\\Lorvanta\\Qantivo 8\\") + Text(255, 'c'), false},
        {HKEY_CURRENT_USER, TEXT("SOFTWARE\\Lorvanta\\Another"), true},
        {HKEY_USERS, kUser + TEXT("\\SOFTWARE\\Lorvanta\\Qantivo 8\\a"), false},
        {HKEY_USERS, kUser + TEXT("\\SOFTWARE\\Lorvanta"), false},
        {HKEY_USERS, kUser + TEXT("\\SOFTWARE\\Classes\\Applications\\QtvApp8.exe"), false},
        {HKEY_USERS, kUser + TEXT("\\SOFTWARE\\Classes\\Applications\\Another.exe"), true},
        {HKEY_CLASSES_ROOT, TEXT("QV8.Document"), false},
        {HKEY_CLASSES_ROOT, TEXT("Qantivo.8\\shell"), false},
        {HKEY_LOCAL_MACHINE, TEXT("SOFTWARE\\Lorvanta\\Qantivo 8\\a"), false},
        {HKEY_LOCAL_MACHINE, TEXT("SOFTWARE\\Lorvanta"), false},
        // Only the entry among the installed programs is deleted without its sub-keys.
        {HKEY_LOCAL_MACHINE, kWindows + TEXT("\\Uninstall\\Qantivo 8\\Foreign"), true},
        {HKEY_LOCAL_MACHINE, kWindows + TEXT("\\App Paths\\QtvApp8.exe\\a"), false},
        {HKEY_LOCAL_MACHINE, kBrowserHosts + TEXT("\\qtvff\\a"), false},
        {HKEY_LOCAL_MACHINE, kBrowserHosts + TEXT("\\other"), true},
        {HKEY_CURRENT_USER, kBrowserHosts + TEXT("\\qtvff"), false},
    };
    for (const auto& row : rows)
        PutValue(row.hive, row.key, TEXT("A value"), Number(1));
    PurgeRegistry(TEXT("Lorvanta"), TEXT("Qantivo 8"), TEXT("Qantivo 8"), TEXT("QtvApp8.exe"));
    for (const auto& row : rows)
        EXPECT_EQ(HasKey(row.hive, row.key), row.stays) << ::testing::PrintToString(row.key);
    // A name that doesn't fit into the path of a key names no key. It never names the hive itself.
    const Text tooLong(600, 'x');
    PurgeRegistry(tooLong.c_str(), TEXT("Qantivo 8"), tooLong.c_str(), tooLong.c_str());
    EXPECT_TRUE(HasKey(HKEY_CURRENT_USER, TEXT("SOFTWARE\\Lorvanta\\Another")));
    for (const auto& row : rows)
        DeleteKeyTree(row.hive, row.key);
}

}  // namespace
