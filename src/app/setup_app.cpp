#include "app/setup_app.h"

#include <algorithm>
#include <iterator>

#include "install/install_driver.h"
#include "instances/instance_manager.h"
#include "resource.h"
#include "run/process_helpers.h"
#include "run/product.h"
#include "run/run_paths.h"
#include "run/run_values.h"
#include "support/handles.h"
#include "support/path_text.h"
#include "uninstall/relaunch.h"

namespace {

constexpr int kMessageChars = 256;
constexpr DWORD kEnvironmentChars = 1024;
// Tells a running copy that setup closes it. The copy then has kCloseMs to end by itself.
constexpr WPARAM kClosedBySetup = 1001;
constexpr DWORD kCloseMs = 10;

bool IsOption(LPCWSTR argument, LPCWSTR option) {
    return _wcsicmp(argument, option) == 0;
}

// Reads the options about silence and the package into the variables of the run. Returns true when "-s" is among them.
bool ReadOptions() {
    constexpr WCHAR kPackageOption[] = TEXT("-sfxname=");
    constexpr std::size_t cchPackageOption = std::size(kPackageOption) - 1;
    bool explicitSilent = false;
    for (int position = 1; position < __argc; ++position) {
        const LPCWSTR argument = __wargv[position];
        if (IsOption(argument, TEXT("-v"))) {
            g_silentMode = kInteractive;
            break;
        }
        if (IsOption(argument, TEXT("-s"))) {
            explicitSilent = true;
        } else if (IsOption(argument, TEXT("-sconf"))) {
            g_silentMode = kSilentWithLastPage;
            break;
        } else if (wcsncmp(argument, kPackageOption, cchPackageOption) == 0) {
            g_sfxDir = ParentDir(argument + cchPackageOption);
        }
    }
    return explicitSilent;
}

bool IsTemporaryCopy() {
    return __argc > 2 && wcscmp(__wargv[1], TEXT("-delself")) == 0;
}

bool IsInstallJob(const CString& program) {
    if (__argc > 1 && IsOption(__wargv[1], TEXT("-install"))) return true;
    return CString(program).MakeLower().Find(kInstallerNameTest) >= 0;
}

// True when running copies are to be closed without a question. A flag at position 1 doesn't count, on purpose.
bool ClosesUnasked() {
    for (int position = 2; position < __argc; ++position)
        if (IsOption(__wargv[position], TEXT("/s")) || IsOption(__wargv[position], TEXT("-s"))) return true;
    return false;
}

bool ConfirmUninstall(LPCWSTR title) {
    return MessageBoxW(nullptr, LoadResString(IDS_CONFIRM_UNINSTALL), title,
                       MB_YESNO | MB_ICONWARNING | MB_DEFBUTTON2) == IDYES;
}

bool ConfirmClosing(int others, LPCWSTR title) {
    WCHAR message[kMessageChars];
    (void)FormatBounded(message, kMessageChars,
                        LoadResString(others == 1 ? IDS_ONE_INSTANCE_OPEN : IDS_INSTANCES_OPEN), others);
    if (MessageBoxW(nullptr, message, title, MB_YESNO | MB_ICONWARNING) == IDYES) return true;
    (void)MessageBoxW(nullptr, LoadResString(IDS_SETUP_ABORTED), title, MB_OK | MB_ICONINFORMATION);
    return false;
}

// Closes running copies, by force when they don't end at once. Only the first `others` entries are
// visited, because this process is the last one in the list unless a copy started after it. If the list
// has become too short since it was counted, the array's exception ends the process. A count above the
// size of a full list doesn't.
void CloseRunningCopies(int others) {
    CDWordArray ids;
    if (!g_instanceManager.ListInstances(ids)) return;
    const int visited = std::min(others, static_cast<int>(kMaxListedInstances));
    for (int index = 0; index < visited; ++index) {
        const DWORD id = ids[index];
        if (id == GetCurrentProcessId()) continue;
        (void)PostMessageW(COXInstanceManager::FindInstanceWindow(id), WM_CLOSE, kClosedBySetup, 0);
        Sleep(kCloseMs);
        const KernelHandle process(OpenProcess(PROCESS_TERMINATE, FALSE, id));
        if (process) (void)TerminateProcess(process.get(), 0);
    }
}

}  // namespace

BOOL CSetupApp::InitInstance() {
    g_silentMode = kSilent;
    const bool explicitSilent = ReadOptions();
    if (IsTemporaryCopy()) RunTemporaryCopy();

    AfxSetInstanceHandle(GetModuleHandleW(nullptr));
    AfxSetResourceHandle(GetModuleHandleW(nullptr));
    const CString title = LoadResString(IDS_SETUP_TITLE);

    const CString program = OwnPath();
    const bool isInstall = IsInstallJob(program);
    // Without its own path an installer would take the package for an installation, and delete it.
    if (!isInstall && program.IsEmpty()) return 0;
    if (isInstall && !explicitSilent && g_silentMode < kSilentWithLastPage) g_silentMode = kInteractive;
    if (!isInstall && g_silentMode == kInteractive && !ConfirmUninstall(title)) return 0;

    // The list counts this process too. Other processes may have written any count, so the subtraction is
    // done without a sign, where it can't overflow.
    const int others = static_cast<int>(static_cast<DWORD>(g_instanceManager.CountInstances()) - 1);
    if (others > 0) {
        if (isInstall && !ClosesUnasked() && !ConfirmClosing(others, title)) return 1;
        CloseRunningCopies(others);
    }

    if (isInstall) return RunInstall();
    RelaunchFromTemp();
    return 0;
}

void PrepareProcess(CWinApp& application) {
    application.m_pszAppName = kProductName;
    (void)GetOsVersion(&g_osVersion);
    PutOwnFolderOnPath();
    LookUpSystemFunctions();
}

void PutOwnFolderOnPath() {
    const CString folder = ParentDir(OwnPath()).MakeLower();
    WCHAR value[kEnvironmentChars] = {};
    // A result of at least the buffer's length is the length needed, and the buffer holds no text.
    if (GetEnvironmentVariableW(TEXT("Path"), value, kEnvironmentChars) >= kEnvironmentChars) return;
    const CString path = CString(value).MakeLower();
    if (path.Find(folder) < 0) (void)SetEnvironmentVariableW(TEXT("Path"), folder + TEXT(";") + path);
}
