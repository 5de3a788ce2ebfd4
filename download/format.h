// The form of a download: a program, the package in compressed blocks, the compressed table of its files, and a trailer.
// A signature may follow.
//
// Numbers are little-endian. Every block is an .xz stream with a SHA-256 of its bytes, and so is the table, which
// up to seven bytes 0 follow. The trailer ends at a multiple of eight. The unpacked blocks in sequence are the bytes
// of the files in the order of the table.
//
// An update is a download without the bytes of all files. The others are made of files of the earlier installation: they
// are copies, or what a difference makes of such a file. The differences follow the blocks, each an .xz stream too. Unpacked,
// a difference is a sequence of steps: three numbers of four bytes, then two runs of bytes. The first number is a place in
// the earlier file. The bytes there, with the first run added byte by byte, are the next ones of the new file, and then the
// second run. The other numbers are the lengths of the runs.
#pragma once

#include <windows.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace download {

using WideText = std::basic_string<WCHAR>;
using WideView = std::basic_string_view<WCHAR>;

inline constexpr std::string_view kMagic = "QtvDown2";
inline constexpr std::size_t cbTrailer = 56;
// A decoder may use this, and so a compressor may use a dictionary of 64 MiB.
inline constexpr std::uint64_t cbMostDecoder = 66u << 20;
// The largest unpacked table.
inline constexpr std::uint64_t cbMostTable = 16u << 20;
// The longest name of a file, so that its path has fewer than MAX_PATH characters in any folder of programs.
inline constexpr std::size_t cchMostName = 200;
// The largest file of which a difference makes another one. It is in memory as a whole, beside the decoder.
inline constexpr std::uint64_t cbMostEarlier = 192u << 20;
// The numbers of a step.
inline constexpr std::size_t cbStep = 12;
inline constexpr std::size_t cchMostText = 2000;
inline constexpr DWORD kKnownAttributes = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DIRECTORY;

struct Block {
    std::uint64_t cbPacked;
    std::uint64_t cbUnpacked;
};

struct Entry {
    WideText name;  // relative, with backslashes; a folder stands before what is in it
    std::uint64_t cbFile;
    std::uint64_t written;  // a FILETIME
    DWORD attributes;
    bool IsFolder() const { return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0; }
};

using Digest = std::array<std::uint8_t, 32>;  // a SHA-256

// A file that is made of one of the earlier installation.
struct Rebuilt {
    Entry file;
    WideText earlier;  // relative to the installation folder
    std::uint64_t cbEarlier;
    Digest earlierSum;
    Digest sum;        // of the new file
    Block difference;  // of no bytes for a copy
    bool IsCopy() const { return difference.cbUnpacked == 0; }
};

struct Table {
    std::vector<Block> blocks;
    std::vector<Entry> entries;
    // What only an update has.
    std::vector<Rebuilt> rebuilt = {};
    WideText earlierVersion = {};  // the version that it builds on
    WideText fullUrl = {};         // the address of the full download, or empty
};

// The bytes of all files.
std::uint64_t TotalBytes(const Table& table);

// Whether a browser may be told to open the text: an address of a page or a file, by https.
bool IsWebAddress(WideView text);

struct Trailer {
    std::uint64_t cbProgram;
    std::uint64_t cbBlocks;
    std::uint64_t cbTable;
    std::uint64_t cbTableUnpacked;
    std::uint64_t programSum;  // SumOfProgram
};

// What a signature changes in a program, as offsets, and the signature itself. All are 0 in a program without a
// place for a signature.
struct SignaturePlace {
    std::size_t checksum = 0;   // 4 bytes
    std::size_t directory = 0;  // 8 bytes
    std::uint64_t offset = 0;
    std::uint64_t cbSignature = 0;
};
// `program` is at least the headers of a program.
SignaturePlace FindSignature(std::string_view program);

// A CRC32.
std::uint64_t Sum(std::string_view bytes);
// That of a program, in which what a signature changes counts as 0.
std::uint64_t SumOfProgram(std::string program);

std::string WriteTrailer(const Trailer& trailer);
// `bytes` are the last ones of a download of `cbDownload` bytes, without its signature. None when they are damaged.
std::optional<Trailer> ReadTrailer(std::string_view bytes, std::uint64_t cbDownload);

std::string WriteTable(const Table& table);
// None when a number, name or address of the table can't be right. The sizes of the blocks agree with those of the files,
// and those of blocks and differences with `cbBlocks`.
std::optional<Table> ReadTable(std::string_view bytes, std::uint64_t cbBlocks);

// Whether the name stays in its folder and means one ordinary file: each level is a name that Windows stores as it
// is spelled, and that names no device and no stream.
bool IsPlainName(WideView name);

}  // namespace download
