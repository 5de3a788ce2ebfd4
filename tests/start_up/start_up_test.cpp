// What happens before the first line of InitInstance runs.
#include "app/setup_app.h"
#include "app/setup_state.h"
#include "harness/scratch.h"

using StartUpTest = ScratchTest;

CHILD_PROGRAM(HasItsStartValues) {
    WCHAR path[1024 + MAX_PATH + 1] = {};
    (void)GetEnvironmentVariableW(TEXT("Path"), path, 1024 + MAX_PATH + 1);
    EXPECT_TRUE(Text(path).starts_with(TEXT("c:\\scratch\\own;"))) << ::testing::PrintToString(Text(path));
    EXPECT_TRUE(g_silentMode == 1 && g_installType == 1 && g_desktopIcon == 1);
    EXPECT_EQ(
        g_autoStart | g_runAfter | g_freshInstall | g_rebootNeeded | g_upgradeOlder | g_settingsFromPackage,
        0);
    EXPECT_EQ(Text(theApp.m_pszAppName), TEXT("Qantivo 8"));
    EXPECT_NE(g_osVersion.dwMajorVersion, 0u);
    return ::testing::Test::HasFailure();
}

TEST_F(StartUpTest, OwnFolderIsInFrontOfPathAndVariablesHaveTheirValues) {
    EXPECT_EQ(RunChild("HasItsStartValues", kScratch + TEXT("\\Own\\child.exe")), 0u);
}
