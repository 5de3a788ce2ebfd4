// Message strings that invite a correction reach the program to the letter, spelling included.
#include <framework.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "resource.h"
#include "support/path_text.h"

using Text = std::basic_string<WCHAR>;

TEST(ResourceStrings, KeepTheirSpelling) {
    static const std::pair<UINT, LPCWSTR> kTexts[] = {
        {IDS_SELECT_FOLDER, TEXT("Select the folder where where Qantivo should be installed.")},
        {IDS_INVALID_FOLDER,
         TEXT("You have entered and invalid folder name. Please correct.\nIf you want to create a new "
              "folder, select its parent folder in the list and click \"Make New Foilder\" button.")},
        {IDS_NEWER_INSTALLED,
         TEXT("Qantivo v. %d.%02d.%02d.%02d is already installed on this machine. You are trying to install "
              "an older version %d.%02d.%02d.%02d .\n\nDo you still want to continue?")},
    };
    for (const auto& [id, text] : kTexts) {
        EXPECT_EQ(Text(static_cast<LPCWSTR>(LoadResString(id))), text) << "string " << id;
    }
    EXPECT_TRUE(LoadResString(5).IsEmpty());
}
