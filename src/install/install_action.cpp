#include "install/install_action.h"

#include <resource.h>
#include <shlobj.h>

#include "engine/file_ops.h"
#include "engine/manifest.h"
#include "install/log_lines.h"
#include "install/shell_links.h"
#include "install/system_registration.h"
#include "run/process_helpers.h"
#include "run/product.h"
#include "run/run_paths.h"
#include "run/run_values.h"
#include "support/path_text.h"
#include "support/shell_folders.h"

namespace {

// The install is about to overwrite the log, which holds the only record of the earlier installation's shortcuts.
void ClearEarlierInstallation() {
    RemoveLoggedLinks(InTargetDir(kOlderLogFile));
    RemoveLoggedLinks(LogPath());
    // The folders of the "Make Dir: " records go too if they are empty; the others are marked. The copy pass makes them again.
    RunRemovalPass(ManifestPath(), g_targetDir, kFileDel);
}

// The folder of the program group. An install for all users becomes one for the current user, for all later
// steps too, when there is no common Programs folder.
CString ChooseGroupRoot() {
    CString folder;
    if (g_installType == kForAllUsers) {
        folder = GetShellFolder(CSIDL_COMMON_PROGRAMS);
        if (folder.GetLength() < kMinProgramsPathChars) g_installType = kForCurrentUser;
    }
    if (g_installType == kForCurrentUser) folder = GetShellFolder(CSIDL_PROGRAMS);
    return folder;
}

// A shell folder of all users or of the current one, as the install type says.
CString UsersFolder(int common, int own) {
    return GetShellFolder(g_installType == kForAllUsers ? common : own);
}

// Makes the group and its parent levels, from the top down. Returns the group's path, even when it couldn't be made.
CString MakeGroupFolders(const CString& root) {
    for (int end = g_groupName.Find('\\'); end > 0; end = g_groupName.Find('\\', end + 1))
        (void)CreateDirectoryW(root + TEXT("\\") + g_groupName.Left(end), nullptr);
    const CString folder = root + TEXT("\\") + g_groupName;
    (void)CreateDirectoryW(folder, nullptr);
    return folder;
}

void MakeLink(const CString& folder, UINT nameId, LPCWSTR file, LPCWSTR workingFolder) {
    (void)MakeShellLink(InTargetDir(file), folder + TEXT("\\") + LoadResString(nameId) + TEXT(".lnk"),
                        TEXT(""), kDefaultShowCommand, nullptr, workingFolder);
}

void MakeApplicationLink(const CString& folder) {
    MakeLink(folder, IDS_PRODUCT, kApplicationFile, GetShellFolder(CSIDL_MYPICTURES));
}

void MakeGroup() {
    const CString root = ChooseGroupRoot();
    g_groupName.Replace('/', '\\');
    g_groupName.Trim(TEXT(" \t\r\n\\"));
    const CString folder = MakeGroupFolders(root);
    // A group that existed before is recorded, too. The uninstall removes it only when it is empty.
    AppendLogLine(LogPath(), CString(kMadeDir) + folder);
    if (!Exists(folder)) return;
    MakeApplicationLink(folder);
    MakeLink(folder, IDS_HELP_LINK, kHelpFile, nullptr);
}

void TakeSettingsFromPackage() {
    if (g_sfxDir.IsEmpty()) return;
    g_settingsFromPackage = ReplaceFile(kSettingsFile, g_sfxDir, g_targetDir, nullptr);
    (void)ReplaceFile(kSettingsRegFile, g_sfxDir, g_targetDir, nullptr);
}

// The application registers itself while setup continues.
void StartSelfRegistration() {
    if (g_installType >= kPortable) return;
    (void)ExecAndWait(TEXT("\"") + InTargetDir(kApplicationFile) + TEXT("\" -regonly"), nullptr, 0);
}

}  // namespace

void PerformInstall() {
    if (!g_freshInstall) ClearEarlierInstallation();
    RunCopyPass(ManifestPath(), g_sourceDir, g_targetDir);
    (void)CopyMatching(kLogFile, g_sourceDir, g_targetDir);
    // An empty line separates the manifest's text from the records that follow.
    AppendLogLine(LogPath(), TEXT(""));
    if (g_installType != kPortable) {
        MakeGroup();
        if (g_desktopIcon) MakeApplicationLink(UsersFolder(CSIDL_COMMON_DESKTOPDIRECTORY, CSIDL_DESKTOP));
        if (g_autoStart) MakeApplicationLink(UsersFolder(CSIDL_COMMON_STARTUP, CSIDL_STARTUP));
        WriteSystemRegistration();
        RegisterThumbnailHandler();
    }
    TakeSettingsFromPackage();
    StartSelfRegistration();
}
