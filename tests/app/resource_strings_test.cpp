// Every text of the program reaches it to the letter, spelling included: a change of one is meant, and its
// checksum is changed with it.
#include <framework.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "resource.h"
#include "support/checksum.h"
#include "support/path_text.h"

TEST(ResourceStrings, KeepTheirText) {
    static const std::pair<UINT, std::uint32_t> kTexts[] = {
        {IDS_PRODUCT, 0x773EB323},
        {IDS_SETUP_TITLE, 0xCDA2214A},
        {IDS_PRODUCT_SHORT, 0x0780DF53},
        {IDS_INSTANCES_OPEN, 0xB8BE7B2E},
        {IDS_CONFIRM_UNINSTALL, 0xE32A4ED0},
        {IDS_ACCEPT_AGREEMENT, 0x8AD4A595},
        {IDS_FINISH, 0x2F8BD364},
        {IDS_INSTALLED, 0xBD3CC064},
        {IDS_PRESS_FINISH, 0x098729A9},
        {IDS_CONFIRM_CANCEL, 0xD7B871B5},
        {IDS_SELECT_FOLDER, 0x3E1500BE},
        {IDS_INVALID_FOLDER, 0x7362553A},
        {IDS_OLDER_VERSION_FOLDER, 0x25AD7BFF},
        {IDS_SETUP_ABORTED, 0xBF099C1A},
        {IDS_NEWER_INSTALLED, 0x59E2419D},
        {IDS_SAME_INSTALLED, 0xFEE101A1},
        {IDS_DAMAGED, 0x9965B53C},
        {IDS_PREVIOUS_COPY_FOLDER, 0x0A55B728},
        {IDS_UNINSTALLED, 0xB4AE137A},
        {IDS_YES, 0xB3A43630},
        {IDS_NO, 0x61E6BE1A},
        {IDS_GROUP_TOO_SHORT, 0xAD76FA64},
        {IDS_GROUP_INVALID, 0xC860D24E},
        {IDS_BROWSE_PORTABLE, 0xC6BF9AC3},
        {IDS_BROWSE_FIRST, 0x94B44EE1},
        {IDS_PORTABLE_START, 0x980C5D19},
        {IDS_RESTART_NEEDED, 0x067FEFDF},
        {IDS_RESTART_ON_FINISH, 0x44FDA0DC},
        {IDS_ONE_INSTANCE_OPEN, 0xC60E5317},
        {IDS_HELP_LINK, 0x186BC87E},
    };
    for (UINT id = 0; id <= IDS_HELP_LINK; ++id) {
        const std::basic_string<WCHAR> text = LoadResString(id).Text();
        const auto* const row = std::find_if(std::begin(kTexts), std::end(kTexts),
                                             [&](const auto& known) { return known.first == id; });
        const std::string bytes(text.begin(), text.end());
        EXPECT_EQ(Checksum(bytes), row == std::end(kTexts) ? Checksum("") : row->second)
            << "string " << id << " is now: " << bytes;
    }
}
