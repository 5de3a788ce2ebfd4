// bare_copy FROM TO: copies the files of a folder one by one, and does nothing else.
#include <framework.h>

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
    if (__argc != 3) return 2;
    const CString from = __wargv[1], to = __wargv[2];
    if (!CreateDirectoryW(to, nullptr)) return 1;
    WIN32_FIND_DATAW match;
    const HANDLE find = FindFirstFileW(from + TEXT("\\*.*"), &match);
    if (find == INVALID_HANDLE_VALUE) return 1;
    do {
        const bool isFile = !(match.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY);
        if (isFile &&
            !CopyFileW(from + TEXT("\\") + match.cFileName, to + TEXT("\\") + match.cFileName, TRUE))
            return 1;
    } while (FindNextFileW(find, &match));
    return FindClose(find) ? 0 : 1;
}
