// All texts of the program, spelling mistakes included, the dialogs (captions, styles, numbers, places), the version block, the
// manifest and the pictures are pinned by checksums. Whoever changes one on purpose changes its checksum too.
#include "resources/resources.h"

#include <gtest/gtest.h>

#include "resource.h"

// Returns the FNV-1a hash of the bytes.
static std::uint32_t Checksum(std::string_view bytes) {
    std::uint32_t sum = 2166136261u;
    for (const char each : bytes)
        sum = (sum ^ static_cast<unsigned char>(each)) * 16777619u;
    return sum;
}

TEST(Resources, KeepTheirBytes) {
    const struct {
        const char* name;
        WORD type, id;
        std::uint32_t checksum;
    } rows[] = {
        {.name = "IDD_SETUP", .type = 5, .id = IDD_SETUP, .checksum = 0x37C659E1},
        {.name = "IDD_AGREEMENT", .type = 5, .id = IDD_AGREEMENT, .checksum = 0x960BDA4A},
        {.name = "IDD_INTO", .type = 5, .id = IDD_INTO, .checksum = 0x9F6DE671},
        {.name = "IDD_FOLDER", .type = 5, .id = IDD_FOLDER, .checksum = 0xB54D5B74},
        {.name = "IDD_GROUP", .type = 5, .id = IDD_GROUP, .checksum = 0x0E0EED4F},
        {.name = "IDD_START", .type = 5, .id = IDD_START, .checksum = 0x346D1D9F},
        {.name = "texts from 1", .type = 6, .id = 1, .checksum = 0xDBD984A8},
        {.name = "texts from 16", .type = 6, .id = 2, .checksum = 0xC00480C0},
        {.name = "texts from 32", .type = 6, .id = 3, .checksum = 0x946E4D75},
        {.name = "texts from 96", .type = 6, .id = 7, .checksum = 0x7C30E7E8},
        {.name = "version", .type = 16, .id = 1, .checksum = 0xD7428B37},
        {.name = "manifest", .type = 24, .id = 1, .checksum = 0x5E93A4BF},
        {.name = "IDB_SIDE", .type = 2, .id = IDB_SIDE, .checksum = 0xD529829D},
    };
    for (const auto& row : rows) {
        const winhost::ResourceSearch found =
            winhost::FindResource(winhost::OwnResources(), row.type, row.id);
        EXPECT_TRUE(found.found) << row.name;
        EXPECT_EQ(Checksum(found.data), row.checksum) << row.name << " has changed";
    }
}
