// What only the maker of downloads needs.
#include "format.h"

namespace download {

namespace {

template <class Number>
void Put(std::string& bytes, Number number) {
    for (std::size_t i = 0; i < sizeof number; ++i)
        bytes += static_cast<char>(number >> (8 * i) & 0xFF);
}

void PutText(std::string& bytes, WideView text) {
    Put(bytes, static_cast<std::uint32_t>(text.size()));
    for (const WCHAR character : text)
        Put(bytes, static_cast<std::uint16_t>(character));
}

void PutBlock(std::string& bytes, const Block& block) {
    Put(bytes, block.cbPacked);
    Put(bytes, block.cbUnpacked);
}

void PutEntry(std::string& bytes, const Entry& entry) {
    Put(bytes, entry.cbFile);
    Put(bytes, entry.written);
    Put(bytes, entry.attributes);
    PutText(bytes, entry.name);
}

}  // namespace

std::string WriteTrailer(const Trailer& trailer) {
    std::string bytes(kMagic);
    for (const std::uint64_t number :
         {trailer.cbProgram, trailer.cbBlocks, trailer.cbTable, trailer.cbTableUnpacked, trailer.programSum})
        Put(bytes, number);
    Put(bytes, Sum(bytes));
    return bytes;
}

std::string WriteTable(const Table& table) {
    std::string bytes;
    for (const std::size_t count : {table.blocks.size(), table.entries.size(), table.rebuilt.size()})
        Put(bytes, static_cast<std::uint32_t>(count));
    for (const Block& block : table.blocks)
        PutBlock(bytes, block);
    for (const Entry& entry : table.entries)
        PutEntry(bytes, entry);
    for (const Rebuilt& rebuilt : table.rebuilt) {
        PutEntry(bytes, rebuilt.file);
        PutText(bytes, rebuilt.earlier);
        Put(bytes, rebuilt.cbEarlier);
        bytes.append(rebuilt.earlierSum.begin(), rebuilt.earlierSum.end());
        PutBlock(bytes, rebuilt.difference);
        if (!rebuilt.IsCopy()) bytes.append(rebuilt.sum.begin(), rebuilt.sum.end());
    }
    PutText(bytes, table.earlierVersion);
    PutText(bytes, table.fullUrl);
    return bytes;
}

}  // namespace download
