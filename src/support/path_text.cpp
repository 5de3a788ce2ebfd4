#include "support/path_text.h"

#include <io.h>

#include <cstdarg>

namespace {

constexpr std::size_t kUnbounded = 0x7FFFFFFF;

// Runtime libraries differ in what %s means for wide text. In _vsnwprintf it is wide text in all of them. A
// text of exactly the buffer's length arrives without a terminator, so it counts as one that doesn't fit.
int Format(LPWSTR buffer, std::size_t cchBuffer, LPCWSTR format, va_list arguments) {
    if (cchBuffer == 0) return -1;
    const int written = _vsnwprintf(buffer, cchBuffer, format, arguments);
    if (written >= 0 && static_cast<std::size_t>(written) < cchBuffer) return written;
    buffer[0] = 0;
    return -1;
}

}  // namespace

CString ParentDir(LPCWSTR path) {
    CString parent = path;
    if (parent.Last() == TEXT('\\')) parent = parent.Left(parent.GetLength() - 1);
    return parent.Left(parent.ReverseFind(TEXT('\\')));
}

bool Exists(LPCWSTR path) {
    return _waccess(path, 0) == 0;
}

CString LoadResString(UINT id) {
    CString text;
    (void)text.LoadResource(id);
    return text;
}

int FormatBounded(LPWSTR buffer, std::size_t cchBuffer, LPCWSTR format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int written = Format(buffer, cchBuffer, format, arguments);
    va_end(arguments);
    return written;
}

int FormatUnbounded(LPWSTR buffer, LPCWSTR format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int written = Format(buffer, kUnbounded, format, arguments);
    va_end(arguments);
    return written;
}
