#include "install/install_driver.h"

#include <resource.h>
#include <shellapi.h>

#include <cstdlib>

#include "app/setup_app.h"
#include "install/earlier_install.h"
#include "install/file_version.h"
#include "install/install_action.h"
#include "run/earlier_folder.h"
#include "run/process_helpers.h"
#include "run/product.h"
#include "run/run_paths.h"
#include "run/run_values.h"
#include "support/handles.h"
#include "support/path_text.h"
#include "support/registry.h"
#include "wizard/setup_dlg.h"

namespace {

// The reason that Windows notes for the restart: planned, for the installation of an application.
constexpr DWORD kRestartReason = 0x80040002;

// The wizard opens at the step after the one given.
constexpr int kFirstStep = -1;
constexpr int kReadyStep = 4;

// Reads the options of the install into the variables of the run.
void ReadInstallOptions() {
    for (int i = 1; i < __argc; ++i) {
        const CString argument = __wargv[i];
        if (argument.Find(TEXT("-inst")) == 0) {
            if (argument == TEXT("-instport")) g_installType = kPortable;
        } else if (argument.CompareNoCase(TEXT("-runafter")) == 0) {
            g_runAfter = 1;
        } else if (g_installType == kForCurrentUser && argument.CompareNoCase(TEXT("-allusers")) == 0) {
            g_installType = kForAllUsers;
        } else if (argument.CompareNoCase(TEXT("-autostart")) == 0) {
            g_autoStart = 1;
        } else if (argument.CompareNoCase(TEXT("-nodeskico")) == 0) {
            g_desktopIcon = 0;
        }
    }
}

void ChooseTargetFolder(const CString& folderArg) {
    if (!folderArg.IsEmpty()) g_targetDir = folderArg;
    if (!g_targetDir.IsEmpty()) return;
    g_targetDir = GetProgramFilesDir() + TEXT("\\") + kProductName;
    g_freshInstall = 1;
}

// Reads the version to install and the choices to keep of an earlier installation. Returns false when the
// user doesn't want that installation replaced.
bool AdoptEarlierInstallation() {
    if (g_freshInstall) {
        ReadFileVersion(InSourceDir(kApplicationFile));
        return true;
    }
    if (!AgreeToReplaceVersion()) return false;
    AdoptInstallType();
    AdoptGroup();
    AdoptAutoStart();
    return true;
}

// Without a source folder, a path made from it would name a file in the root of the drive.
bool SetupFilesAreWhole() {
    return !g_sourceDir.IsEmpty() && g_version.major != 0 && Exists(ManifestPath());
}

// Shows the wizard: its last page for kReadyStep, otherwise its first. Returns true when the user finished it.
bool RunWizard(int step) {
    CSetupDlg wizard;
    wizard.m_page = step;
    theApp.m_pMainWnd = &wizard;
    return wizard.DoModal() == IDOK;
}

void InstallSilently() {
    if (g_freshInstall) g_installType = kForAllUsers;
    PerformInstall();
    if (g_silentMode == kSilentWithLastPage) (void)RunWizard(kReadyStep);
}

void RestartMachine() {
    HANDLE opened = nullptr;
    if (g_openProcessToken) (void)g_openProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &opened);
    if (const KernelHandle token{opened}) (void)EnablePrivilege(token.get(), TEXT("SeShutdownPrivilege"), 1);
    (void)ExitWindowsEx(EWX_REBOOT, kRestartReason);
}

void RestartOrStartProduct() {
    if (g_rebootNeeded != 0) {
        RestartMachine();
        return;
    }
    // The path is quoted. If the folder holds a blank, Windows would otherwise start a program that is
    // named by the text in front of it.
    (void)ExecAndWait(TEXT("\"") + InTargetDir(kApplicationFile) + TEXT("\""), nullptr, 0);
}

}  // namespace

int RunInstall() {
    g_targetDir = GetInstalledFolder();
    g_sourceDir = GetSourceFolder();
    ReadInstallOptions();
    ChooseTargetFolder(GetFolderOption());
    g_groupName = kProductName;
    if (!AdoptEarlierInstallation()) return 1;
    if (!SetupFilesAreWhole()) AbortDamaged();
    if (g_silentMode != kInteractive)
        InstallSilently();
    else if (!RunWizard(kFirstStep))
        return 1;
    (void)SetCurrentDirectoryW(g_targetDir);
    if (g_runAfter) RestartOrStartProduct();
    return 0;
}

CString GetSourceFolder() {
    return ParentDir(OwnPath());
}

CString GetProgramFilesDir() {
    CString folder = GetRegString(HKEY_LOCAL_MACHINE, TEXT("SOFTWARE\\Microsoft\\Windows\\CurrentVersion"),
                                  TEXT("ProgramFilesDir"));
    if (folder.IsEmpty()) {
        WCHAR windows[kPathChars] = {};
        (void)GetWindowsDirectoryW(windows, kPathChars);
        const CString path = windows;
        folder = path.Left(path.Find('\\') + 1) + TEXT("Program Files");
    }
    return folder.Last() == '\\' ? folder.Left(folder.GetLength() - 1) : folder;
}

void AbortDamaged() {
    (void)AfxMessageBox(LoadResString(IDS_DAMAGED), MB_OK | MB_ICONSTOP);
    (void)ShellExecuteW(nullptr, TEXT("open"), QTV_WIDE(QTV_HOME_PAGE), nullptr, nullptr, SW_SHOW);
    std::exit(1);
}
