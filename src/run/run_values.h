// The numbers and flags of one run. Before InitInstance they hold their start values, except for g_osVersion,
// which is read before.
#pragma once

#include <framework.h>

// Values of g_silentMode. A silent run asks nothing.
inline constexpr int kInteractive = 0;
inline constexpr int kSilent = 1;
inline constexpr int kSilentWithLastPage = 2;  // shows the wizard's last page at the end
extern int g_silentMode;

// Values of g_installType.
inline constexpr int kForCurrentUser = 0;
inline constexpr int kForAllUsers = 1;
inline constexpr int kPortable = 2;
extern int g_installType;

// Shortcuts on the desktop and in the Startup folder are wanted.
extern int g_desktopIcon;
extern int g_autoStart;
// At the very end restart the machine if g_rebootNeeded is non-zero, otherwise start the product.
extern int g_runAfter;
// Neither the registry nor the command line named a folder. The machine may still have an installation.
extern int g_freshInstall;
// The result of the latest ScheduleBootReplace.
extern int g_rebootNeeded;
// No version question was needed: the run is silent, or the earlier installation is older.
extern int g_upgradeOlder;
// The result of ReplaceFile for the settings file beside the self-extracting package.
extern int g_settingsFromPackage;

// The numbers of the file whose version was read last.
struct VersionNumbers {
    DWORD major;
    DWORD minor;
    DWORD release;
    DWORD build;
};
extern VersionNumbers g_version;

// The system's version. If it could not be read, all numbers are 0, and the system counts as older than every
// one that the program tells apart.
extern RTL_OSVERSIONINFOEXW g_osVersion;
