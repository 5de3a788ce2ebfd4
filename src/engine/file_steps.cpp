#include "engine/file_steps.h"

CString WithSeparator(LPCWSTR folder) {
    CString path = folder;
    const WCHAR last = path.Last();
    if (last != TEXT('\\') && last != TEXT('/')) path += TEXT('\\');
    return path;
}

void ClearReadOnlyAndHidden(LPCWSTR path) {
    constexpr DWORD kInTheWay = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN;
    (void)SetFileAttributesW(path, GetFileAttributesW(path) & ~kInTheWay);
}

CString CopySource(LPCWSTR fromFolder, LPCWSTR pattern) {
    const int cchFolder = CString(pattern).ReverseFind(TEXT('\\'));
    return cchFolder < 0 ? CString(fromFolder) : WithSeparator(fromFolder) + CString(pattern, cchFolder);
}

CString CopyTarget(LPCWSTR toFolder, LPCWSTR pattern) {
    CString path = toFolder;
    path.Replace(TEXT('/'), TEXT('\\'));
    if (path.Last() != TEXT('\\')) path += TEXT('\\');
    path += pattern;
    path.Replace(TEXT('/'), TEXT('\\'));
    return path.Left(path.ReverseFind(TEXT('\\')) + 1);
}
