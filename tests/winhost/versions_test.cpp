// Version blocks and resources from bytes: of Windows executables, of host programs, and of damaged files.
#include <cstring>

#include "core/bytes.h"
#include "resources/resources.h"
#include "harness/scratch.h"
#include "harness/target.h"
#include "resources/version_block.h"

namespace {

constexpr WCHAR kFile[] = TEXT("C:\\Scratch\\file.exe");

// The four numbers of a file's version block, or 0 when it has none.
std::uint64_t VersionOf(const std::string& bytes) {
    MakeFile(kFile, bytes);
    // The buffer is no larger than needed, so that the sanitizers see any access after its end.
    std::vector<BYTE> block(GetFileVersionInfoSizeW(kFile, nullptr));
    void* value = nullptr;
    UINT cbValue = 0;
    if (block.empty() || !GetFileVersionInfoW(kFile, 0, static_cast<DWORD>(block.size()), block.data()) ||
        !VerQueryValueW(block.data(), TEXT("\\"), &value, &cbValue))
        return 0;
    VS_FIXEDFILEINFO info = {};
    std::memcpy(&info, value, std::min<std::size_t>(cbValue, sizeof info));
    return std::uint64_t{info.dwFileVersionMS} << 32 | info.dwFileVersionLS;
}

std::string Bytes(const std::filesystem::path& file) {
    ImportFile(file, TEXT("C:\\Scratch\\import"));
    return FileBytes(TEXT("C:\\Scratch\\import")).value_or("");
}

// The resources of this test, made into a Windows program by the tools of the build machine.
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

// The same program with the headers of a 32-bit program, which are 16 bytes shorter.
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
    const std::string program = WindowsProgram();
    for (const std::string& each : {program, Narrowed(program), Bytes(OwnProgram())})
        EXPECT_EQ(VersionOf(each), 0x0008000500020000u);
    for (const std::string& each : {std::string(), Bytes(QTV_BUILD_FOLDER "/sleeper.exe")}) {
        EXPECT_EQ(VersionOf(each), 0u);
        EXPECT_EQ(GetLastError(), DWORD{ERROR_RESOURCE_DATA_NOT_FOUND});
    }
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
    // Wrong numbers: in the headers, in the folders of resources, and in the block itself.
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
