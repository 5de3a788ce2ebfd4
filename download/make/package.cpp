#include "package.h"

#include <lzma.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <future>
#include <stdexcept>
#include <tuple>

#include "common/plain_files.h"
#include "common/text.h"
#include "support/handles.h"

namespace download_make {

namespace {

namespace fs = std::filesystem;
using download::Block, download::Entry;

constexpr std::uint64_t MiB = 1 << 20;
// Two to four blocks, one for each processor. Smaller ones pack worse: four instead of two cost a program of 60 MiB 3 % of its
// size. In a larger package more of them keep all processors busy to the end.
constexpr std::uint64_t cbManyBlocks = 128 * MiB, cbLeastBlock = 4 * MiB, cbMostBlock = 128 * MiB;
constexpr std::uint64_t cbMostDictionary = 64 * MiB;
constexpr std::size_t kPackers = 2;
constexpr std::size_t cbPiece = MiB;
constexpr std::uint64_t cbSample = MiB / 4;
constexpr std::uint16_t kX86 = 0x14C, kX64 = 0x8664, kArm64 = 0xAA64;

// Which code a file holds. Blocks hold files of one kind, because each kind of code has a filter of its own.
enum class Kind { X86, Arm64, Other };

Kind KindOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::string head(4096, 0);
    file.read(head.data(), static_cast<std::streamsize>(head.size()));
    const auto byte = [&](std::size_t at) { return std::size_t{static_cast<unsigned char>(head.at(at))}; };
    const std::size_t header = byte(0x3C) | byte(0x3D) << 8;
    if (!head.starts_with("MZ") || head.compare(std::min(header, head.size()), 4, "PE\0\0", 4) != 0)
        return Kind::Other;
    const std::size_t machine = byte(header + 4) | byte(header + 5) << 8;
    return machine == kX86 || machine == kX64 ? Kind::X86 : machine == kArm64 ? Kind::Arm64 : Kind::Other;
}

std::uint64_t WrittenAt(const fs::path& path) {
    // Of 100 nanoseconds, from 1601 on.
    using Ticks = std::chrono::duration<std::int64_t, std::ratio<1, 10'000'000>>;
    constexpr std::int64_t kTicksTo1970 = 116'444'736'000'000'000;
    const auto since1970 = std::chrono::file_clock::to_sys(fs::last_write_time(path)).time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::duration_cast<Ticks>(since1970).count() + kTicksTo1970);
}

Entry EntryOf(const fs::directory_entry& found, const fs::path& folder) {
    const std::u8string name = found.path().lexically_relative(folder).generic_u8string();
    const std::string shown(name.begin(), name.end());
    Entry entry{tools::Wide(shown), 0, WrittenAt(found.path()), 0};
    std::replace(entry.name.begin(), entry.name.end(), WCHAR{'/'}, WCHAR{'\\'});
    if (found.is_symlink() || !(found.is_directory() || found.is_regular_file()))
        throw std::runtime_error(shown + " is neither a file nor a folder");
    if (entry.name.size() > download::cchMostName || !tools::IsUtf8(shown) ||
        !download::IsPlainName(entry.name))
        throw std::runtime_error(shown + " is no name for a file on Windows, or too long");
    if (found.is_directory()) entry.attributes = FILE_ATTRIBUTE_DIRECTORY;
    if (found.is_regular_file()) {
        entry.cbFile = found.file_size();
        if ((found.status().permissions() & fs::perms::owner_write) == fs::perms::none)
            entry.attributes = FILE_ATTRIBUTE_READONLY;
    }
    return entry;
}

// A part of the sequence of all files that becomes a block.
struct Part {
    std::size_t entry;     // the file with the first byte
    std::uint64_t offset;  // of that byte in the file
    std::uint64_t cbPart;
    Kind kind;
};

class Encoder {
  public:
    Encoder(Kind kind, lzma_check check, std::uint64_t cbBytes, const download_make::Write& write)
        : m_write(write), m_output(cbPiece, 0) {
        lzma_options_lzma options;
        (void)lzma_lzma_preset(&options, 9 | LZMA_PRESET_EXTREME);
        options.dict_size =
            static_cast<std::uint32_t>(std::clamp<std::uint64_t>(cbBytes, MiB, cbMostDictionary));
        const lzma_filter packer{LZMA_FILTER_LZMA2, &options}, end{LZMA_VLI_UNKNOWN, nullptr};
        const lzma_filter code{kind == Kind::Arm64 ? LZMA_FILTER_ARM64 : LZMA_FILTER_X86, nullptr};
        const lzma_filter filters[] = {code, packer, end};
        if (lzma_stream_encoder(&m_stream, filters + (kind == Kind::Other ? 1 : 0), check) != LZMA_OK)
            throw std::runtime_error("can't be packed: there is too little memory");
    }
    ~Encoder() { lzma_end(&m_stream); }
    Encoder(const Encoder&) = delete;
    Encoder& operator=(const Encoder&) = delete;

    void Add(std::string_view bytes) {
        m_stream.next_in = reinterpret_cast<const std::uint8_t*>(bytes.data());
        m_stream.avail_in = bytes.size();
        while (m_stream.avail_in != 0)
            (void)Step(LZMA_RUN);
    }

    void Finish() {
        while (!Step(LZMA_FINISH)) {
        }
    }

  private:
    bool Step(lzma_action action) {
        m_stream.next_out = reinterpret_cast<std::uint8_t*>(m_output.data());
        m_stream.avail_out = m_output.size();
        const lzma_ret result = lzma_code(&m_stream, action);
        if (result != LZMA_OK && result != LZMA_STREAM_END) throw std::runtime_error("can't be packed");
        m_write(std::string_view(m_output).substr(0, m_output.size() - m_stream.avail_out));
        return result == LZMA_STREAM_END;
    }

    lzma_stream m_stream = LZMA_STREAM_INIT;
    const download_make::Write& m_write;
    std::string m_output;
};

// Packs one part into a file without a name.
FileStream PackPart(const Package& package, const Part& part) {
    FileStream packed(std::tmpfile());
    const download_make::Write write = [&](std::string_view bytes) {
        if (!packed || std::fwrite(bytes.data(), 1, bytes.size(), packed.get()) != bytes.size())
            throw std::runtime_error("can't be packed: the temporary folder is full");
    };
    Encoder encoder(part.kind, LZMA_CHECK_SHA256, part.cbPart, write);
    std::string piece(cbPiece, 0);
    std::uint64_t left = part.cbPart, offset = part.offset;
    for (std::size_t entry = part.entry; left > 0; ++entry, offset = 0) {
        std::ifstream file(package.paths[entry], std::ios::binary);
        file.seekg(static_cast<std::streamoff>(offset));
        for (std::uint64_t rest = std::min(left, package.entries[entry].cbFile - offset); rest > 0;) {
            const auto cb = static_cast<std::size_t>(std::min<std::uint64_t>(rest, piece.size()));
            if (!file.read(piece.data(), static_cast<std::streamsize>(cb)))
                throw std::runtime_error("can't be read: " + package.paths[entry].string());
            encoder.Add(std::string_view(piece).substr(0, cb));
            rest -= cb;
            left -= cb;
        }
    }
    encoder.Finish();
    return packed;
}

// Cuts the files of each kind into parts of about the same size.
std::vector<Part> PartsOf(const Package& package) {
    std::vector<Kind> kinds;
    std::uint64_t cbKind[3] = {}, cbAll = 0;
    for (std::size_t i = 0; i < package.entries.size(); ++i) {
        kinds.push_back(package.entries[i].IsFolder() ? Kind::Other : KindOf(package.paths[i]));
        cbKind[static_cast<int>(kinds[i])] += package.entries[i].cbFile;
        cbAll += package.entries[i].cbFile;
    }
    const std::uint64_t cbBlock =
        std::clamp(cbAll / (cbAll < cbManyBlocks ? 2 : 4), cbLeastBlock, cbMostBlock);
    std::vector<Part> parts;
    for (std::size_t i = 0; i < package.entries.size(); ++i) {
        const std::uint64_t cbOfKind = cbKind[static_cast<int>(kinds[i])];
        const std::uint64_t count = std::max<std::uint64_t>(1, (cbOfKind + cbBlock / 2) / cbBlock);
        const std::uint64_t cbMost = (cbOfKind + count - 1) / count;
        for (std::uint64_t offset = 0; offset < package.entries[i].cbFile;) {
            if (parts.empty() || parts.back().kind != kinds[i] || parts.back().cbPart == cbMost)
                parts.push_back({i, offset, 0, kinds[i]});
            const std::uint64_t cb =
                std::min(package.entries[i].cbFile - offset, cbMost - parts.back().cbPart);
            parts.back().cbPart += cb;
            offset += cb;
        }
    }
    return parts;
}

// Packing some GiB takes hours. So a package that is clearly too large is refused before: the beginning of each part tells how
// well it packs. Whoever writes the file has the last word.
void RequireRoom(const Package& package, const std::vector<Part>& parts) {
    constexpr std::uint64_t cbClearly = cbMostDownload + cbMostDownload / 4;
    std::uint64_t cbAll = 0, cbPacked = 0;
    for (const Part& part : parts)
        cbAll += part.cbPart;
    if (cbAll <= cbClearly) return;
    for (Part part : parts) {
        const std::uint64_t times = part.cbPart / cbSample;
        part.cbPart = std::min(part.cbPart, cbSample);
        cbPacked += times * static_cast<std::uint64_t>(std::ftell(PackPart(package, part).get()));
    }
    if (cbPacked > cbClearly)
        throw std::runtime_error("the package has " + std::to_string(cbAll / MiB) +
                                 " MiB, which pack to about " + std::to_string(cbPacked / MiB) +
                                 ", but a download is smaller than 4 GiB");
}

}  // namespace

std::string ReadFile(const fs::path& path) {
    tools::RequirePlainFile(path);
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error(path.string() + " can't be read");
    return {std::istreambuf_iterator<char>(file), {}};
}

Package ReadPackage(const fs::path& folder) {
    struct Found {
        Entry entry;
        fs::path path;
        Kind kind;
    };
    std::vector<Found> found;
    for (const fs::directory_entry& each : fs::recursive_directory_iterator(folder)) {
        Entry entry = EntryOf(each, folder);
        const Kind kind = entry.IsFolder() ? Kind::Other : KindOf(each.path());
        found.push_back({std::move(entry), each.path(), kind});
    }
    // Folders first, each before what is in it. Then code, and files of one type and size next to each other: setup.exe and
    // QtvUnInst.exe are the same, and should be packed in one block.
    std::sort(found.begin(), found.end(), [](const Found& left, const Found& right) {
        const auto key = [](const Found& each) {
            return std::tuple(!each.entry.IsFolder(), each.kind,
                              each.entry.IsFolder() ? fs::path() : each.path.extension(), each.entry.cbFile,
                              each.entry.name);
        };
        return key(left) < key(right);
    });
    Package package;
    for (Found& each : found) {
        package.entries.push_back(std::move(each.entry));
        package.paths.push_back(std::move(each.path));
    }
    return package;
}

std::vector<Block> PackBlocks(const Package& package, const Write& write) {
    const std::vector<Part> parts = PartsOf(package);
    RequireRoom(package, parts);
    std::vector<std::future<FileStream>> packers(parts.size());
    const auto start = [&](std::size_t part) {
        packers[part] = std::async(std::launch::async, [&, part] { return PackPart(package, parts[part]); });
    };
    std::vector<Block> blocks;
    for (std::size_t part = 0; part < parts.size(); ++part) {
        for (std::size_t next = part; next < std::min(parts.size(), part + kPackers); ++next)
            if (!packers[next].valid()) start(next);
        const FileStream packed = packers[part].get();
        Block block{0, parts[part].cbPart};
        std::string piece(cbPiece, 0);
        std::rewind(packed.get());
        for (std::size_t cb; (cb = std::fread(piece.data(), 1, piece.size(), packed.get())) > 0;) {
            write(std::string_view(piece).substr(0, cb));
            block.cbPacked += cb;
        }
        blocks.push_back(block);
    }
    return blocks;
}

std::string Pack(std::string_view bytes, lzma_check check) {
    std::string packed;
    const Write write = [&](std::string_view piece) { packed += piece; };
    Encoder encoder(Kind::Other, check, bytes.size(), write);
    encoder.Add(bytes);
    encoder.Finish();
    return packed;
}

}  // namespace download_make
