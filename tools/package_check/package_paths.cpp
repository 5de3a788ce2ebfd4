#include "package_check/package_paths.h"

#include <algorithm>

namespace package_check {

CString DecodedUtf8(const CString& characters) {
    std::string bytes;
    for (const WCHAR character : characters.Text()) {
        if (character > 0xFF) return {};
        bytes += static_cast<char>(character);
    }
    const bool ascii = std::all_of(bytes.begin(), bytes.end(), [](char byte) { return byte >= 0; });
    return ascii || !tools::IsUtf8(bytes) ? CString() : CString(tools::Wide(bytes));
}

CString FullPath(const CString& path) {
    constexpr DWORD kMostChars = 2048;
    WCHAR buffer[kMostChars];
    const DWORD cch = GetFullPathNameW(path, kMostChars, buffer, nullptr);
    return cch > 0 && cch < kMostChars ? CString(buffer) : CString();
}

Wide Key(const CString& path) {
    return FullPath(path).MakeUpper().Text();
}

bool HasWildcard(const CString& name) {
    return name.Find('*') >= 0 || name.Find('?') >= 0;
}

CString FolderOf(const CString& path) {
    return path.Left(path.ReverseFind('\\'));
}

CString NameOf(const CString& path) {
    return path.Mid(path.ReverseFind('\\') + 1);
}

}  // namespace package_check
