// The records that the install appends to its log.
#pragma once

#include <framework.h>

// Appends the text and a line end to the file, which is made when it isn't there. A character above 0xFF is
// written as '?'. If the file can't be opened, the record is lost without a message.
void AppendLogLine(LPCWSTR logPath, LPCWSTR text);
