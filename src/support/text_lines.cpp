#include "support/text_lines.h"

#include <algorithm>

bool ReadTextLine(LPWSTR line, int cchLine, FILE* file) {
    // Bytes are read, because the conversion of fgetws depends on the locale. An uninstall must read the log
    // in any locale as the install wrote it.
    constexpr int kMostBytes = 512;
    char bytes[kMostBytes];
    if (!std::fgets(bytes, std::min(cchLine, kMostBytes), file)) return false;
    int end = 0;
    for (; bytes[end]; ++end)
        line[end] = static_cast<unsigned char>(bytes[end]);
    line[end] = 0;
    return true;
}
