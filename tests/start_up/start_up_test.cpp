// The program's own variables as they stand when the first line of InitInstance runs.
#include "app/process_helpers.h"
#include "instances/instance_manager.h"
#include "app/setup_app.h"
#include "app/setup_state.h"
#include "support/scratch.h"

namespace {

class StartUpTest : public ScratchTest {};

}  // namespace

TEST_F(StartUpTest, VariablesHoldTheirStartValues) {
    EXPECT_EQ(g_silentMode, 1);
    EXPECT_EQ(g_installType, 1);
    EXPECT_EQ(g_desktopIcon, 1);
    for (const int* number : {&g_autoStart, &g_runAfter, &g_freshInstall, &g_rebootNeeded, &g_upgradeOlder,
                              &g_settingsFromPackage})
        EXPECT_EQ(*number, 0);
    for (const DWORD number : {g_version.major, g_version.minor, g_version.release, g_version.build})
        EXPECT_EQ(number, 0u);
    for (const CString* text : {&g_targetDir, &g_sourceDir, &g_groupName, &g_sfxDir})
        EXPECT_TRUE(text->IsEmpty());
}

TEST_F(StartUpTest, ProcessStandsInTheListOfTheProduct) {
    CDWordArray ids;
    ASSERT_TRUE(g_instanceManager.ListInstances(ids));
    ASSERT_GE(ids.GetSize(), 1);
    EXPECT_EQ(ids[ids.GetSize() - 1], GetCurrentProcessId());
}

TEST_F(StartUpTest, ProcessIsSetUp) {
    EXPECT_EQ(AfxGetApp(), &theApp);
    EXPECT_GE(g_osVersion.dwMajorVersion, 6u);
    EXPECT_TRUE(g_lookupPrivilegeValue && g_adjustTokenPrivileges && g_openProcessToken && g_isWow64Process);
}

CHILD_PROGRAM(HasItsFolderOnPath) {
    WCHAR path[1024 + MAX_PATH + 1] = {};
    (void)GetEnvironmentVariableW(TEXT("Path"), path, 1024 + MAX_PATH + 1);
    return Text(path).starts_with(TEXT("c:\\scratch\\own;")) ? 0 : 1;
}

TEST_F(StartUpTest, OwnFolderStandsInFrontOfPath) {
    EXPECT_EQ(RunChild("HasItsFolderOnPath", kScratch + TEXT("\\Own\\child.exe")).exitCode, 0u);
}

TEST_F(StartUpTest, MessagesCarryTheProductsName) {
    const BoxAnswers answers({IDOK});
    EXPECT_EQ(AfxMessageBox(TEXT("A message")), IDOK);
    ASSERT_EQ(answers.Shown().size(), 1u);
    EXPECT_EQ(answers.Shown()[0].caption, TEXT("Qantivo 8"));
}
