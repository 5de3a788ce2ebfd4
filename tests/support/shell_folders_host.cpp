// Where a shell folder is when the shell fails: the registry says so.
#include "harness/registry_values.h"
#include "support/shell_folders.h"
#include <winhost.h>

namespace {

using ShellFolders = ScratchTest;

TEST_F(ShellFolders, ComeFromTheirRegistryValuesWhenTheShellFails) {
    const struct {
        int folder;
        HKEY hive;
        LPCWSTR value;
    } rows[] = {
        {0, HKEY_CURRENT_USER, TEXT("Desktop")},          {2, HKEY_CURRENT_USER, TEXT("Programs")},
        {5, HKEY_CURRENT_USER, TEXT("Personal")},         {6, HKEY_CURRENT_USER, nullptr},
        {7, HKEY_CURRENT_USER, TEXT("Startup")},          {23, HKEY_LOCAL_MACHINE, TEXT("Common Programs")},
        {24, HKEY_LOCAL_MACHINE, TEXT("Common Startup")}, {25, HKEY_LOCAL_MACHINE, TEXT("Common Desktop")},
        {26, HKEY_CURRENT_USER, TEXT("AppData")},         {35, HKEY_LOCAL_MACHINE, TEXT("Common AppData")},
        {39, HKEY_CURRENT_USER, TEXT("MyPictures")},      {46, HKEY_LOCAL_MACHINE, TEXT("Common Documents")},
        {54, HKEY_LOCAL_MACHINE, TEXT("CommonPictures")},
    };
    const Text key = TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders");
    const auto path = [](int folder) { return TEXT("X:\\") + Wide(std::to_string(folder)); };
    winhost::SetFaults({{.call = "SHGetFolderPathW"}});
    for (const auto& row : rows) {
        PutValue(row.hive, key, row.value, Sz(path(row.folder)));
        EXPECT_EQ(GetShellFolder(row.folder).Text(), path(row.folder));
    }
    winhost::SetFaults({});
}

}  // namespace
