// Text in JSON.
#pragma once

#include <string>

namespace tools {

// Returns the text as a JSON string, in quotes. `text` is as tools::Utf8 returns it.
std::string JsonString(const std::string& text);

}  // namespace tools
