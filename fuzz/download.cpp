// What a download reads of its own file: headers, trailer and table. No name of a table that is accepted leads out of the
// folder, and the sizes agree.
#include "format.h"

#include "difference.h"
#include "fuzz_machine.h"

namespace {

using namespace download;

// Eight bytes from the front; missing ones are 0.
std::uint64_t TakeNumber(std::string_view& bytes) {
    std::uint64_t number = 0;
    bytes.remove_prefix(bytes.copy(reinterpret_cast<char*>(&number), sizeof number));
    return number;
}

// The numbers of a trailer with a right sum.
void ReadNumbers(std::string_view bytes) {
    Trailer numbers;
    std::uint64_t cbDownload = TakeNumber(bytes);
    for (std::uint64_t* const number :
         {&numbers.cbProgram, &numbers.cbBlocks, &numbers.cbTable, &numbers.cbTableUnpacked})
        *number = TakeNumber(bytes);
    const std::optional<Trailer> read = ReadTrailer(WriteTrailer(numbers), cbDownload);
    for (const std::uint64_t part :
         {std::uint64_t{cbTrailer}, numbers.cbProgram, numbers.cbBlocks, numbers.cbTable}) {
        Require(!read || part <= cbDownload, "each part fits into what is left of the file");
        cbDownload -= part;
    }
    Require(!read || (cbDownload == 0 && read->cbTableUnpacked <= cbMostTable),
            "nothing is left, and the table is no bomb");
}

void ReadHeaders(const std::string& bytes) {
    const SignaturePlace place = FindSignature(bytes);
    Require(
        place.directory == 0 || (place.checksum + 4 <= bytes.size() && place.directory + 8 <= bytes.size()),
        "what a signature changes is a part of the program");
    (void)SumOfProgram(bytes);
    (void)ReadTrailer(bytes.substr(bytes.size() - std::min(bytes.size(), cbTrailer)), bytes.size());
}

// A name that is accepted means what it spells, below the folder: it is no device, no stream, and no other place.
void TryName(const WideText& name) {
    if (!IsPlainName(name)) return;
    (void)RunModelled([&] {
        const WideText path = TEXT("C:\\Windows\\") + name;
        WCHAR full[MAX_PATH], *part;
        const DWORD cch = GetFullPathNameW(path.c_str(), MAX_PATH, full, &part);
        Require(cch >= MAX_PATH || path == WideText(full, cch), "Windows takes the name as it is spelled");
        const bool isThere = GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
        Require(isThere || GetLastError() != ERROR_INVALID_NAME, "a file can have the name");
    });
}

// A difference reads nothing outside the earlier file.
void TryDifference(std::string_view bytes) {
    const std::string earlier(bytes.substr(0, bytes.size() / 2));
    const Take take = [](const char*, std::size_t) { return Outcome::Right; };
    Joiner joiner(earlier, take);
    const std::size_t cbFirst = bytes.size() / 3;
    if (joiner.Add(bytes.data(), cbFirst) == Outcome::Right &&
        joiner.Add(bytes.data() + cbFirst, bytes.size() - cbFirst) == Outcome::Right)
        (void)joiner.Finish();
}

}  // namespace

void TryInput(std::string_view input) {
    const std::string bytes(input);
    ReadHeaders(bytes);
    ReadNumbers(bytes);
    TryDifference(bytes);
    WideText name(bytes.size() / sizeof(WCHAR), 0);
    (void)bytes.copy(reinterpret_cast<char*>(name.data()), name.size() * sizeof(WCHAR));
    TryName(name);
    // The first byte is the size of all blocks, so that most tables are refused for another reason.
    if (input.empty()) return;
    const std::optional<Table> table = ReadTable(input.substr(1), static_cast<unsigned char>(input[0]));
    if (!table) return;
    std::uint64_t cbFiles = 0, cbUnpacked = 0;
    for (const Block& block : table->blocks)
        cbUnpacked += block.cbUnpacked;
    for (const Entry& entry : table->entries) {
        cbFiles += entry.cbFile;
        TryName(entry.name);
        Require(entry.name.size() <= cchMostName, "the path is short enough");
    }
    Require(cbFiles == cbUnpacked, "the files are as large as the blocks");
    for (const Rebuilt& rebuilt : table->rebuilt) {
        TryName(rebuilt.file.name);
        Require(IsPlainName(rebuilt.file.name) && IsPlainName(rebuilt.earlier),
                "no file is read or made elsewhere");
        Require(rebuilt.IsCopy() || rebuilt.cbEarlier <= cbMostEarlier, "the earlier file fits into memory");
    }
    Require(table->fullUrl.empty() || IsWebAddress(table->fullUrl), "a browser opens only a web address");
}
