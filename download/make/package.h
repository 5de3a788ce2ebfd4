// The package of a download: its files in an order that packs well, and its packed blocks.
#pragma once

#include <lzma.h>

#include <filesystem>
#include <functional>
#include <vector>

#include "format.h"

namespace download_make {

// Windows starts no larger program.
inline constexpr std::uint64_t cbMostDownload = (std::uint64_t{1} << 32) - 1;

// Returns all bytes of a file. Throws std::runtime_error when it can't be read.
std::string ReadFile(const std::filesystem::path& path);

struct Package {
    std::vector<download::Entry> entries;
    std::vector<std::filesystem::path> paths;  // of the entries
};

// Reads the names, sizes and times in a folder. Throws std::runtime_error for what a download can't hold: a link, a name
// that Windows can't store.
Package ReadPackage(const std::filesystem::path& folder);

// Packs the files in blocks, on two processors. Calls `write` with the packed bytes, in the order of the blocks. Throws
// std::runtime_error when a file can't be read or isn't as it was, and before it packs if a sample shows that the blocks would
// exceed cbMostDownload by a quarter.
using Write = std::function<void(std::string_view bytes)>;
std::vector<download::Block> PackBlocks(const Package& package, const Write& write);

// Returns the bytes as one .xz stream, as a block is, with this check of them.
std::string Pack(std::string_view bytes, lzma_check check);

}  // namespace download_make
