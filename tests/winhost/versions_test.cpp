// Version blocks and resources from bytes: of Windows executables, of host programs, and of damaged files.
#include <cstring>

#include "bytes.h"
#include "resources.h"
#include "support/scratch.h"
#include "support/target.h"

namespace {

constexpr WCHAR kFile[] = TEXT("C:\\Scratch\\file.exe");

// The four numbers of a file's version block, or the error.
struct Version {
    DWORD error = ERROR_SUCCESS;
    DWORD high = 0, low = 0;
    bool operator==(const Version&) const = default;
};

Version VersionOf(const std::string& bytes) {
    MakeFile(kFile, bytes);
    const DWORD cbBlock = GetFileVersionInfoSizeW(kFile, nullptr);
    if (cbBlock == 0) return {.error = GetLastError()};
    // No byte more than asked for, so that the sanitizers see a read or write behind it.
    std::vector<BYTE> block(cbBlock);
    if (!GetFileVersionInfoW(kFile, 0, cbBlock, block.data())) return {.error = GetLastError()};
    void* value = nullptr;
    UINT cbValue = 0;
    if (!VerQueryValueW(block.data(), TEXT("\\"), &value, &cbValue)) return {.error = GetLastError()};
    VS_FIXEDFILEINFO info = {};
    std::memcpy(&info, value, std::min<std::size_t>(cbValue, sizeof info));
    return {ERROR_SUCCESS, info.dwFileVersionMS, info.dwFileVersionLS};
}

std::string Bytes(const std::filesystem::path& file) {
    ImportFile(file, TEXT("C:\\Scratch\\import"));
    return FileBytes(TEXT("C:\\Scratch\\import")).value_or("");
}

// The resources of this test, made into a Windows program by the build machine's own tools.
std::string WindowsProgram() {
    const std::string resources = QTV_BUILD_FOLDER "/tests/winhost_tests.res";
    const std::string base = std::filesystem::temp_directory_path() / ("version." + std::to_string(getpid()));
    const std::string command = "x86_64-w64-mingw32-windres -J res -O coff -i " + resources + " -o " + base +
                                ".o && x86_64-w64-mingw32-ld --entry 0 -o " + base + ".exe " + base + ".o";
    EXPECT_EQ(std::system(command.c_str()), 0);
    const std::string program = Bytes(base + ".exe");
    std::filesystem::remove(base + ".o");
    std::filesystem::remove(base + ".exe");
    return program;
}

// The same program with the headers of a 32-bit one, which are 16 bytes shorter.
std::string Narrowed(std::string program) {
    const std::size_t header = winhost::DwordAt(program, 0x3C), optional = header + 24;
    const WORD cbOptional = winhost::WordAt(program, header + 20),
               sections = winhost::WordAt(program, header + 6);
    program.insert(optional + cbOptional + 40u * sections, 16, '\0');
    program.erase(optional + 24, 16);
    program[header + 20] = static_cast<char>(cbOptional - 16);
    program[optional + 1] = 1;
    return program;
}

class HostVersions : public ScratchTest {};

TEST_F(HostVersions, AreFoundInProgramsOfEveryKind) {
    const Version expected = {ERROR_SUCCESS, 0x00080005, 0x00020000};
    const std::string program = WindowsProgram();
    EXPECT_TRUE(VersionOf(program) == expected);
    EXPECT_TRUE(VersionOf(Narrowed(program)) == expected);
    EXPECT_TRUE(VersionOf(Bytes(OwnProgram())) == expected);

    const struct {
        const char* file;
        std::string bytes;
        DWORD error;
    } rows[] = {
        {"empty", "", ERROR_RESOURCE_DATA_NOT_FOUND},
        {"text", "no program", ERROR_RESOURCE_DATA_NOT_FOUND},
        {"another host program", Bytes(QTV_BUILD_FOLDER "/sleeper.exe"), ERROR_RESOURCE_DATA_NOT_FOUND},
    };
    for (const auto& row : rows)
        EXPECT_EQ(VersionOf(row.bytes).error, row.error) << row.file;
    EXPECT_EQ(GetFileVersionInfoSizeW(TEXT("C:\\Scratch\\none"), nullptr), 0u);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
}

TEST_F(HostVersions, OfDamagedFilesAreWholeOrMissing) {
    const std::string program = WindowsProgram();
    const std::string_view block = winhost::FindVersionBlock(program).block;
    ASSERT_FALSE(block.empty());
    for (std::size_t end = 0; end < program.size(); ++end) {
        const auto found = winhost::FindVersionBlock(std::string_view(program).substr(0, end));
        EXPECT_TRUE(found.error != 0 || found.block == block) << end;
    }
    // Numbers that lead astray: in the headers, in the folders of resources, and in the block itself.
    const std::size_t resources = program.find("\x10\0\0\0"), blockAt = program.find(block);
    ASSERT_NE(blockAt, program.npos);
    for (const std::size_t start : {std::size_t{0}, resources & ~std::size_t{0x1FF}, blockAt})
        for (std::size_t at = start; at < start + 0x200; ++at)
            for (const char byte : {'\0', '\x7F', '\xFF'}) {
                std::string damaged = program;
                damaged[at] = byte;
                (void)winhost::FindVersionBlock(damaged);
                if (start == blockAt && at < blockAt + 64) (void)VersionOf(damaged);
            }
}

}  // namespace
