// Makes a download: download_make STUB PACKAGE FILE.exe
// Prints what its version says: download_make --texts PROGRAM
// STUB is the download without a package. Exits with 2 if the download can't be made.
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "package.h"
#include "program_resources.h"
#include "version_block.h"

using namespace download_make;
namespace fs = std::filesystem;

namespace {

constexpr std::uint64_t kMostBytes = (std::uint64_t{1} << 32) - 1;
// Of the string with the name of the product: the first block of 16 strings.
constexpr std::uint16_t kNameBlock = 1, kNameIndex = 1;

std::string ReadFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error(path.string() + " can't be read");
    return {std::istreambuf_iterator<char>(file), {}};
}

const Resource* FirstOf(const std::vector<Resource>& resources, const ResourceName& type) {
    for (const Resource& resource : resources)
        if (resource.type == type) return &resource;
    return nullptr;
}

VersionBlock VersionOf(const std::vector<Resource>& resources) {
    const Resource* const version = FirstOf(resources, kVersion);
    if (!version) throw std::runtime_error("has no version");
    VersionBlock block = ReadVersion(version->bytes);
    if (block.value.size() < 16) throw std::runtime_error("has no version");
    return block;
}

// The application's icon, as Windows shows it: the first group, and all its pictures.
void AddIcon(const std::vector<Resource>& application, std::vector<Resource>& resources) {
    const Resource* const group = FirstOf(application, kIconGroup);
    if (!group) throw std::runtime_error("has no icon");
    resources.push_back(*group);
    // The group lists its pictures: 14 bytes each, the last two of which are the number.
    for (std::size_t end = 6 + 14; end <= group->bytes.size(); end += 14)
        for (const Resource& resource : application)
            if (resource.type == kIcon && resource.language == group->language &&
                std::memcmp(group->bytes.data() + end - 2, &resource.name.number, 2) == 0)
                resources.push_back(resource);
}

Resource NameString(const tools::WideText& product, std::uint16_t language) {
    std::string block;
    const auto put = [&](std::size_t unit) {
        block += static_cast<char>(unit & 0xFF);
        block += static_cast<char>(unit >> 8 & 0xFF);
    };
    for (std::uint16_t index = 0; index < 16; ++index) {
        const tools::WideText text = index == kNameIndex ? product : tools::WideText();
        put(text.size());
        for (const WCHAR unit : text)
            put(unit);
    }
    return {kStrings, {{}, kNameBlock}, language, block};
}

std::string WithTextsOf(const fs::path& application, std::string program) {
    const std::vector<Resource> theirs = ReadResources(ReadFile(application));
    std::vector<Resource> resources = ReadResources(program);
    VersionBlock version = VersionOf(theirs);
    const tools::WideText product = TextsOf(version).product;
    if (product.empty()) throw std::runtime_error("has no product name in its version");
    DescribeSetup(version);
    AddIcon(theirs, resources);
    resources.push_back({kVersion, {{}, 1}, FirstOf(theirs, kVersion)->language, WriteVersion(version)});
    std::uint16_t language = 0;
    std::erase_if(resources, [&](const Resource& each) {
        const bool isName = each.type == kStrings && each.name.number == kNameBlock;
        if (isName) language = each.language;
        return isName;
    });
    resources.push_back(NameString(product, language));
    return WithResources(std::move(program), std::move(resources));
}

void MakeDownload(const fs::path& stub, const fs::path& package, const fs::path& target) {
    std::string program = ReadFile(stub);
    // A program of the embedded machine stays as it is.
    if (program.starts_with("MZ")) try {
            program = WithTextsOf(package / "QtvApp8.exe", std::move(program));
        } catch (const std::runtime_error& error) {
            throw std::runtime_error((package / "QtvApp8.exe").string() + " " + error.what());
        }
    program.resize((program.size() + 7) / 8 * 8);
    std::ofstream file(target, std::ios::binary);
    std::uint64_t cbFile = 0;
    const auto write = [&](std::string_view bytes) {
        cbFile += bytes.size();
        if (cbFile > kMostBytes)
            throw std::runtime_error("the download is larger than 4 GiB, which Windows doesn't start");
        if (!file.write(bytes.data(), static_cast<std::streamsize>(bytes.size())))
            throw std::runtime_error(target.string() + " can't be written");
    };
    write(program);
    const Package content = ReadPackage(package);
    download::Trailer trailer{program.size(), 0, 0, 0, download::SumOfProgram(program)};
    const download::Table table{PackBlocks(content, write), content.entries};
    trailer.cbBlocks = cbFile - program.size();
    const std::string bytes = download::WriteTable(table);
    if (bytes.size() > download::cbMostTable) throw std::runtime_error("the package has too many files");
    trailer.cbTableUnpacked = bytes.size();
    std::string packed = Pack(bytes);
    packed.resize(packed.size() + (8 - (cbFile + packed.size()) % 8) % 8);
    trailer.cbTable = packed.size();
    write(packed);
    write(download::WriteTrailer(trailer));
    file.close();
    if (!file) throw std::runtime_error(target.string() + " can't be written");
}

void PrintTexts(const fs::path& program) {
    const VersionTexts texts = TextsOf(VersionOf(ReadResources(ReadFile(program))));
    std::printf("Version %s\nProductName %s\nCompanyName %s\n", texts.version.c_str(),
                tools::Utf8(texts.product).c_str(), tools::Utf8(texts.company).c_str());
}

}  // namespace

int main(int count, char** values) try {
    if (count == 3 && std::string_view(values[1]) == "--texts") {
        PrintTexts(values[2]);
    } else if (count == 4) {
        MakeDownload(values[1], values[2], values[3]);
    } else {
        std::fputs("usage: download_make STUB PACKAGE FILE.exe | --texts PROGRAM\n", stderr);
        return 2;
    }
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "download_make: %s\n", error.what());
    return 2;
}
