// bare_copy FROM TO: copies a folder file by file, and does nothing else.
#include <framework.h>

namespace {

bool Copy(const CString& from, const CString& to) {
    if (!CreateDirectoryW(to, nullptr)) return false;
    WIN32_FIND_DATAW match;
    const HANDLE find = FindFirstFileW(from + TEXT("\\*.*"), &match);
    if (find == INVALID_HANDLE_VALUE) return false;
    bool isCopied = true;
    do {
        const CString name = match.cFileName, source = from + TEXT("\\") + name,
                      target = to + TEXT("\\") + name;
        if (name == TEXT(".") || name == TEXT("..")) continue;
        isCopied = match.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY ? Copy(source, target)
                                                                     : CopyFileW(source, target, FALSE);
    } while (isCopied && FindNextFileW(find, &match));
    return FindClose(find) && isCopied;
}

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
    return __argc == 3 && Copy(__wargv[1], __wargv[2]) ? 0 : 1;
}
