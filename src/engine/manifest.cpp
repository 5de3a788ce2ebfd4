#include "engine/manifest.h"

bool ReadLogLine(WCHAR (&line)[kLineChars], FILE* file) {
    // Bytes, not fgetws: its conversion depends on the locale, and an install must read back what it logged
    // whatever the locale is. A null byte ends the text of its line.
    char bytes[kLineChars];
    if (!std::fgets(bytes, kLineChars, file)) return false;
    int end = 0;
    for (; bytes[end]; ++end)
        line[end] = static_cast<unsigned char>(bytes[end]);
    line[end] = 0;
    line[kLineChars - 1] = 0;

    for (; end > 0 && line[end] <= 0x20; --end)
        line[end] = 0;
    return true;
}

LPCWSTR RecordValue(LPCWSTR line, LPCWSTR prefix) {
    const std::size_t cchPrefix = wcslen(prefix);
    return wcsncmp(line, prefix, cchPrefix) == 0 ? line + cchPrefix : nullptr;
}
