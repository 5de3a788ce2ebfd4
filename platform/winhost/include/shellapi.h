// The commands of the shell that this project calls.
#pragma once
#include <windows.h>

HINSTANCE ShellExecuteW(HWND owner, LPCWSTR verb, LPCWSTR file, LPCWSTR parameters, LPCWSTR folder,
                        int showCommand);
