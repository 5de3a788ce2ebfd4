#include "install/log_lines.h"

#include "support/handles.h"

void AppendLogLine(LPCWSTR logPath, LPCWSTR text) {
    const FileStream log(_wfopen(logPath, TEXT("a")));
    if (!log) return;
    // Bytes are written, as the readers expect. fwprintf would stop in the middle of a line that the locale
    // can't hold, and leave the record without its end.
    for (; *text; ++text)
        (void)std::fputc(*text <= 0xFF ? *text : '?', log.get());
    (void)std::fputc('\n', log.get());
}
