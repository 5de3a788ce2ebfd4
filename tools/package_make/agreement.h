// The licence agreement, in the one encoding that setup shows.
#pragma once

#include <optional>
#include <string>

namespace package_make {

// Returns the text in UTF-16, little-endian, without a byte-order mark, with CR LF at the end of each line. `bytes` are UTF-8
// or UTF-16, with or without a mark, with any ends of lines. None if they are neither.
std::optional<std::string> AgreementFor(const std::string& bytes);

}  // namespace package_make
