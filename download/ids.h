// Ids of the download's resources.
#pragma once

// The maker of downloads writes the name of the product here. It is alone in its block of 16 strings.
#define IDS_PRODUCT_NAME 1
// One for each outcome.
#define IDS_FAILED 18
#define IDS_DAMAGED 19
#define IDS_NO_SPACE 20
#define IDS_NO_RIGHTS 21
#define IDS_SHARE 22
#define IDS_NOT_INSTALLED 23
#define IDS_OTHER_FILE 24

#define IDD_PROGRESS 101
#define IDC_TEXT 1000
#define IDC_BAR 1001

#define IDD_REFUSAL 102
#define IDC_ADDRESS 1002
