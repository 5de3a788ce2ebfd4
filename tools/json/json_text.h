// Text in JSON.
#pragma once

#include <string>

// The text as a JSON string, in quotes; its bytes are UTF-8.
std::string Quoted(const std::string& text);
