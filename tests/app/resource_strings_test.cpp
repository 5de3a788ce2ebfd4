// All texts of the program are pinned by one checksum, spelling mistakes included. Whoever changes a text on purpose
// changes the checksum too.
#include <framework.h>
#include <gtest/gtest.h>

#include "harness/checksum.h"
#include "support/path_text.h"

TEST(ResourceStrings, KeepTheirText) {
    std::string lines;
    for (UINT id = 0; id < 256; ++id) {
        const std::basic_string<WCHAR> text = LoadResString(id).Text();
        lines.append(text.begin(), text.end()) += '\n';
    }
    EXPECT_EQ(Checksum(lines), 0xA0184BBEu) << "now the texts are" << lines;
}
