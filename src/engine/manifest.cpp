#include "engine/manifest.h"

#include "support/text_lines.h"

bool ReadLogLine(WCHAR (&line)[kLineChars], FILE* file) {
    if (!ReadTextLine(line, kLineChars, file)) return false;
    line[kLineChars - 1] = 0;
    for (auto end = wcslen(line); end > 0 && line[end] <= 0x20; --end)
        line[end] = 0;
    return true;
}

LPCWSTR RecordValue(LPCWSTR line, LPCWSTR prefix) {
    const std::size_t cchPrefix = wcslen(prefix);
    return wcsncmp(line, prefix, cchPrefix) == 0 ? line + cchPrefix : nullptr;
}

bool SplitNames(LPCWSTR value, CString& name, CString& newName) {
    const WCHAR* const split = wcschr(value, TEXT('>'));
    if (!split) return false;
    name = CString(value, static_cast<int>(split - value)).TrimRight();
    newName = CString(split + 1).TrimLeft();
    return true;
}

CString RemovalPattern(LPCWSTR line, LPCWSTR prefix) {
    CString record = line;
    const int comment = record.Find(kComment);
    if (comment >= 0) record = record.Left(comment);
    const CString value = record.Mid(static_cast<int>(wcslen(prefix)));
    CString name, newName;
    return SplitNames(value, name, newName) ? newName : value;
}
