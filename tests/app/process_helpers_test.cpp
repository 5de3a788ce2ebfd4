#include "app/process_helpers.h"

#include "app/setup_app.h"
#include "app/setup_state.h"
#include "support/scratch.h"

namespace {

constexpr DWORD kPatience = 30000;
const Text kSleeper = kScratch + TEXT("\\sleeper.exe");
const Text kReport = kScratch + TEXT("\\report");

std::string Narrow(LPCWSTR text) {
    return {text, text + wcslen(text)};
}

// The arguments choose the call; the program started by it is this one again, with no argument.
struct Start {
    LPCWSTR argument;
    LPCWSTR folder;
    DWORD waitMs;
    const char* currentFolder;
};
constexpr Start kStarts[] = {
    {TEXT("null"), nullptr, kPatience, "C:\\Scratch\\target"},
    {TEXT("named"), TEXT("C:\\Scratch\\other"), kPatience, "C:\\Scratch\\other"},
    {TEXT("unwaited"), nullptr, 0, nullptr},
};

}  // namespace

CHILD_PROGRAM(StartsItself) {
    if (__argc == 1) {
        Sleep(500);
        WCHAR folder[MAX_PATH];
        (void)GetCurrentDirectoryW(MAX_PATH, folder);
        MakeFile(kReport, Narrow(folder));
        return 0;
    }
    g_targetDir = TEXT("C:\\Scratch\\target");
    for (const Start& start : kStarts) {
        if (wcscmp(__wargv[1], start.argument) != 0) continue;
        if (!ExecAndWait(TEXT("\"C:\\Scratch\\child.exe\""), start.folder, start.waitMs)) return 1;
        return start.currentFolder ? FileBytes(kReport) != start.currentFolder : Exists(kReport);
    }
    return 2;
}

class ExecAndWaitTest : public ScratchTest {
  protected:
    ExecAndWaitTest() {
        ImportFile(QTV_BUILD_FOLDER "/sleeper.exe", kSleeper);
        g_targetDir = kScratch.c_str();
    }
};

TEST_F(ExecAndWaitTest, StartsInTheNamedOrTheTargetFolderAndWaitsOnlyWhenTold) {
    MakeFolder(kScratch + TEXT("\\target"));
    MakeFolder(kScratch + TEXT("\\other"));
    for (const Start& start : kStarts) {
        (void)DeleteFileW(kReport.c_str());
        EXPECT_EQ(RunChild("StartsItself", kScratch + TEXT("\\child.exe"), start.argument).exitCode, 0u)
            << Narrow(start.argument);
    }
    EXPECT_TRUE(Exists(kReport)) << "the program that nobody waits for runs to its end";
}

TEST_F(ExecAndWaitTest, LeavesAProgramThatOutlastsTheWaitRunning) {
    const DWORD start = GetTickCount();
    EXPECT_NE(ExecAndWait(kSleeper.c_str(), nullptr, 200), 0);
    EXPECT_GE(GetTickCount() - start, 190u);
    EXPECT_FALSE(DeleteFileW(kSleeper.c_str())) << "the program has ended";
}

TEST_F(ExecAndWaitTest, TakesACommandLineOf519Characters) {
    EXPECT_NE(ExecAndWait(Text(kSleeper).append(519 - kSleeper.size(), TEXT(' ')).c_str(), nullptr, 0), 0);
}

// ---- functions that not every system has ----

namespace {

// What the stand-ins for the system's functions were given, and what they answer.
struct Privileges {
    BOOL found = TRUE;
    BOOL adjusted = TRUE;
    DWORD error = 0;
    TOKEN_PRIVILEGES change = {};
} privileges;

BOOL WINAPI LookUp(LPCWSTR system, LPCWSTR name, PLUID id) {
    EXPECT_EQ(system, nullptr);
    EXPECT_EQ(Text(name), TEXT("SeShutdownPrivilege"));
    *id = {19, 3};
    SetLastError(privileges.error);
    return privileges.found;
}

BOOL WINAPI Adjust(HANDLE token, BOOL disableAll, PTOKEN_PRIVILEGES state, DWORD cbState,
                   PTOKEN_PRIVILEGES previous, PDWORD cbNeeded) {
    EXPECT_EQ(token, &privileges);
    EXPECT_FALSE(disableAll);
    EXPECT_EQ(cbState, 16u);
    EXPECT_EQ(previous, nullptr);
    EXPECT_EQ(cbNeeded, nullptr);
    privileges.change = *state;
    SetLastError(privileges.error);
    return privileges.adjusted;
}

class SystemFunctions : public ScratchTest {
  protected:
    SystemFunctions() {
        privileges = {};
        g_lookupPrivilegeValue = LookUp;
        g_adjustTokenPrivileges = Adjust;
    }
    ~SystemFunctions() override { LookUpSystemFunctions(); }

    int Enable(int enable = 1) { return EnablePrivilege(&privileges, TEXT("SeShutdownPrivilege"), enable); }
};

}  // namespace

TEST_F(SystemFunctions, AreFoundInTheModulesOfTheProcess) {
    g_lookupPrivilegeValue = nullptr;
    g_adjustTokenPrivileges = nullptr;
    g_openProcessToken = nullptr;
    g_isWow64Process = nullptr;
    EXPECT_EQ(IsWow64(), 0);
    LookUpSystemFunctions();
    EXPECT_TRUE(g_lookupPrivilegeValue && g_adjustTokenPrivileges && g_openProcessToken && g_isWow64Process);
    EXPECT_EQ(IsWow64(), 0);

    HANDLE token = nullptr;
    ASSERT_TRUE(g_openProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &token));
    EXPECT_EQ(EnablePrivilege(token, TEXT("SeShutdownPrivilege"), 1), 1);
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(EnablePrivilege(token, TEXT("SeNoSuchPrivilege"), 1), 0);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "LookupPrivilegeValue error: 1313\n");
    CloseHandle(token);
}

TEST_F(SystemFunctions, EnablePrivilegeSwitchesOneOnOrOff) {
    for (const int enable : {2, 0}) {
        EXPECT_EQ(Enable(enable), 1);
        EXPECT_EQ(privileges.change.PrivilegeCount, 1u);
        EXPECT_EQ(privileges.change.Privileges[0].Luid.LowPart, 19u);
        EXPECT_EQ(privileges.change.Privileges[0].Luid.HighPart, 3);
        EXPECT_EQ(privileges.change.Privileges[0].Attributes, enable ? 2u : 0u);
    }
}

TEST_F(SystemFunctions, EnablePrivilegeTellsItsFailuresOnStandardOutput) {
    static const struct {
        Privileges answers;
        const char* told;
    } kRows[] = {
        {{FALSE, TRUE, 1313, {}}, "LookupPrivilegeValue error: 1313\n"},
        {{TRUE, FALSE, 6, {}}, "AdjustTokenPrivileges error: 6\n"},
        {{TRUE, TRUE, 1300, {}}, "The token does not have the specified privilege. \n"},
    };
    for (const auto& row : kRows) {
        privileges = row.answers;
        ::testing::internal::CaptureStdout();
        EXPECT_EQ(Enable(), 0);
        EXPECT_EQ(::testing::internal::GetCapturedStdout(), row.told);
    }
    privileges = {};
    g_adjustTokenPrivileges = nullptr;
    EXPECT_EQ(Enable(), 0);
    g_adjustTokenPrivileges = Adjust;
    g_lookupPrivilegeValue = nullptr;
    EXPECT_EQ(Enable(), 0);
    EXPECT_EQ(privileges.change.PrivilegeCount, 0u);
}

// ---- Path ----

namespace {

std::optional<Text> Path() {
    Text value(32768, 0);
    SetLastError(0);
    value.resize(GetEnvironmentVariableW(TEXT("Path"), value.data(), static_cast<DWORD>(value.size())));
    if (GetLastError() == ERROR_ENVVAR_NOT_FOUND) return {};
    return value;
}

Text OwnFolder() {
    WCHAR program[MAX_PATH];
    const Text path(program, GetModuleFileNameW(nullptr, program, MAX_PATH));
    return path.substr(0, path.rfind(TEXT('\\')));
}

}  // namespace

TEST_F(ScratchTest, OwnFolderGoesInFrontOfPathUnlessItStandsThere) {
    const std::optional<Text> before = Path();
    const Text own = OwnFolder();
    const Text lowered = CString(own.c_str()).MakeLower().Text();
    const Text shouted = CString(own.c_str()).MakeUpper().Text();
    const Text longest(1023, TEXT('X'));
    const struct {
        std::optional<Text> value;
        Text expected;
    } rows[] = {
        {TEXT("C:\\Base;D:\\Tools"), lowered + TEXT(";c:\\base;d:\\tools")},
        {{}, lowered + TEXT(";")},
        {TEXT("C:\\A;") + shouted + TEXT("\\Sub;C:\\B"), TEXT("C:\\A;") + shouted + TEXT("\\Sub;C:\\B")},
        {longest, lowered + TEXT(";") + Text(1023, TEXT('x'))},
        {longest + TEXT("X"), longest + TEXT("X")},
        {longest + longest, longest + longest},
    };
    for (const auto& row : rows) {
        (void)SetEnvironmentVariableW(TEXT("Path"), row.value ? row.value->c_str() : nullptr);
        PutOwnFolderOnPath();
        EXPECT_EQ(Path(), row.expected);
    }
    (void)SetEnvironmentVariableW(TEXT("Path"), before ? before->c_str() : nullptr);
}
