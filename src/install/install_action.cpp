#include "install/install_action.h"

#include <io.h>
#include <resource.h>
#include <shlobj.h>

#include "app/process_helpers.h"
#include "app/setup_state.h"
#include "engine/file_ops.h"
#include "engine/manifest.h"
#include "install/shell_links.h"
#include "install/system_registration.h"
#include "support/path_text.h"
#include "support/shell_folders.h"

namespace {

// A shorter path of the common programs folder counts as none.
constexpr int kMinProgramsPathChars = 4;

CString ManifestPath() {
    return g_sourceDir + TEXT("\\") + kLogFile;
}
CString LogPath() {
    return g_targetDir + TEXT("\\") + kLogFile;
}

// The log is about to be overwritten, and with it the only record of the shortcuts made by the earlier
// installation.
void ClearEarlierInstallation() {
    RemoveLoggedLinks(g_targetDir + TEXT("\\") + kOlderLogFile);
    RemoveLoggedLinks(LogPath());
    RunRemovalPass(ManifestPath(), g_targetDir, kFileDel);
}

// The folder that the program group goes into. An all-users install without a common programs folder becomes
// one for the current user, for all that follows.
CString ChooseGroupRoot() {
    CString folder;
    if (g_installType == 1) {
        folder = GetShellFolder(CSIDL_COMMON_PROGRAMS);
        if (folder.GetLength() < kMinProgramsPathChars) g_installType = 0;
    }
    if (g_installType == 0) folder = GetShellFolder(CSIDL_PROGRAMS);
    return folder;
}

// Makes the group with its parent levels, from the top down, and gives its path, made or not.
CString MakeGroupFolders(const CString& root) {
    for (int end = g_groupName.Find('\\'); end > 0; end = g_groupName.Find('\\', end + 1))
        (void)CreateDirectoryW(root + TEXT("\\") + g_groupName.Left(end), nullptr);
    const CString folder = root + TEXT("\\") + g_groupName;
    (void)CreateDirectoryW(folder, nullptr);
    return folder;
}

void MakeLink(const CString& folder, UINT nameId, LPCWSTR file, LPCWSTR workingFolder) {
    (void)MakeShellLink(g_targetDir + TEXT("\\") + file,
                        folder + TEXT("\\") + LoadResString(nameId) + TEXT(".lnk"), TEXT(""),
                        kDefaultShowCommand, nullptr, workingFolder);
}

void MakeApplicationLink(const CString& folder) {
    MakeLink(folder, IDS_PRODUCT, kApplicationFile, GetShellFolder(CSIDL_MYPICTURES));
}

void MakeGroup() {
    const CString root = ChooseGroupRoot();
    g_groupName.Replace('/', '\\');
    g_groupName.Trim(TEXT(" \t\r\n\\"));
    const CString folder = MakeGroupFolders(root);
    // A group that was there before is recorded just the same; the uninstall removes it only when it is
    // empty.
    AppendLogLine(LogPath(), CString(kMadeDir) + folder);
    if (_waccess(folder, 0) != 0) return;
    MakeApplicationLink(folder);
    MakeLink(folder, IDS_HELP_LINK, kHelpFile, nullptr);
}

void TakeSettingsFromPackage() {
    if (g_sfxDir.IsEmpty()) return;
    g_settingsFromPackage = ReplaceFile(kSettingsFile, g_sfxDir, g_targetDir, nullptr);
    (void)ReplaceFile(kSettingsRegFile, g_sfxDir, g_targetDir, nullptr);
}

// The application registers itself beside the rest of the setup.
void StartSelfRegistration() {
    if (g_installType >= 2) return;
    (void)ExecAndWait(TEXT("\"") + g_targetDir + TEXT("\\") + kApplicationFile + TEXT("\" -regonly"), nullptr,
                      0);
}

}  // namespace

void PerformInstall() {
    if (!g_freshInstall) ClearEarlierInstallation();
    RunCopyPass(ManifestPath());
    (void)CopyMatching(kLogFile, g_sourceDir, g_targetDir);
    // An empty line parts the manifest's text from the records that follow.
    AppendLogLine(LogPath(), TEXT(""));
    if (g_installType != kPortable) {
        MakeGroup();
        if (g_desktopIcon)
            MakeApplicationLink(
                GetShellFolder(g_installType == 1 ? CSIDL_COMMON_DESKTOPDIRECTORY : CSIDL_DESKTOP));
        if (g_autoStart)
            MakeApplicationLink(GetShellFolder(g_installType == 1 ? CSIDL_COMMON_STARTUP : CSIDL_STARTUP));
        WriteSystemRegistration();
        RegisterThumbnailHandler();
    }
    TakeSettingsFromPackage();
    StartSelfRegistration();
}
