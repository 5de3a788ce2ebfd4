// Modules, privileges and the system's version in the embedded machine.
#include "support/scratch.h"
#include "winhost.h"

namespace {

class HostModules : public ScratchTest {};

const std::string kLibrary = QTV_BUILD_FOLDER "/package/runtime9.dll";

TEST_F(HostModules, AreLoadedBySearchAndCounted) {
    ImportFile(kLibrary, TEXT("C:\\Scratch\\runtime9.dll"));
    ImportFile(kLibrary, TEXT("C:\\Windows\\System32\\runtime9.dll"));
    const unsigned handles = winhost::OpenHandles();
    EXPECT_EQ(GetModuleHandleW(TEXT("runtime9.dll")), nullptr) << "nothing is loaded by asking";
    const HMODULE module = LoadLibraryW(TEXT("runtime9"));
    ASSERT_TRUE(module);
    EXPECT_EQ(LoadLibraryW(TEXT("C:\\windows\\system32\\runtime9.dll")), module);
    EXPECT_EQ(GetModuleHandleA("RUNTIME9.DLL"), module);
    WCHAR path[MAX_PATH];
    const DWORD cchPath = GetModuleFileNameW(module, path, MAX_PATH);
    EXPECT_EQ(Text(path, cchPath), TEXT("C:\\Windows\\System32\\runtime9.dll"))
        << "System32 before the current folder";
    EXPECT_TRUE(GetProcAddress(module, "RuntimeVersion"));
    EXPECT_FALSE(GetProcAddress(module, "NoSuchFunction"));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_PROC_NOT_FOUND});

    EXPECT_TRUE(FreeLibrary(module));
    EXPECT_FALSE(DeleteFileW(path)) << "still loaded once";
    EXPECT_TRUE(FreeLibrary(module));
    EXPECT_TRUE(DeleteFileW(path));
    EXPECT_FALSE(FreeLibrary(module));
    EXPECT_EQ(winhost::OpenHandles(), handles);
}

CHILD_PROGRAM(FindTokenFunction) {
    return GetProcAddress(GetModuleHandleA("Advapi32.dll"), "OpenProcessToken") != nullptr;
}

TEST_F(HostModules, FunctionThatTheSystemLacksIsHiddenFromChildrenToo) {
    EXPECT_EQ(RunChild("FindTokenFunction").exitCode, 1u);
    winhost::HideFunction("OpenProcessToken", true);
    EXPECT_EQ(FindTokenFunction(), 0);
    EXPECT_EQ(RunChild("FindTokenFunction").exitCode, 0u);
    winhost::HideFunction("OpenProcessToken", false);
    EXPECT_EQ(FindTokenFunction(), 1);
}

TEST_F(HostModules, RegistrarTellsByItsExitCodeWhatCameOfIt) {
    ImportFile(kLibrary, TEXT("C:\\Scratch\\no entry.dll"));
    ImportFile(QTV_BUILD_FOLDER "/package/ThumbQvi32.dll", TEXT("C:\\Scratch\\a b\\ThumbQvi32.dll"));
    const std::pair<LPCWSTR, DWORD> rows[] = {
        {TEXT("/s"), 1},
        {TEXT("/s none.dll"), 3},
        {TEXT("/s \"C:\\Scratch\\no entry.dll\""), 4},
        {TEXT("/s /u \"C:\\Scratch\\a b\\ThumbQvi32.dll\""), 5},
        {TEXT("/s \"C:\\Scratch\\a b\\ThumbQvi32.dll\""), 0},
        {TEXT("/s /u \"C:\\Scratch\\a b\\ThumbQvi32.dll\""), 0},
    };
    for (const auto& [arguments, exitCode] : rows)
        EXPECT_EQ(RunProgram(TEXT("regsvr32.exe ") + Text(arguments)).exitCode, exitCode) << exitCode;
}

TEST_F(HostModules, MachineRestartsForAProgramWithThePrivilege) {
    winhost::ClearEvents();
    EXPECT_FALSE(ExitWindowsEx(EWX_REBOOT, 0x80040002u));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_PRIVILEGE_NOT_HELD});
    HANDLE reader = nullptr;
    HANDLE token = nullptr;
    ASSERT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &reader));
    ASSERT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &token));
    TOKEN_PRIVILEGES wanted = {1, {{{}, SE_PRIVILEGE_ENABLED}}};
    EXPECT_FALSE(LookupPrivilegeValueW(nullptr, TEXT("SeNoSuchPrivilege"), &wanted.Privileges[0].Luid));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_SUCH_PRIVILEGE});

    ASSERT_TRUE(LookupPrivilegeValueW(nullptr, TEXT("SeTcbPrivilege"), &wanted.Privileges[0].Luid));
    EXPECT_TRUE(AdjustTokenPrivileges(token, FALSE, &wanted, sizeof wanted, nullptr, nullptr));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NOT_ALL_ASSIGNED});
    ASSERT_TRUE(LookupPrivilegeValueW(nullptr, SE_SHUTDOWN_NAME, &wanted.Privileges[0].Luid));
    EXPECT_FALSE(AdjustTokenPrivileges(reader, FALSE, &wanted, sizeof wanted, nullptr, nullptr));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_TRUE(AdjustTokenPrivileges(token, FALSE, &wanted, sizeof wanted, nullptr, nullptr));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SUCCESS});
    EXPECT_TRUE(ExitWindowsEx(EWX_REBOOT, 0x80040002u));
    EXPECT_EQ(winhost::Events(), std::vector<std::string>{"exit-windows\t2\t2147745794"});
    wanted.Privileges[0].Attributes = 0;
    EXPECT_TRUE(AdjustTokenPrivileges(token, FALSE, &wanted, sizeof wanted, nullptr, nullptr));
    CloseHandle(reader);
    CloseHandle(token);
}

}  // namespace
