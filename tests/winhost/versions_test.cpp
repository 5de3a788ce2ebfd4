// Version blocks and resources from bytes: of Windows executables, of host programs, and of damaged files.
#include "core/bytes.h"
#include "resources/resources.h"
#include "harness/target.h"
#include "machine/file_calls.h"
#include "resources/version_block.h"

namespace {

constexpr WCHAR kFile[] = TEXT("C:\\Scratch\\file.exe");

// The fixed part of a file's version block. The buffer is no larger than needed, so that the sanitizers see any access
// after its end.
std::string VersionOf(const std::string& bytes) {
    MakeFile(kFile, bytes);
    return Version(kFile, TEXT("\\"));
}

// The resources of this test, made into a Windows program by the tools of the build machine.
std::string WindowsProgram() {
    const std::string resources = QTV_BUILD_FOLDER "/tests/winhost_tests.res";
    const std::string base = std::filesystem::temp_directory_path() / ("version." + std::to_string(getpid()));
    const std::string command = "x86_64-w64-mingw32-windres -J res -O coff -i " + resources + " -o " + base +
                                ".o && x86_64-w64-mingw32-ld --entry 0 -o " + base + ".exe " + base + ".o";
    EXPECT_EQ(std::system(command.c_str()), 0);
    const std::string program = BuildBytes(base + ".exe");
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
    for (const std::string& each : {program, Narrowed(program), BuildBytes(OwnProgram())})
        EXPECT_EQ(VersionOf(each), "52 1213 65263 0 1 5 8 0 2");
    for (const std::string& each : {std::string(), BuildBytes(QTV_BUILD_FOLDER "/sleeper.exe")})
        EXPECT_EQ(VersionOf(each), "ERROR_RESOURCE_DATA_NOT_FOUND");
    EXPECT_EQ(Version(TEXT("C:\\Scratch\\none"), TEXT("\\")), "ERROR_FILE_NOT_FOUND");
}

TEST_F(HostVersions, OfDamagedFilesAreWholeOrMissing) {
    const std::string program = WindowsProgram();
    const std::string_view block = winhost::FindVersionBlock(program).block;
    ASSERT_FALSE(block.empty());
    for (std::size_t end = 0; end < program.size(); end += 3) {
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
