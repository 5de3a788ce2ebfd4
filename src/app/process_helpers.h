// Programs, privileges and the true version of the system.
#pragma once

#include <framework.h>

// Functions that not every system has, looked up before InitInstance; null when the system lacks one.
using LookupPrivilegeValueFn = BOOL(WINAPI*)(LPCWSTR, LPCWSTR, PLUID);
using AdjustTokenPrivilegesFn = BOOL(WINAPI*)(HANDLE, BOOL, PTOKEN_PRIVILEGES, DWORD, PTOKEN_PRIVILEGES,
                                              PDWORD);
using OpenProcessTokenFn = BOOL(WINAPI*)(HANDLE, DWORD, PHANDLE);
using IsWow64ProcessFn = BOOL(WINAPI*)(HANDLE, PBOOL);

extern LookupPrivilegeValueFn g_lookupPrivilegeValue;
extern AdjustTokenPrivilegesFn g_adjustTokenPrivileges;
extern OpenProcessTokenFn g_openProcessToken;
extern IsWow64ProcessFn g_isWow64Process;

// A function of a loaded module; null when the module lacks it or there is no module.
template <typename Function>
Function FindFunction(HMODULE module, LPCSTR name) {
    // Without a module the platform would search the program itself.
    if (!module) return nullptr;
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

// Fills the four pointers from modules that the process already holds; loads nothing.
void LookUpSystemFunctions();

// Starts a program. `folder` null stands for g_targetDir; `waitMs` 0 waits for nothing, and a wait that runs
// out is no failure. Non-zero when the process was started. The exit code is not fetched. A command line of
// 520 characters or more fails.
int ExecAndWait(LPCWSTR commandLine, LPCWSTR folder, DWORD waitMs);

// True when this process runs under the 32-bit layer of a 64-bit Windows. It asks about the process, not the
// machine: 0 in every 64-bit build.
int IsWow64();

// Switches a privilege of the token on (`enable` non-zero) or off. 1 on success; 0 on any failure, with a
// line on standard output unless the system lacks the function.
int EnablePrivilege(HANDLE token, LPCWSTR privilege, int enable);

// The version that no compatibility setting changes. 0, with the record cleared, when it can't be had.
int GetOsVersion(RTL_OSVERSIONINFOEXW* version);
