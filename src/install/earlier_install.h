// What an earlier installation in g_targetDir decides about this one.
#pragma once

// Compares the installed version with that in g_sourceDir, which g_version holds afterwards. An older one or
// a silent run needs no question (g_upgradeOlder becomes 1). False when the user was asked and didn't answer
// with Yes.
bool AgreeToReplaceVersion();

// Takes up the earlier choice of users (g_installType); a portable install is left alone.
void TakeUpInstallType();

// Takes up the program group (g_groupName) from the last shortcut that the log names below the Programs
// folder, but not below the Startup folder. The older log is read only when the present one can't be opened.
void TakeUpGroup();

// Takes up the Startup choice (g_autoStart) from the shortcut in either Startup folder. Tries on the way
// whether the all-users one takes a file.
void TakeUpAutoStart();
