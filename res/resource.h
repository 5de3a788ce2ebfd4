// Ids of the program's resources, and the maker's addresses, for the resource script and the code.
#pragma once

// The maker's addresses. They are narrow literals, so that the resource script can join them with other text.
// The code uses them through QTV_WIDE.
#define QTV_HOME_PAGE "http://www.lorvanta.example/"  // shown and opened when the setup files are damaged
#define QTV_WEB_SITE "http://www.lorvanta.example/qantivo/"  // URLInfoAbout of the installed program
#define QTV_WEB_SERVER "www.lorvanta.example"                // server of the page at the end of an install
#define QTV_WIDE(text) TEXT(text)

// Strings. The numbers are fixed, and the gaps stay.
#define IDS_PRODUCT 1
#define IDS_SETUP_TITLE 2
#define IDS_PRODUCT_SHORT 3
#define IDS_INSTANCES_OPEN 4
#define IDS_CONFIRM_UNINSTALL 6
#define IDS_ACCEPT_AGREEMENT 7
#define IDS_FINISH 8
#define IDS_INSTALLED 9
#define IDS_PRESS_FINISH 10
#define IDS_CONFIRM_CANCEL 11
#define IDS_SELECT_FOLDER 12
#define IDS_INVALID_FOLDER 13
#define IDS_OLDER_VERSION_FOLDER 14
#define IDS_SETUP_ABORTED 15
#define IDS_NEWER_INSTALLED 16
#define IDS_SAME_INSTALLED 17
#define IDS_DAMAGED 18
#define IDS_PREVIOUS_COPY_FOLDER 19
#define IDS_UNINSTALLED 20
#define IDS_YES 21
#define IDS_NO 22
#define IDS_GROUP_TOO_SHORT 23
#define IDS_GROUP_INVALID 24
#define IDS_BROWSE_PORTABLE 26
#define IDS_BROWSE_FIRST 27
#define IDS_PORTABLE_START 28
#define IDS_RESTART_NEEDED 30
#define IDS_RESTART_ON_FINISH 31
#define IDS_ONE_INSTANCE_OPEN 33
#define IDS_HELP_LINK 101

// The wizard's frame, its pages, and the picture at the side.
#define IDB_SIDE 101
#define IDD_SETUP 103
#define IDD_AGREEMENT 104
#define IDD_INTO 105
#define IDD_FOLDER 106
#define IDD_GROUP 107
#define IDD_START 108

// Controls of the frame. Next is IDOK and Cancel is IDCANCEL.
#define IDC_BACK 3
#define IDC_PICTURE 1002
// Of the agreement page.
#define IDC_AGREEMENT 1000
// Of the welcome page.
#define IDC_VERSION 1003
// Of the destination page.
#define IDC_FOR_USER 1001
#define IDC_FOR_ALL 1002
#define IDC_PORTABLE 1003
#define IDC_BROWSE 1005
#define IDC_HINT 1006
#define IDC_FOLDER 1013
// Of the group page.
#define IDC_GROUP 1000
#define IDC_AUTOSTART 1008
#define IDC_DESKTOP 1009
// Of the ready page, which is also the last page.
#define IDC_WAIT_OR_PORTABLE 1009
#define IDC_HEADLINE 1010
#define IDC_ADVICE 1011
#define IDC_RUN_AFTER 1012

// The icon of the program. Windows shows the icon with the lowest id.
#define IDI_SETUP 128
