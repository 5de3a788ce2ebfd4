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
