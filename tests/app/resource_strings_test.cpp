// Every text of the program is pinned by a checksum, spelling mistakes included. Whoever changes a text on purpose
// changes its checksum too.
#include <framework.h>
#include <gtest/gtest.h>

#include <string>

#include "resource.h"
#include "harness/checksum.h"
#include "support/path_text.h"

namespace {

// From string 0 on. The numbers without a text have the checksum of an empty text.
constexpr std::uint32_t kChecksums[] = {
    0x811C9DC5, 0x773EB323, 0xCDA2214A, 0x0780DF53, 0xB8BE7B2E, 0x811C9DC5, 0xE32A4ED0,
    0x8AD4A595, 0x2F8BD364, 0xBD3CC064, 0x098729A9, 0xD7B871B5, 0x3E1500BE, 0x7362553A,
    0x25AD7BFF, 0xBF099C1A, 0x59E2419D, 0xFEE101A1, 0x9965B53C, 0x0A55B728, 0xB4AE137A,
    0xB3A43630, 0x61E6BE1A, 0xAD76FA64, 0xC860D24E, 0x811C9DC5, 0xC6BF9AC3, 0x94B44EE1,
    0x980C5D19, 0x811C9DC5, 0x067FEFDF, 0x44FDA0DC, 0x811C9DC5, 0xC60E5317,
};

void ExpectText(UINT id, std::uint32_t checksum) {
    const std::basic_string<WCHAR> text = LoadResString(id).Text();
    const std::string bytes(text.begin(), text.end());
    EXPECT_EQ(Checksum(bytes), checksum) << "string " << id << " is now: " << bytes;
}

TEST(ResourceStrings, KeepTheirText) {
    for (UINT id = 0; id < std::size(kChecksums); ++id)
        ExpectText(id, kChecksums[id]);
    ExpectText(IDS_HELP_LINK, 0x186BC87E);
}

}  // namespace
