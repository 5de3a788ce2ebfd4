// What stands in for the shell when it gives no folder.
#include "harness/registry_values.h"
#include "harness/scratch.h"
#include "support/shell_folders.h"
#include "winhost.h"

namespace {

class ShellFolders : public ScratchTest {
  protected:
    ~ShellFolders() override { winhost::SetFaults({}); }
};

TEST_F(ShellFolders, ComeFromTheirRegistryValuesWhenTheShellFails) {
    const struct {
        int folder;
        HKEY hive;
        LPCWSTR value;
    } rows[] = {
        {0, HKEY_CURRENT_USER, TEXT("Desktop")},  {23, HKEY_LOCAL_MACHINE, TEXT("Common Programs")},
        {26, HKEY_CURRENT_USER, TEXT("AppData")}, {54, HKEY_LOCAL_MACHINE, TEXT("CommonPictures")},
        {6, HKEY_CURRENT_USER, nullptr},
    };
    const Text key = TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders");
    for (const auto& row : rows)
        PutValue(row.hive, key, row.value, Sz(TEXT("X:\\") + Text(1, static_cast<WCHAR>('a' + row.folder))));
    winhost::SetFaults({{.call = "SHGetFolderPathW", .nth = 0, .error = 0, .kill = false}});
    for (const auto& row : rows)
        EXPECT_EQ(GetShellFolder(row.folder).Text(),
                  TEXT("X:\\") + Text(1, static_cast<WCHAR>('a' + row.folder)))
            << row.folder;
}

}  // namespace
