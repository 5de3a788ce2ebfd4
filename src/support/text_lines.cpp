#include "support/text_lines.h"

#include <algorithm>

bool ReadTextLine(LPWSTR line, int cchLine, FILE* file) {
    // Bytes, not fgetws: its conversion depends on the locale, and an install must read back what it logged
    // whatever the locale is.
    constexpr int kMostBytes = 512;
    char bytes[kMostBytes];
    if (!std::fgets(bytes, std::min(cchLine, kMostBytes), file)) return false;
    int end = 0;
    for (; bytes[end]; ++end)
        line[end] = static_cast<unsigned char>(bytes[end]);
    line[end] = 0;
    return true;
}
