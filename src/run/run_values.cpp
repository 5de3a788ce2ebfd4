#include "run/run_values.h"

int g_silentMode = kSilent;
int g_installType = kForAllUsers;
int g_desktopIcon = 1;
int g_autoStart = 0;
int g_runAfter = 0;
int g_freshInstall = 0;
int g_rebootNeeded = 0;
int g_upgradeOlder = 0;
int g_settingsFromPackage = 0;
VersionNumbers g_version = {};
RTL_OSVERSIONINFOEXW g_osVersion = {};
