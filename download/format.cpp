#include "format.h"

#include <lzma.h>

#include <algorithm>
#include <cstring>

namespace download {

namespace {

constexpr std::size_t cbSum = 8;
constexpr std::uint64_t cbMostPackage = std::uint64_t{1} << 48;

// Takes numbers and texts from the front of some bytes. After a step that fails nothing more is taken.
class Reader {
  public:
    explicit Reader(std::string_view bytes) : m_rest(bytes) {}

    template <class Number>
    Number Take() {
        Number number = 0;
        const std::string_view bytes = TakeBytes(sizeof number);
        for (std::size_t i = bytes.size(); i-- > 0;)
            number = static_cast<Number>(number << 8 | static_cast<unsigned char>(bytes[i]));
        return number;
    }

    WideText TakeText() {
        const auto cchText = Take<std::uint32_t>();
        m_good = m_good && cchText <= cchMostText;
        const std::string_view bytes = TakeBytes(2 * std::size_t{cchText});
        WideText text(bytes.size() / 2, 0);
        if (!text.empty()) std::memcpy(text.data(), bytes.data(), bytes.size());
        return text;
    }

    Digest TakeDigest() {
        Digest digest = {};
        const std::string_view bytes = TakeBytes(digest.size());
        std::copy(bytes.begin(), bytes.end(), digest.begin());
        return digest;
    }

    bool AtEnd() const { return m_good && m_rest.empty(); }
    bool IsGood() const { return m_good; }

  private:
    std::string_view TakeBytes(std::size_t cb) {
        m_good = m_good && cb <= m_rest.size();
        if (!m_good) return {};
        const std::string_view taken = m_rest.substr(0, cb);
        m_rest.remove_prefix(cb);
        return taken;
    }

    std::string_view m_rest;
    bool m_good = true;
};

template <class Number>
Number At(std::string_view bytes, std::size_t offset) {
    return Reader(bytes.substr(std::min(offset, bytes.size()))).Take<Number>();
}

bool IsDevice(WideView level) {
    WideText name(level.substr(0, level.find('.')));
    name.erase(name.find_last_not_of(' ') + 1);
    for (WCHAR& character : name)
        if (character >= 'a' && character <= 'z') character = static_cast<WCHAR>(character - 'a' + 'A');
    for (const WideView device :
         {TEXT("CON"), TEXT("PRN"), TEXT("AUX"), TEXT("NUL"), TEXT("CONIN$"), TEXT("CONOUT$")})
        if (name == device) return true;
    if (name.size() != 4 || (!name.starts_with(TEXT("COM")) && !name.starts_with(TEXT("LPT")))) return false;
    // Windows takes the superscript digits for ports, too.
    const WCHAR digit = name[3];
    return (digit >= '0' && digit <= '9') || digit == 0xB9 || digit == 0xB2 || digit == 0xB3;
}

bool IsPlainLevel(WideView level) {
    if (level.empty() || level.back() == ' ' || level.back() == '.' || IsDevice(level)) return false;
    return std::none_of(level.begin(), level.end(), [](WCHAR character) {
        return character < 0x20 || WideView(TEXT("<>:\"/|?*")).find(character) != WideView::npos;
    });
}

bool IsRightEntry(const Entry& entry) {
    return IsPlainName(entry.name) && entry.name.size() <= cchMostName &&
           (entry.attributes & ~kKnownAttributes) == 0 && entry.cbFile <= cbMostPackage &&
           (!entry.IsFolder() || entry.cbFile == 0);
}

bool IsRightRebuilt(const Rebuilt& rebuilt) {
    if (!IsRightEntry(rebuilt.file) || rebuilt.file.IsFolder() || !IsPlainName(rebuilt.earlier) ||
        rebuilt.earlier.size() > cchMostName)
        return false;
    return rebuilt.IsCopy() ? rebuilt.difference.cbPacked == 0 && rebuilt.cbEarlier == rebuilt.file.cbFile
                            : rebuilt.cbEarlier <= cbMostEarlier;
}

// Adds up what a table says, so that no sum is larger than a number.
struct Sizes {
    std::uint64_t cbBlocks;
    std::uint64_t cbPacked = 0, cbUnpacked = 0, cbFiles = 0;

    bool AddBlock(const Block& block) {
        if (block.cbPacked > cbBlocks || block.cbUnpacked > cbMostPackage) return false;
        cbPacked += block.cbPacked;
        cbUnpacked += block.cbUnpacked;
        return cbPacked <= cbBlocks && cbUnpacked <= cbMostPackage;
    }
    bool AddFile(const Entry& entry) {
        cbFiles += entry.cbFile;
        return cbFiles <= cbMostPackage;
    }
};

Block TakeBlock(Reader& reader) {
    const auto cbPacked = reader.Take<std::uint64_t>();
    return {cbPacked, reader.Take<std::uint64_t>()};
}

Entry TakeEntry(Reader& reader) {
    Entry entry{{}, reader.Take<std::uint64_t>(), reader.Take<std::uint64_t>(), reader.Take<DWORD>()};
    entry.name = reader.TakeText();
    return entry;
}

Rebuilt TakeRebuilt(Reader& reader) {
    Rebuilt rebuilt{
        TakeEntry(reader), reader.TakeText(), reader.Take<std::uint64_t>(), reader.TakeDigest(), {},
        TakeBlock(reader)};
    rebuilt.sum = rebuilt.IsCopy() ? rebuilt.earlierSum : reader.TakeDigest();
    return rebuilt;
}

}  // namespace

SignaturePlace FindSignature(std::string_view program) {
    constexpr std::size_t kChecksum = 64, kSignatureDirectory = 4;
    const std::size_t header = At<std::uint32_t>(program, 0x3C);
    if (!program.starts_with("MZ") || At<std::uint32_t>(program, header) != 0x4550) return {};
    const std::size_t optional = header + 24;
    const std::size_t directories = optional + (At<std::uint16_t>(program, optional) == 0x20B ? 112 : 96);
    const std::size_t directory = directories + 8 * kSignatureDirectory;
    if (directory + 8 > program.size() || At<std::uint32_t>(program, directories - 4) <= kSignatureDirectory)
        return {};
    return {optional + kChecksum, directory, At<std::uint32_t>(program, directory),
            At<std::uint32_t>(program, directory + 4)};
}

std::uint64_t Sum(std::string_view bytes) {
    return lzma_crc32(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size(), 0);
}

std::uint64_t SumOfProgram(std::string program) {
    const SignaturePlace place = FindSignature(program);
    if (place.directory != 0) {
        std::memset(program.data() + place.checksum, 0, 4);
        std::memset(program.data() + place.directory, 0, 8);
    }
    return Sum(program);
}

std::optional<Trailer> ReadTrailer(std::string_view bytes, std::uint64_t cbDownload) {
    if (bytes.size() != cbTrailer || !bytes.starts_with(kMagic)) return {};
    Reader reader(bytes.substr(kMagic.size()));
    Trailer trailer;
    for (std::uint64_t* const number : {&trailer.cbProgram, &trailer.cbBlocks, &trailer.cbTable,
                                        &trailer.cbTableUnpacked, &trailer.programSum})
        *number = reader.Take<std::uint64_t>();
    if (reader.Take<std::uint64_t>() != Sum(bytes.substr(0, cbTrailer - cbSum))) return {};
    // Each is compared by itself, so that no sum is larger than a number.
    for (const std::uint64_t number : {trailer.cbProgram, trailer.cbBlocks, trailer.cbTable})
        if (number > cbDownload) return {};
    if (trailer.cbProgram + trailer.cbBlocks + trailer.cbTable + cbTrailer != cbDownload ||
        trailer.cbTableUnpacked > cbMostTable)
        return {};
    return trailer;
}

std::optional<Table> ReadTable(std::string_view bytes, std::uint64_t cbBlocks) {
    Reader reader(bytes);
    Table table;
    const auto blocks = reader.Take<std::uint32_t>(), entries = reader.Take<std::uint32_t>(),
               rebuilt = reader.Take<std::uint32_t>();
    Sizes sizes{cbBlocks};
    for (std::uint32_t i = 0; i < blocks && reader.IsGood(); ++i) {
        table.blocks.push_back(TakeBlock(reader));
        if (table.blocks.back().cbUnpacked == 0 || !sizes.AddBlock(table.blocks.back())) return {};
    }
    for (std::uint32_t i = 0; i < entries && reader.IsGood(); ++i) {
        table.entries.push_back(TakeEntry(reader));
        if (!IsRightEntry(table.entries.back()) || !sizes.AddFile(table.entries.back())) return {};
    }
    if (sizes.cbUnpacked != sizes.cbFiles) return {};
    for (std::uint32_t i = 0; i < rebuilt && reader.IsGood(); ++i) {
        table.rebuilt.push_back(TakeRebuilt(reader));
        const Rebuilt& last = table.rebuilt.back();
        if (!IsRightRebuilt(last) || !sizes.AddBlock(last.difference) || !sizes.AddFile(last.file)) return {};
    }
    table.earlierVersion = reader.TakeText();
    table.fullUrl = reader.TakeText();
    if (!reader.AtEnd() || sizes.cbPacked != cbBlocks) return {};
    if (!table.fullUrl.empty() && !IsWebAddress(table.fullUrl)) return {};
    return table;
}

std::uint64_t TotalBytes(const Table& table) {
    std::uint64_t cb = 0;
    for (const Entry& entry : table.entries)
        cb += entry.cbFile;
    for (const Rebuilt& rebuilt : table.rebuilt)
        cb += rebuilt.file.cbFile;
    return cb;
}

bool IsWebAddress(WideView text) {
    constexpr WideView kScheme = TEXT("https://");
    return text.starts_with(kScheme) && text.size() > kScheme.size() && text.size() <= cchMostText &&
           std::all_of(text.begin(), text.end(),
                       [](WCHAR each) { return each > ' ' && each < 0x7F && each != '"' && each != '\\'; });
}

bool IsPlainName(WideView name) {
    for (std::size_t at = 0; at <= name.size();) {
        const std::size_t end = std::min(name.find('\\', at), name.size());
        if (!IsPlainLevel(name.substr(at, end - at))) return false;
        at = end + 1;
    }
    return true;
}

}  // namespace download
