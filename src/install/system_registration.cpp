#include "install/system_registration.h"

#include <resource.h>

#include "run/process_helpers.h"
#include "run/product.h"
#include "run/run_paths.h"
#include "run/run_values.h"
#include "support/path_text.h"
#include "support/registry.h"

ExtensionRow g_extensionTable[kExtensionCount] = {
    {TEXT(".bmp"), 0}, {TEXT(".dib"), 0},  {TEXT(".gif"), 0}, {TEXT(".jpg"), 0}, {TEXT(".jpeg"), 0},
    {TEXT(".tif"), 0}, {TEXT(".tiff"), 0}, {TEXT(".png"), 0}, {TEXT(".cmp"), 0}, {TEXT(".tga"), 0},
    {TEXT(".wpg"), 0}, {TEXT(".jp2"), 0},  {TEXT(".j2k"), 0}, {TEXT(".qvi"), 1},
};

namespace {

constexpr WCHAR kCapabilitiesKey[] = TEXT("SOFTWARE\\Lorvanta\\Qantivo 8\\Capabilities");
constexpr WCHAR kFileAssociationsKey[] =
    TEXT("SOFTWARE\\Lorvanta\\Qantivo 8\\Capabilities\\FileAssociations");
constexpr std::size_t kVersionTextChars = 128;

// Windows 8 is the first system that takes a ProgID of the product's own here. Earlier
// systems take the application's key.
LPCWSTR AssociationTarget() {
    const bool windows8 = g_osVersion.dwMajorVersion > 6 ||
                          (g_osVersion.dwMajorVersion == 6 && g_osVersion.dwMinorVersion >= 2);
    return windows8 ? kProgId : kApplicationProgId;
}

void WriteUninstallEntry() {
    const HKEY hive = HKEY_LOCAL_MACHINE;
    const int major = static_cast<int>(g_version.major);
    const int minor = static_cast<int>(g_version.minor);
    WCHAR text[kVersionTextChars];
    (void)SetRegString(hive, kUninstallKey, TEXT("Contact"), TEXT("Support"));
    (void)SetRegString(hive, kUninstallKey, TEXT("DisplayName"), LoadResString(IDS_PRODUCT));
    (void)SetRegString(hive, kUninstallKey, TEXT("InstallLocation"), g_targetDir);
    (void)FormatBounded(text, kVersionTextChars, TEXT("%d.%02d.%02d"), major, minor,
                        static_cast<int>(g_version.release));
    (void)SetRegString(hive, kUninstallKey, TEXT("DisplayVersion"), text);
    (void)FormatBounded(text, kVersionTextChars, TEXT("%d"), major);
    (void)SetRegString(hive, kUninstallKey, TEXT("VersionMajor"), text);
    (void)FormatBounded(text, kVersionTextChars, TEXT("%d"), minor);
    (void)SetRegString(hive, kUninstallKey, TEXT("VersionMinor"), text);
    (void)SetRegDword(hive, kUninstallKey, TEXT("MajorVersion"), g_version.major);
    (void)SetRegDword(hive, kUninstallKey, TEXT("MinorVersion"), g_version.minor);
    (void)SetRegString(hive, kUninstallKey, TEXT("Publisher"), TEXT("Lorvanta Technology LLC"));
    (void)SetRegString(hive, kUninstallKey, TEXT("UninstallString"), InTargetDir(kUninstallerFile));
    (void)SetRegString(hive, kUninstallKey, TEXT("URLInfoAbout"), QTV_WIDE(QTV_WEB_SITE));
}

}  // namespace

void WriteSystemRegistration() {
    const HKEY hive = HKEY_LOCAL_MACHINE;
    const CString application = InTargetDir(kApplicationFile);
    const CString openCommand = TEXT("\"") + application + TEXT("\" \"%1\"");

    (void)SetRegString(hive, kProductKey, TEXT("AllUsers"),
                       g_installType == kForAllUsers ? TEXT("B") : TEXT("A"));
    (void)SetRegString(hive, kProductKey, TEXT("Path"), g_targetDir);
    (void)SetRegString(HKEY_CLASSES_ROOT, CString(kProgId) + TEXT("\\shell\\open\\command"), nullptr,
                       openCommand);
    for (const ExtensionRow& row : g_extensionTable)
        (void)SetRegString(hive, kFileAssociationsKey, row.extension, AssociationTarget());
    (void)SetRegString(hive, TEXT("SOFTWARE\\RegisteredApplications"), kProgId, kCapabilitiesKey);
    (void)SetRegString(hive, kAppPathsKey, nullptr, application);
    (void)SetRegString(hive, kAppPathsKey, TEXT("Path"), g_targetDir);
    WriteUninstallEntry();
    (void)SetRegString(HKEY_CLASSES_ROOT, CString(kApplicationProgId) + TEXT("\\shell\\open\\command"),
                       nullptr, openCommand);
}

CString ThumbnailHandlerPath(LPCWSTR folder) {
    const bool vista = g_osVersion.dwMajorVersion >= 6;
    if (IsWow64()) return vista ? folder + CString(TEXT("x64\\ThumbQvi64.dll")) : CString();
    return folder + CString(vista ? TEXT("ThumbQvi32.dll") : TEXT("ThumbQviXP32.dll"));
}

void RegisterThumbnailHandler() {
    const CString handler = ThumbnailHandlerPath(g_targetDir + TEXT("\\"));
    if (handler.GetLength() <= kNoHandlerChars) return;
    (void)ExecAndWait(TEXT("regsvr32.exe /s \"") + handler + TEXT("\""), nullptr, 0);
}
