// Downloads that tests make by themselves.
#pragma once

#include <lzma.h>

#include "format.h"
#include "harness/machine_view.h"

inline std::string Packed(const std::string& bytes) {
    std::string packed(lzma_stream_buffer_bound(bytes.size()), 0);
    std::size_t cb = 0;
    EXPECT_EQ(lzma_easy_buffer_encode(0, LZMA_CHECK_SHA256, nullptr,
                                      reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size(),
                                      reinterpret_cast<std::uint8_t*>(packed.data()), &cb, packed.size()),
              LZMA_OK);
    return packed.substr(0, cb);
}

inline constexpr std::uint64_t kTime = 132'000'000'000'000'000;

// A download with these files, in blocks of `cbBlock` bytes. NAME\ is a folder, and NAME! a read-only file.
inline std::string Download(const std::string& list, std::size_t cbBlock, std::string program = "a program") {
    download::Table table;
    std::string all, blocks;
    for (const std::string& item : Items(list)) {
        const std::size_t split = std::min(item.find(':'), item.size());
        std::string name = item.substr(0, split);
        const std::string bytes = item.substr(std::min(split + 1, item.size()));
        const DWORD attributes = name.back() == '\\'  ? FILE_ATTRIBUTE_DIRECTORY
                                 : name.back() == '!' ? FILE_ATTRIBUTE_READONLY
                                                      : 0;
        if (attributes) name.pop_back();
        table.entries.push_back({Wide(name), bytes.size(), kTime, attributes});
        all += bytes;
    }
    for (std::size_t at = 0; at < all.size(); at += cbBlock) {
        const std::string packed = Packed(all.substr(at, cbBlock));
        table.blocks.push_back({packed.size(), std::min(cbBlock, all.size() - at)});
        blocks += packed;
    }
    program.resize((program.size() + 7) / 8 * 8);
    const std::string bytes = WriteTable(table);
    const std::string packed = Packed(bytes);
    return program + blocks + packed +
           download::WriteTrailer(
               {program.size(), blocks.size(), packed.size(), bytes.size(), download::SumOfProgram(program)});
}
