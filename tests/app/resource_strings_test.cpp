// The message strings reach the program to the letter, spelling included.
#include <framework.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "resource.h"
#include "support/path_text.h"

using Text = std::basic_string<WCHAR>;

TEST(ResourceStrings, HoldTheirTextsToTheLetter) {
    static const std::pair<UINT, LPCWSTR> kTexts[] = {
        {IDS_PRODUCT, TEXT("Qantivo 8")},
        {IDS_SETUP_TITLE, TEXT("Qantivo Setup")},
        {IDS_PRODUCT_SHORT, TEXT("Qantivo")},
        {IDS_INSTANCES_OPEN,
         TEXT("%d instances of Qantivo are currently opened. ff you click \"Yes\" button, SETUP will try to "
              "close them without saving any editing work you may have done. \n\nContinue installation?")},
        {IDS_CONFIRM_UNINSTALL, TEXT("This will completely uninstall Qantivo 8.\nDo you want to continue?")},
        {IDS_ACCEPT_AGREEMENT, TEXT("Please accept the License Agreement")},
        {IDS_FINISH, TEXT("&Finish >")},
        {IDS_INSTALLED, TEXT("Qantivo 8 has been successfully installed.")},
        {IDS_PRESS_FINISH, TEXT("Press the Finish button to exit this installation.")},
        {IDS_CONFIRM_CANCEL, TEXT("Do you really want to cancel Qantivo setup?")},
        {IDS_SELECT_FOLDER, TEXT("Select the folder where where Qantivo should be installed.")},
        {IDS_INVALID_FOLDER,
         TEXT("You have entered and invalid folder name. Please correct.\nIf you want to create a new "
              "folder, select its parent folder in the list and click \"Make New Foilder\" button.")},
        {IDS_OLDER_VERSION_FOLDER, TEXT("Qantivo ver. 8 can not be installed into the same folder where the "
                                        "older version is. Please select a different folder.")},
        {IDS_SETUP_ABORTED,
         TEXT("Setup of Qantivo aborted. Please close other instances of Qantivo manually, saving any "
              "editing work you have done in them, then restart this setup program.")},
        {IDS_NEWER_INSTALLED,
         TEXT("Qantivo v. %d.%02d.%02d.%02d is already installed on this machine. You are trying to install "
              "an older version %d.%02d.%02d.%02d .\n\nDo you still want to continue?")},
        {IDS_SAME_INSTALLED,
         TEXT("Qantivo ver. %d.%02d.%02d.%02d is already installed on this machine.\n\nWould you like to run "
              "this setup again to select different options or repair the files?")},
        {IDS_DAMAGED,
         TEXT(
             "This setup files are damaged, installation aborted.\n\nPlease download the product again from ")
             QTV_WIDE(QTV_HOME_PAGE) TEXT(" and re-try the setup.")},
        {IDS_PREVIOUS_COPY_FOLDER,
         TEXT("This folder already contains a previous copy of Qantivo 8. To upgrade or re-install that "
              "copy, please do not change the destination folder.")},
        {IDS_UNINSTALLED,
         TEXT("Qantivo 8 has been completely uninstalled from this computer.\n\nIf some Qantivo files could "
              "not be deleted at this time, they will be removed upon the reboot of this computer.")},
        {IDS_YES, TEXT("Yes")},
        {IDS_NO, TEXT("No")},
        {IDS_GROUP_TOO_SHORT, TEXT("Error: Please enter a valid group name, minimum 3 letters")},
        {IDS_GROUP_INVALID,
         TEXT("Error: Can not install shortcuts into this group, please select a different name.")},
        {IDS_BROWSE_PORTABLE,
         TEXT("Click the Browse button and select a folder on a removable disk/USB key or network drive.")},
        {IDS_BROWSE_FIRST,
         TEXT("Please click BROWSE button first and select the folder for portable installation.")},
        {IDS_PORTABLE_START, TEXT("To run portable Qantivo, double-click 'StartQV8' icon located at:\n%s")},
        {IDS_RESTART_NEEDED, TEXT("It is necessary to restart your computer before using the product, "
                                  "otherwise it may not work correctly.")},
        {IDS_RESTART_ON_FINISH, TEXT("Restart the computer when I click \"Finish\"")},
        {IDS_ONE_INSTANCE_OPEN,
         TEXT("1 instance of Qantivo is currently opened. If you click \"Yes\" button, SETUP will try to "
              "close it without saving any editing work you may have done. \n\nContinue installation?")},
        {IDS_HELP_LINK, TEXT("Qantivo 8 Help")},
    };
    for (const auto& [id, text] : kTexts) {
        EXPECT_EQ(Text(static_cast<LPCWSTR>(LoadResString(id))), text) << "string " << id;
    }
    for (UINT id : {0u, 5u, 25u, 29u, 32u, 34u, 100u, 102u}) {
        EXPECT_TRUE(LoadResString(id).IsEmpty()) << "string " << id;
    }
}
