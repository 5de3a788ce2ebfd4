// What is done before the first line of InitInstance runs.
#include "support/scratch.h"

using StartUpTest = ScratchTest;

CHILD_PROGRAM(HasItsFolderOnPath) {
    WCHAR path[1024 + MAX_PATH + 1] = {};
    (void)GetEnvironmentVariableW(TEXT("Path"), path, 1024 + MAX_PATH + 1);
    return Text(path).starts_with(TEXT("c:\\scratch\\own;")) ? 0 : 1;
}

TEST_F(StartUpTest, OwnFolderStandsInFrontOfPath) {
    EXPECT_EQ(RunChild("HasItsFolderOnPath", kScratch + TEXT("\\Own\\child.exe")), 0u);
}
