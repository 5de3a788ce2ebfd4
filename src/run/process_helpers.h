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

// Starts a program.
//   folder   its current folder; null stands for g_targetDir
//   waitMs   how long to wait for its end; 0 doesn't wait. A wait that times out is no failure.
// Returns non-zero when the process was started. A command line of 520 characters or more fails.
int ExecAndWait(LPCWSTR commandLine, LPCWSTR folder, DWORD waitMs);

// Non-zero when this process runs under the 32-bit layer of a 64-bit Windows. The answer is about the
// process, not about the machine: a 64-bit build always returns 0.
int IsWow64();

// Switches a privilege of the token on (`enable` non-zero) or off. Returns 1 on success and 0 on any failure.
// A failure writes a line to standard output, unless the system lacks the function.
int EnablePrivilege(HANDLE token, LPCWSTR privilege, int enable);

// Reads the system's true version, which no compatibility setting changes. Returns 0 and clears the
// record when it can't be read.
int GetOsVersion(RTL_OSVERSIONINFOEXW* version);
