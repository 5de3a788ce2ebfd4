// How the tables of this folder write down an answer of Windows.
#pragma once

#include <windows.h>

#include <string>

#include "harness/scratch.h"

// The text's characters as bytes. The text is plain ASCII.
inline std::string Narrow(const Text& text) {
    return {text.begin(), text.end()};
}

// "ok", or "e" and the last error.
inline std::string Told(bool done) {
    return done ? "ok" : "e" + std::to_string(GetLastError());
}
