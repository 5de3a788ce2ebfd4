// The state of one run: what job, how quiet, for whom, which folder. Every variable is created before
// InitInstance and lives until the process ends. The program has one thread; nothing here is locked.
#pragma once

#include <framework.h>

class COXInstanceManager;
class CSetupApp;

// Names of the product and its files.
inline constexpr WCHAR kProductName[] = TEXT("Qantivo 8");
inline constexpr WCHAR kApplicationFile[] = TEXT("QtvApp8.exe");
inline constexpr WCHAR kHelpFile[] = TEXT("QtvApp8Man.chm");
inline constexpr WCHAR kSettingsFile[] = TEXT("QtvApp8.ini");
inline constexpr WCHAR kSettingsRegFile[] = TEXT("QtvApp8.reg");
inline constexpr WCHAR kUninstallerFile[] = TEXT("QtvUnInst.exe");
inline constexpr WCHAR kLogFile[] = TEXT("QtvUnInst.log");
inline constexpr WCHAR kOlderLogFile[] = TEXT("install.log");
// What an image type is given to: the ProgID from Windows 8 on, the application's own key before.
inline constexpr WCHAR kProgId[] = TEXT("Qantivo.8");
inline constexpr WCHAR kApplicationProgId[] = TEXT("Applications\\QtvApp8.exe");
inline constexpr WCHAR kProductKey[] = TEXT("SOFTWARE\\Lorvanta\\Qantivo 8");
inline constexpr WCHAR kAppPathsKey[] =
    TEXT("SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\QtvApp8.exe");
inline constexpr WCHAR kUninstallKey[] =
    TEXT("SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Qantivo 8");
inline constexpr WCHAR kInstanceListName[] = TEXT("Lorvanta.Qantivo-ZR.v4");
inline constexpr DWORD kInstanceExtraBytes = 1024;
inline constexpr WCHAR kInstallerNameTest[] = TEXT("setup.exe");
inline constexpr WCHAR kVersionTitlePattern[] = TEXT("Qantivo 8.%02d.%02d");

// 0 interactive, 1 silent, 2 silent and then a closing wizard page.
extern int g_silentMode;
// 0 for the current user, 1 for all users, 2 portable.
extern int g_installType;
inline constexpr int kPortable = 2;
extern int g_desktopIcon;
extern int g_autoStart;
// At the very end restart the machine if g_rebootNeeded is non-zero, otherwise start the product.
extern int g_runAfter;
// Neither the registry nor the command line gave a folder. It does not say that the machine is clean.
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

// Installation folder, and folder of the running program; both without a trailing separator.
extern CString g_targetDir;
extern CString g_sourceDir;
// Program group below the Programs folder, as a relative path.
extern CString g_groupName;
// Folder of the self-extracting package that started this setup; empty without one.
extern CString g_sfxDir;

// All numbers of the version 0 when the query failed, and so older than every system told apart here.
extern RTL_OSVERSIONINFOEXW g_osVersion;

extern COXInstanceManager g_instanceManager;
extern CSetupApp theApp;
