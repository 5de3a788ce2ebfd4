// Text in JSON.
#pragma once

#include <string>

namespace tools {

// The text as a JSON string, in quotes. The bytes are those of tools::Utf8.
std::string JsonString(const std::string& text);

}  // namespace tools
