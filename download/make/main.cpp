// Makes a download, or an update, from a package and the program in download/.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <stdexcept>

#include "output.h"
#include "package.h"
#include "program_resources.h"
#include "update.h"
#include "setup_version.h"
#include "common/help.h"

using namespace download_make;
namespace fs = std::filesystem;

namespace {

constexpr char kHelp[] =
    R"(usage: download_make STUB PACKAGE FILE.exe [--icon FILE.ico] [--earlier PACKAGE [--always PATTERN]... [--full-url ADDRESS]]
       download_make --texts PROGRAM [--icon FILE.ico]
       download_make --is-signed PROGRAM
       download_make --same-but-signature PROGRAM PROGRAM

Makes a download of a package. STUB is the download without a package. Without --icon, the icon is that of the application.

  --earlier PACKAGE     makes an update, which carries only what changed since that package
  --always PATTERN      files that an update carries in any case
  --full-url ADDRESS    where people find the whole download, if an update can't be used
  --texts               prints what the version of a program says
  --is-signed           says whether a program is signed: 0, or 1 if it isn't
  --same-but-signature  compares two programs, but for their signatures: 0, or 1 if they differ

The exit code is 2 if the download can't be made, or if a file is no program.
)";

constexpr const char* kApplication = "QtvApp8.exe";
// Of the string with the name of the product: the first block of 16 strings.
constexpr std::uint16_t kNameBlock = 1, kNameIndex = 1;

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

// Returns the resources of a file of icons. Throws std::runtime_error if it is none.
std::vector<Resource> ReadIcon(const fs::path& path) {
    const std::string file = ReadFile(path);
    const auto number = [&](std::size_t at, std::size_t cb) {
        std::size_t value = 0;
        for (std::size_t i = cb; i-- > 0;)
            value = value << 8 | static_cast<unsigned char>(file.at(at + i));
        return value;
    };
    constexpr std::size_t cbHead = 6, cbEntry = 16;
    constexpr std::uint16_t kNeutral = 0;
    try {
        if (number(0, 4) != 0x10000 || number(4, 2) == 0) throw std::out_of_range("");
        Resource group{kIconGroup, {{}, 1}, kNeutral, file.substr(0, cbHead)};
        std::vector<Resource> resources;
        for (std::size_t i = 0; i < number(4, 2); ++i) {
            const std::size_t entry = cbHead + i * cbEntry, size = number(entry + 8, 4),
                              at = number(entry + 12, 4);
            if (size == 0 || at > file.size() || size > file.size() - at) throw std::out_of_range("");
            const auto id = static_cast<std::uint16_t>(i + 1);
            group.bytes += file.substr(entry, cbEntry - 4);
            group.bytes += {static_cast<char>(id & 0xFF), static_cast<char>(id >> 8)};
            resources.push_back({kIcon, {{}, id}, kNeutral, file.substr(at, size)});
        }
        resources.push_back(group);
        return resources;
    } catch (const std::out_of_range&) {
        throw std::runtime_error(path.string() + " is no file of icons");
    }
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

// What the download needs to know of the application.
struct Application {
    std::vector<Resource> resources;
    VersionBlock version;
    std::vector<Resource> icon;
};
Application ReadApplication(const fs::path& path, const fs::path& icon) {
    Application application;
    try {
        application.resources = ReadResources(ReadFile(path));
        application.version = VersionOf(application.resources);
        if (TextsOf(application.version).product.empty())
            throw std::runtime_error("has no product name in its version");
        if (icon.empty()) AddIcon(application.resources, application.icon);
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(path.string() + " " + error.what());
    }
    if (!icon.empty()) application.icon = ReadIcon(icon);
    return application;
}

std::string WithTextsOf(const Application& application, std::string program) {
    std::vector<Resource> resources = ReadResources(program);
    VersionBlock version = application.version;
    const tools::WideText product = TextsOf(version).product;
    DescribeSetup(version);
    resources.insert(resources.end(), application.icon.begin(), application.icon.end());
    resources.push_back(
        {kVersion, {{}, 1}, FirstOf(application.resources, kVersion)->language, WriteVersion(version)});
    std::uint16_t language = 0;
    std::erase_if(resources, [&](const Resource& each) {
        const bool isName = each.type == kStrings && each.name.number == kNameBlock;
        if (isName) language = each.language;
        return isName;
    });
    resources.push_back(NameString(product, language));
    return WithResources(std::move(program), std::move(resources));
}

struct Options {
    fs::path icon, earlier;  // empty for none
    std::vector<std::string> always;
    std::string fullUrl;
};

// The version that people read. A program of the embedded machine has none.
std::string VersionTextOf(const fs::path& program) {
    const std::string bytes = ReadFile(program);
    return bytes.starts_with("MZ") ? TextsOf(VersionOf(ReadResources(bytes))).version : std::string();
}

// Writes blocks and differences, and returns the table for them.
download::Table WriteContent(const fs::path& package, const Options& options, Output& output) {
    Update update;
    const Package whole = ReadPackage(package);
    download::Table table;
    if (options.earlier.empty()) {
        update.carried = whole;
    } else {
        update = PlanUpdate(whole, options.earlier, options.always);
        table.earlierVersion = tools::Wide(VersionTextOf(options.earlier / kApplication));
        table.fullUrl = tools::Wide(options.fullUrl);
    }
    table.blocks = PackBlocks(update.carried, [&](std::string_view bytes) { output.Write(bytes); });
    for (const std::string& difference : update.differences)
        output.Write(difference);
    table.entries = std::move(update.carried.entries);
    table.rebuilt = std::move(update.rebuilt);
    return table;
}

void MakeDownload(const fs::path& stub, const fs::path& package, const fs::path& target,
                  const Options& options) {
    std::string program = ReadFile(stub);
    // A program of the embedded machine stays as it is.
    if (program.starts_with("MZ"))
        program = WithTextsOf(ReadApplication(package / kApplication, options.icon), std::move(program));
    program.resize((program.size() + 7) / 8 * 8);
    Output output(target);
    output.Write(program);
    download::Trailer trailer{program.size(), 0, 0, 0, download::SumOfProgram(program)};
    const download::Table table = WriteContent(package, options, output);
    trailer.cbBlocks = output.Size() - program.size();
    const std::string bytes = download::WriteTable(table);
    if (bytes.size() > download::cbMostTable) throw std::runtime_error("the package has too many files");
    trailer.cbTableUnpacked = bytes.size();
    std::string packed = Pack(bytes, LZMA_CHECK_SHA256);
    packed.resize(packed.size() + (8 - (output.Size() + packed.size()) % 8) % 8);
    trailer.cbTable = packed.size();
    output.Write(packed);
    output.Write(download::WriteTrailer(trailer));
    output.Close();
}

void PrintTexts(const fs::path& program, const fs::path& icon) {
    const VersionTexts texts = TextsOf(ReadApplication(program, icon).version);
    std::printf("Version %s\nProductName %s\nCompanyName %s\n", texts.version.c_str(),
                tools::Utf8(texts.product).c_str(), tools::Utf8(texts.company).c_str());
}

// A signature stands at the end, after up to seven bytes 0 that fill the program up.
std::string WithoutSignature(const fs::path& path) {
    std::string program = ReadFile(path);
    const download::SignaturePlace place = download::FindSignature(program);
    if (place.directory == 0) throw std::runtime_error(path.string() + " is no program");
    if (place.cbSignature != 0) program.resize(std::min<std::uint64_t>(place.offset, program.size()));
    program.replace(place.checksum, 4, 4, 0);
    program.replace(place.directory, 8, 8, 0);
    program.resize((program.size() + 7) / 8 * 8);
    return program;
}

bool IsSigned(const fs::path& path) {
    const download::SignaturePlace place = download::FindSignature(ReadFile(path));
    if (place.directory == 0) throw std::runtime_error(path.string() + " is no program");
    return place.cbSignature != 0;
}

// Takes the options out of the arguments. None when one has no value, or an update none of its own.
std::optional<Options> TakeOptions(std::vector<std::string>& arguments) {
    Options options;
    std::vector<std::string> rest;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        const bool isOption = argument == "--icon" || argument == "--earlier" || argument == "--always" ||
                              argument == "--full-url";
        if (!isOption) {
            rest.push_back(argument);
            continue;
        }
        if (i + 1 == arguments.size()) return {};
        const std::string& value = arguments[++i];
        if (argument == "--icon")
            options.icon = value;
        else if (argument == "--earlier")
            options.earlier = value;
        else if (argument == "--always")
            options.always.push_back(tools::Replaced(value, "/", "\\"));
        else
            options.fullUrl = value;
    }
    arguments = std::move(rest);
    if (options.earlier.empty() && (!options.always.empty() || !options.fullUrl.empty())) return {};
    if (!options.fullUrl.empty() && !download::IsWebAddress(tools::Wide(options.fullUrl)))
        throw std::runtime_error(options.fullUrl + " is no address that begins with https://");
    return options;
}

int Run(std::vector<std::string> arguments) {
    const std::optional<Options> options = TakeOptions(arguments);
    const std::string first = arguments.empty() ? "" : arguments[0];
    if (options && arguments.size() == 2 && first == "--texts") {
        PrintTexts(arguments[1], options->icon);
    } else if (options && arguments.size() == 2 && first == "--is-signed") {
        return IsSigned(arguments[1]) ? 0 : 1;
    } else if (options && arguments.size() == 3 && first == "--same-but-signature") {
        return WithoutSignature(arguments[1]) == WithoutSignature(arguments[2]) ? 0 : 1;
    } else if (options && arguments.size() == 3 && !first.starts_with("-")) {
        MakeDownload(arguments[0], arguments[1], arguments[2], *options);
    } else {
        tools::PrintUsage(kHelp);
        return 2;
    }
    return 0;
}

}  // namespace

int main(int count, char** values) try {
    if (tools::TellsOfItself({values, values + count}, kHelp)) return 0;
    return Run({values + 1, values + count});
} catch (const std::exception& error) {
    tools::PrintFailure("download_make", error);
    return 2;
}
