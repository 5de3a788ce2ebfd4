// What an earlier installation in g_targetDir decides about this one.
#pragma once

// Compares the installed version with the one in g_sourceDir, which g_version holds afterwards. If the
// installed one is older or the run is silent, no question is needed and g_upgradeOlder becomes 1. Returns
// false when the user was asked and didn't answer Yes.
bool AgreeToReplaceVersion();

// Takes over the install type of the earlier installation (g_installType). A portable install stays portable.
void AdoptInstallType();

// Takes over the program group (g_groupName) from the last shortcut in the log that lies below the Programs
// folder and not below the Startup folder. The older log is read only when the present one can't be opened.
void AdoptGroup();

// Takes over the Startup choice (g_autoStart): 1 when either Startup folder holds the product's shortcut. It
// also tests whether a file can be created in the folder of all users.
void AdoptAutoStart();
