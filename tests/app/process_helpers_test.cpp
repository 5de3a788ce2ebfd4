#include "run/process_helpers.h"

#include "run/run_paths.h"
#include "app/setup_state.h"
#include "harness/scratch.h"
#include "support/path_text.h"

namespace {

const Text kSleeper = kScratch + TEXT("\\sleeper.exe");
const Text kReport = kScratch + TEXT("\\report"), kLeave = kScratch + TEXT("\\leave");

// Without an argument, this program is the one that the tested function has started.
CHILD_PROGRAM(StartsItself) {
    if (__argc == 1) {
        Await("leave to report", [] { return Exists(kLeave); });
        WCHAR folder[MAX_PATH];
        MakeFile(kReport, {folder, folder + GetCurrentDirectoryW(MAX_PATH, folder)});
        return 0;
    }
    g_targetDir = TEXT("C:\\Scratch\\target");
    const auto reported = [](LPCWSTR folder, DWORD waitMs) {
        (void)DeleteFileW(kReport.c_str());
        EXPECT_NE(ExecAndWait(TEXT("\"C:\\Scratch\\child.exe\""), folder, waitMs), 0);
        return FileBytes(kReport).value_or("none yet");
    };
    MakeFile(kLeave);
    EXPECT_EQ(reported(nullptr, tools::kHangMs), "C:\\Scratch\\target");
    EXPECT_EQ(reported(TEXT("C:\\Scratch\\other"), tools::kHangMs), "C:\\Scratch\\other");
    EXPECT_TRUE(DeleteFileW(kLeave.c_str()));
    EXPECT_EQ(reported(nullptr, 0), "none yet");
    MakeFile(kLeave);
    return ::testing::Test::HasFailure();
}

TEST_F(ScratchTest, ExecAndWaitStartsInTheNamedOrTheTargetFolderAndWaitsOnlyWhenTold) {
    MakeFolder(kScratch + TEXT("\\target"));
    MakeFolder(kScratch + TEXT("\\other"));
    EXPECT_EQ(RunChild("StartsItself", kScratch + TEXT("\\child.exe"), TEXT("x")), 0u);
    EXPECT_TRUE(Exists(kReport)) << "the program that nobody waits for runs to its end";
}

TEST_F(ScratchTest, ExecAndWaitTakesACommandLineOf519Characters) {
    ImportFile("sleeper.exe", kSleeper);
    g_targetDir = kScratch.c_str();
    for (const std::size_t cch : {519, 520})
        EXPECT_EQ(ExecAndWait((kSleeper + Text(cch - kSleeper.size(), ' ')).c_str(), nullptr, 0) != 0,
                  cch == 519);
}

TEST_F(ScratchTest, SystemFunctionsAreFoundAndEnablePrivilegeTellsItsFailures) {
    LookUpSystemFunctions();
    EXPECT_TRUE(g_isWow64Process);
    HANDLE token = nullptr;
    ASSERT_TRUE(g_openProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &token));
    const auto told = [](HANDLE of, LPCWSTR privilege) {
        ::testing::internal::CaptureStdout();
        const int result = EnablePrivilege(of, privilege, 1);
        return std::to_string(result) + ::testing::internal::GetCapturedStdout();
    };
    EXPECT_EQ(told(token, TEXT("SeShutdownPrivilege")), "1");
    EXPECT_EQ(told(token, TEXT("SeNoSuchPrivilege")), "0LookupPrivilegeValue error: 1313\n");
    EXPECT_EQ(told(nullptr, TEXT("SeShutdownPrivilege")), "0AdjustTokenPrivileges error: 6\n");
    EXPECT_EQ(told(token, TEXT("SeCreateTokenPrivilege")),
              "0The token does not have the specified privilege. \n");
    // A system without one of the functions.
    g_adjustTokenPrivileges = nullptr;
    EXPECT_EQ(told(token, TEXT("SeShutdownPrivilege")), "0");
    LookUpSystemFunctions();
    g_lookupPrivilegeValue = nullptr;
    EXPECT_EQ(told(token, TEXT("SeShutdownPrivilege")), "0");
    CloseHandle(token);
}

Text Path() {
    Text value(32768, 0);
    value.resize(GetEnvironmentVariableW(TEXT("Path"), value.data(), static_cast<DWORD>(value.size())));
    return value;
}

TEST_F(ScratchTest, OwnFolderGoesInFrontOfPathUnlessItStandsThere) {
    const Text before = Path();
    const CString own = ParentDir(OwnPath());
    const Text lowered = CString(own).MakeLower().Text(), shouted = CString(own).MakeUpper().Text();
    const Text longest(1023, TEXT('X'));
    const std::pair<Text, Text> rows[] = {
        {TEXT("C:\\Base;D:\\Tools"), lowered + TEXT(";c:\\base;d:\\tools")},
        {TEXT(""), lowered + TEXT(";")},
        {TEXT("C:\\A;") + shouted + TEXT("\\Sub;C:\\B"), TEXT("C:\\A;") + shouted + TEXT("\\Sub;C:\\B")},
        {longest, lowered + TEXT(";") + Text(1023, TEXT('x'))},
        {longest + TEXT("X"), longest + TEXT("X")},
        {longest + longest, longest + longest},
    };
    for (const auto& [value, expected] : rows) {
        (void)SetEnvironmentVariableW(TEXT("Path"), value.empty() ? nullptr : value.c_str());
        PutOwnFolderOnPath();
        EXPECT_EQ(Path(), expected);
    }
    (void)SetEnvironmentVariableW(TEXT("Path"), before.c_str());
}

}  // namespace
