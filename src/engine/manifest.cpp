#include "engine/manifest.h"

#include <iterator>

#include "support/text_lines.h"

bool ReadLogLine(WCHAR (&line)[kLineChars], FILE* file) {
    if (!ReadTextLine(line, kLineChars, file)) return false;
    line[kLineChars - 1] = 0;
    for (auto end = wcslen(line); end > 0 && line[end] <= 0x20; --end)
        line[end] = 0;
    return true;
}

LogRecord ReadRecord(LPCWSTR line) {
    for (const RecordKind& kind : kRecordKinds) {
        const std::size_t cchPrefix = wcslen(kind.prefix);
        if (wcsncmp(line, kind.prefix, cchPrefix) == 0) return {kind, line + cchPrefix};
    }
    return {};
}

bool SplitNames(LPCWSTR value, CString& name, CString& newName) {
    const WCHAR* const split = wcschr(value, TEXT('>'));
    if (!split) return false;
    name = CString(value, static_cast<int>(split - value)).TrimRight();
    newName = CString(split + 1).TrimLeft();
    return true;
}

CString RemovalPattern(LPCWSTR value) {
    // The blank that closes the prefix may be the first character of the comment.
    const bool startsInPrefix = wcsncmp(value, kComment + 1, std::size(kComment) - 2) == 0;
    const WCHAR* const comment = startsInPrefix ? value : wcsstr(value, kComment);
    const CString names = comment ? CString(value, static_cast<int>(comment - value)) : CString(value);
    CString name, newName;
    return SplitNames(names, name, newName) ? newName : names;
}
