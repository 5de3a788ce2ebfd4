// The portable starter. It is stored next to the installation folder, whose name the user chose. So it starts the
// application in the first folder beside it that contains one.
#include <windows.h>

#include <cwchar>

namespace {

constexpr WCHAR kApplication[] = TEXT("\\QtvApp8.exe");

bool Append(LPWSTR path, LPCWSTR tail) {
    if (wcslen(path) + wcslen(tail) >= MAX_PATH) return false;
    wcscat(path, tail);
    return true;
}

// Stores the folder of this program, with a backslash at the end, in `folder` (MAX_PATH characters).
bool OwnFolder(LPWSTR folder) {
    const DWORD cchPath = GetModuleFileNameW(nullptr, folder, MAX_PATH);
    if (cchPath == 0 || cchPath == MAX_PATH) return false;
    LPWSTR separator = wcsrchr(folder, TEXT('\\'));
    if (!separator) return false;
    separator[1] = 0;
    return true;
}

// Stores the application's path in `application`, and its folder in `folder` (MAX_PATH characters each).
bool FindApplication(LPCWSTR beside, LPWSTR folder, LPWSTR application) {
    WCHAR pattern[MAX_PATH];
    wcscpy(pattern, beside);
    if (!Append(pattern, TEXT("*"))) return false;
    WIN32_FIND_DATAW match;
    const HANDLE find = FindFirstFileW(pattern, &match);
    if (find == INVALID_HANDLE_VALUE) return false;
    bool found = false;
    do {
        if (!(match.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)) continue;
        if (wcscmp(match.cFileName, TEXT(".")) == 0 || wcscmp(match.cFileName, TEXT("..")) == 0) continue;
        wcscpy(folder, beside);
        if (!Append(folder, match.cFileName)) continue;
        wcscpy(application, folder);
        found =
            Append(application, kApplication) && GetFileAttributesW(application) != INVALID_FILE_ATTRIBUTES;
    } while (!found && FindNextFileW(find, &match));
    FindClose(find);
    return found;
}

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
    WCHAR beside[MAX_PATH];
    WCHAR folder[MAX_PATH];
    WCHAR application[MAX_PATH];
    if (!OwnFolder(beside) || !FindApplication(beside, folder, application)) {
        MessageBoxW(nullptr, TEXT("Qantivo was not found in a folder beside this program."), TEXT("Qantivo"),
                    MB_OK | MB_ICONSTOP);
        return 1;
    }
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    WCHAR commandLine[MAX_PATH + 2];
    wcscpy(commandLine, TEXT("\""));
    wcscat(commandLine, application);
    wcscat(commandLine, TEXT("\""));
    if (!CreateProcessW(nullptr, commandLine, nullptr, nullptr, FALSE, 0, nullptr, folder, &startup,
                        &process))
        return 1;
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return 0;
}
