// Resources of programs, and version blocks from bytes: of Windows executables, of host programs, and of cut files.
#include "core/bytes.h"
#include "harness/target.h"
#include "machine/file_calls.h"
#include "resource.h"
#include "resources/resources.h"
#include "resources/version_block.h"

namespace {

// Returns the FNV-1a hash of the bytes.
std::uint32_t Checksum(std::string_view bytes) {
    std::uint32_t sum = 2166136261u;
    for (const char each : bytes)
        sum = (sum ^ static_cast<unsigned char>(each)) * 16777619u;
    return sum;
}

// All texts of the program, spelling mistakes included, the dialogs (captions, styles, numbers, places), the version block, the
// manifest and the pictures are pinned by checksums. Whoever changes one on purpose changes its checksum too.
TEST(HostResources, KeepTheirBytes) {
    enum : WORD { kBitmap = 2, kDialog = 5, kTexts = 6, kVersion = 16, kManifest = 24 };
    const struct {
        const char* name;
        WORD type, id;
        std::uint32_t checksum;
    } rows[] = {
        {"IDD_SETUP", kDialog, IDD_SETUP, 0x37C659E1}, {"IDD_AGREEMENT", kDialog, IDD_AGREEMENT, 0x960BDA4A},
        {"IDD_INTO", kDialog, IDD_INTO, 0x9F6DE671},   {"IDD_FOLDER", kDialog, IDD_FOLDER, 0xB54D5B74},
        {"IDD_GROUP", kDialog, IDD_GROUP, 0x0E0EED4F}, {"IDD_START", kDialog, IDD_START, 0x346D1D9F},
        {"texts from 1", kTexts, 1, 0xDBD984A8},       {"texts from 16", kTexts, 2, 0xC00480C0},
        {"texts from 32", kTexts, 3, 0x946E4D75},      {"texts from 96", kTexts, 7, 0x7C30E7E8},
        {"the version", kVersion, 1, 0xD7428B37},      {"the manifest", kManifest, 1, 0x5E93A4BF},
        {"IDB_SIDE", kBitmap, IDB_SIDE, 0xD529829D},
    };
    for (const auto& row : rows) {
        const auto found = winhost::FindResource(winhost::OwnResources(), row.type, row.id);
        EXPECT_TRUE(found.found) << row.name;
        EXPECT_EQ(Checksum(found.data), row.checksum) << row.name << " has changed";
    }
}

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
