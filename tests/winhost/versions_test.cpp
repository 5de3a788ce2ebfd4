// Version blocks from bytes: of Windows executables, of host programs, and of cut files.
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

const std::string kProgram = BuildBytes(QTV_SOURCE_FOLDER "/fuzz/seeds/version/program_with_texts.exe");

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
    for (const std::string& each : {kProgram, Narrowed(kProgram)})
        EXPECT_EQ(VersionOf(each), "52 1213 65263 0 1 2 1 4 3");
    EXPECT_EQ(VersionOf(BuildBytes(OwnProgram())), "52 1213 65263 0 1 5 8 0 2");
    for (const std::string& each : {std::string(), BuildBytes(QTV_BUILD_FOLDER "/sleeper.exe")})
        EXPECT_EQ(VersionOf(each), "ERROR_RESOURCE_DATA_NOT_FOUND");
    EXPECT_EQ(Version(TEXT("C:\\Scratch\\none"), TEXT("\\")), "ERROR_FILE_NOT_FOUND");
}

TEST_F(HostVersions, AreWholeOrMissingInCutFiles) {
    const std::string_view block = winhost::FindVersionBlock(kProgram).block;
    ASSERT_FALSE(block.empty());
    for (std::size_t end = 0; end < kProgram.size(); end += 7) {
        const auto found = winhost::FindVersionBlock(std::string_view(kProgram).substr(0, end));
        EXPECT_TRUE(found.error != 0 || found.block == block) << end;
    }
}

}  // namespace
