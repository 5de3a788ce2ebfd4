// Names of the product and of its files.
#pragma once

#include <windows.h>

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
