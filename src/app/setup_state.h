// The state of one run: which job, how silent, for whom, which folder. Every variable is created before
// InitInstance and lives until the process ends. The program has one thread, so nothing here is locked.
#pragma once

#include <framework.h>

#include "app/run_values.h"

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
// Image types are assigned to the ProgID from Windows 8 on, and to the application's own key before.
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

// The installation folder and the folder of the running program, both without a trailing separator.
extern CString g_targetDir;
extern CString g_sourceDir;
// The program group, as a path relative to the Programs folder.
extern CString g_groupName;
// The folder of the self-extracting package that started this setup; empty without one.
extern CString g_sfxDir;

extern COXInstanceManager g_instanceManager;
extern CSetupApp theApp;
