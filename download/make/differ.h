// The difference between two versions of a file.
#pragma once

#include <string>
#include <string_view>

namespace download_make {

// Returns the steps that make `present` of `earlier`, as download/format.h describes them. Both are shorter than 4 GiB. It
// takes up to eight times the bytes of `earlier` in memory.
std::string DifferenceOf(std::string_view earlier, std::string_view present);

}  // namespace download_make
