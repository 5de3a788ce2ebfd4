// Downloads that tests make by themselves.
#pragma once

#include <lzma.h>

#include <utility>

#include "format.h"
#include "harness/machine_view.h"
#include "rebuild.h"
#include "sha256.h"

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

// Returns what the function returns while the process has the arguments of this line.
template <class Act>
auto WithArguments(const std::string& line, Act act) {
    std::vector<Text> texts = Names(line);
    std::vector<WCHAR*> values;
    for (Text& text : texts)
        values.push_back(text.data());
    const int oldCount = std::exchange(__argc, static_cast<int>(values.size()));
    WCHAR** const oldValues = std::exchange(__wargv, values.data());
    const auto result = act();
    __argc = oldCount;
    __wargv = oldValues;
    return result;
}

// A file that is made of the earlier one, as a copy or by these steps.
struct MadeFile {
    std::string name, earlier, earlierBytes, steps, bytes;
};

// Carries out downloads in C:\Scratch\new, and updates of the installation in C:\Scratch\app.
class DownloadTest : public ScratchTest {
  protected:
    Outcome Carry(const std::string& bytes, const std::function<void()>& onShare = {}) {
        MakeFile(At("download.exe"), bytes);
        const Outcome outcome = OpenArchive(m_archive.path, m_archive);
        return outcome == Outcome::Right ? CarryArchive(onShare) : outcome;
    }

    Outcome CarryArchive(const std::function<void()>& onShare = {}) {
        DeleteTree(At("new"));
        MakeFolder(At("new"));
        download::Progress progress(m_archive.table);
        progress.onShare = onShare;
        download::Installation installation{CString(At("app"))};
        Outcome outcome = Unpack(m_archive, m_new, progress);
        if (outcome == Outcome::Right) outcome = Rebuild(m_archive, installation, m_new, progress);
        m_differing = installation.Differing();
        m_share = progress.Share();
        return outcome;
    }

    const CString m_new{At("new")};
    download::Archive m_archive{CString(At("download.exe")), 0, {}};
    Text m_differing;
    unsigned m_share = 0;
};

// When the file was last written.
inline std::uint64_t WrittenAt(const Text& path) {
    const FILETIME time = Search(path).at(0).ftLastWriteTime;
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

// A step of a difference: a place, the run that is added to the bytes there, and the run after it.
inline std::string Step(unsigned place, const std::string& added, const std::string& plain) {
    std::string bytes;
    for (const std::size_t number : {std::size_t{place}, added.size(), plain.size()})
        for (int i = 0; i < 4; ++i)
            bytes += static_cast<char>(number >> (8 * i) & 0xFF);
    return bytes + added + plain;
}

// A download with these files, in blocks of `cbBlock` bytes, or an update with `made` too. NAME\ is a folder, and NAME! a
// read-only file.
inline std::string Download(const std::string& list, std::size_t cbBlock, std::string program = "a program",
                            const std::vector<MadeFile>& made = {}) {
    download::Table table{{}, {}, {}, TEXT("8.5.1.0"), TEXT("https://example.com/full.exe")};
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
    for (const MadeFile& file : made) {
        const std::string packed = file.steps.empty() ? "" : Packed(file.steps);
        table.rebuilt.push_back({{Wide(file.name), file.bytes.size(), kTime, FILE_ATTRIBUTE_READONLY},
                                 Wide(file.earlier),
                                 file.earlierBytes.size(),
                                 download::SumOf(file.earlierBytes),
                                 download::SumOf(file.bytes),
                                 {packed.size(), file.steps.size()}});
        blocks += packed;
    }
    program.resize((program.size() + 7) / 8 * 8);
    const std::string bytes = WriteTable(table);
    const std::string packed = Packed(bytes) + std::string(4, 0);
    return program + blocks + packed +
           download::WriteTrailer(
               {program.size(), blocks.size(), packed.size(), bytes.size(), download::SumOfProgram(program)});
}
