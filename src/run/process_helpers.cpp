#include "run/process_helpers.h"

#include <cstdio>

#include "run/run_paths.h"
#include "support/handles.h"

// They are zero before any code runs, so static objects of another unit may fill them.
LookupPrivilegeValueFn g_lookupPrivilegeValue;
AdjustTokenPrivilegesFn g_adjustTokenPrivileges;
OpenProcessTokenFn g_openProcessToken;
IsWow64ProcessFn g_isWow64Process;

namespace {

constexpr std::size_t kCommandLineChars = 520;

using RtlGetVersionFn = LONG(WINAPI*)(RTL_OSVERSIONINFOW*);

static_assert(sizeof(STARTUPINFOW) == 104);
static_assert(sizeof(TOKEN_PRIVILEGES) == 16);
static_assert(sizeof(RTL_OSVERSIONINFOEXW) == 284);

}  // namespace

void LookUpSystemFunctions() {
    const HMODULE security = GetModuleHandleA("Advapi32.dll");
    g_lookupPrivilegeValue = FindFunction<LookupPrivilegeValueFn>(security, "LookupPrivilegeValueW");
    g_adjustTokenPrivileges = FindFunction<AdjustTokenPrivilegesFn>(security, "AdjustTokenPrivileges");
    g_openProcessToken = FindFunction<OpenProcessTokenFn>(security, "OpenProcessToken");
    g_isWow64Process = FindFunction<IsWow64ProcessFn>(GetModuleHandleW(TEXT("kernel32")), "IsWow64Process");
}

int ExecAndWait(LPCWSTR commandLine, LPCWSTR folder, DWORD waitMs) {
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION started = {};

    // CreateProcessW writes into its command line.
    WCHAR line[kCommandLineChars];
    if (wcslen(commandLine) >= kCommandLineChars) return 0;
    wcscpy(line, commandLine);
    if (!folder) folder = g_targetDir;

    const BOOL result =
        CreateProcessW(nullptr, line, nullptr, nullptr, FALSE, 0, nullptr, folder, &startup, &started);
    if (!result) return 0;
    const KernelHandle process(started.hProcess);
    const KernelHandle thread(started.hThread);
    if (waitMs) (void)WaitForSingleObject(process.get(), waitMs);
    return result;
}

int IsWow64() {
    if (!g_isWow64Process) return 0;
    BOOL wow64 = FALSE;
    (void)g_isWow64Process(GetCurrentProcess(), &wow64);
    return wow64;
}

int EnablePrivilege(HANDLE token, LPCWSTR privilege, int enable) {
    if (!g_lookupPrivilegeValue || !g_adjustTokenPrivileges) return 0;

    LUID id;
    if (!g_lookupPrivilegeValue(nullptr, privilege, &id)) {
        std::printf("LookupPrivilegeValue error: %u\n", static_cast<unsigned>(GetLastError()));
        return 0;
    }
    TOKEN_PRIVILEGES change = {};
    change.PrivilegeCount = 1;
    change.Privileges[0].Luid = id;
    change.Privileges[0].Attributes = enable ? SE_PRIVILEGE_ENABLED : 0;
    if (!g_adjustTokenPrivileges(token, FALSE, &change, sizeof change, nullptr, nullptr)) {
        std::printf("AdjustTokenPrivileges error: %u\n", static_cast<unsigned>(GetLastError()));
        return 0;
    }
    // The call also succeeds when the token doesn't hold the privilege. Only the last error shows that.
    if (GetLastError() == ERROR_NOT_ALL_ASSIGNED) {
        std::printf("The token does not have the specified privilege. \n");
        return 0;
    }
    return 1;
}

int GetOsVersion(RTL_OSVERSIONINFOEXW* version) {
    *version = {};
    version->dwOSVersionInfoSize = sizeof *version;
    const auto rtlGetVersion =
        FindFunction<RtlGetVersionFn>(GetModuleHandleW(TEXT("ntdll.dll")), "RtlGetVersion");
    if (!rtlGetVersion) return 0;
    return rtlGetVersion(reinterpret_cast<RTL_OSVERSIONINFOW*>(version)) == 0;
}
