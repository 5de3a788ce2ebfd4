#include "download_app.h"

#include "command_line.h"
#include "private_folder.h"
#include "progress_dlg.h"
#include "ids.h"
#include "rebuild.h"
#include "refusal_dlg.h"
#include "support/path_text.h"

namespace {

using namespace download;

constexpr DWORD kMostPathChars = 32767;
// Two sentences, a version, and a path in the installation folder.
constexpr std::size_t kRefusalChars = 3000;
constexpr DWORD kSearchSystemFolder = 0x800;  // LOAD_LIBRARY_SEARCH_SYSTEM32

// A library that the system loads later comes from the system's folder only. Systems that are too old for this don't
// know the function.
void RestrictLibraries() {
    using SetDirectories = BOOL(WINAPI*)(DWORD);
    const FARPROC function =
        GetProcAddress(GetModuleHandleW(TEXT("kernel32.dll")), "SetDefaultDllDirectories");
    if (function)
        (void)reinterpret_cast<SetDirectories>(reinterpret_cast<void*>(function))(kSearchSystemFolder);
}

CString OwnPath() {
    CString::Store path(kMostPathChars, 0);
    path.resize(GetModuleFileNameW(nullptr, path.data(), kMostPathChars));
    return path;
}

// How one start ends.
struct Result {
    Outcome outcome = Outcome::Failed;
    std::optional<DWORD> exitCode;  // of setup, when it was started
};

constexpr DWORD kPollMs = 100;

// Returns false when setup can't be started.
bool RunSetup(const CString& own, const CString& folder, const Progress& progress, Result& result) {
    CString line = TEXT("\"") + folder + TEXT("\\setup.exe\" \"-sfxname=") + own + TEXT("\" ") +
                   OwnArguments(GetCommandLineW());
    CString::Store buffer = line.Text();
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, buffer.data(), nullptr, nullptr, FALSE, 0, nullptr, folder, &startup,
                        &process))
        return false;
    const KernelHandle thread(process.hThread), setup(process.hProcess);
    if (progress.onStarted) progress.onStarted();
    DWORD exitCode = static_cast<DWORD>(Outcome::Failed);
    // The folder stays while setup runs, even if the system refuses to wait.
    while (WaitForSingleObject(setup.get(), INFINITE) != WAIT_OBJECT_0 &&
           GetExitCodeProcess(setup.get(), &exitCode) && exitCode == STILL_ACTIVE)
        Sleep(kPollMs);
    (void)GetExitCodeProcess(setup.get(), &exitCode);
    result.exitCode = exitCode;
    return true;
}

Result Carry(const Archive& archive, Installation& installation, Progress& progress) {
    Result result;
    PrivateFolder folder;
    result.outcome = folder.Make(archive.table);
    if (result.outcome != Outcome::Right) return result;
    folder.RemoveOthers();
    const bool isUpdate = !archive.table.rebuilt.empty();
    result.outcome = isUpdate && !installation.HasVersion(archive.table.earlierVersion)
                         ? Outcome::OtherInstallation
                         : Unpack(archive, folder.Path(), progress);
    if (result.outcome == Outcome::Right)
        result.outcome = Rebuild(archive, installation, folder.Path(), progress);
    if (result.outcome == Outcome::Right && !RunSetup(archive.path, folder.Path(), progress, result))
        result.outcome = Outcome::Failed;
    return result;
}

Result RunJob(bool isSilent, const Archive& archive, Installation& installation) {
    Result result;
    Progress progress(archive.table);
    const auto carry = [&] { result = Carry(archive, installation, progress); };
    // Without a window the job runs all the same.
    if (isSilent || CProgressDlg(carry, progress).DoModal() == -1) carry();
    return result;
}

// Says why an update can't be installed.
void ShowRefusal(const Table& table, const Installation& installation) {
    const CString version(table.earlierVersion), address(table.fullUrl);
    WCHAR text[kRefusalChars];
    if (!installation.Differing().empty())
        (void)FormatBounded(text, kRefusalChars, LoadResString(IDS_OTHER_FILE), LPCWSTR(version),
                            LPCWSTR(installation.PathOf(installation.Differing())));
    else
        (void)FormatBounded(text, kRefusalChars, LoadResString(IDS_NOT_INSTALLED), LPCWSTR(version));
    if (address.IsEmpty() || CRefusalDlg(text, address).DoModal() == -1)
        (void)AfxMessageBox(text, MB_OK | MB_ICONSTOP);
}

UINT TextOf(Outcome outcome) {
    switch (outcome) {
        case Outcome::Damaged:
            return IDS_DAMAGED;
        case Outcome::NoSpace:
            return IDS_NO_SPACE;
        case Outcome::NoRights:
            return IDS_NO_RIGHTS;
        default:
            return IDS_FAILED;
    }
}

}  // namespace

IMPLEMENT_DYNAMIC(CDownloadApp, CWinApp)

int CDownloadApp::Run() {
    RestrictLibraries();
    AfxSetResourceHandle(GetModuleHandleW(nullptr));
    m_name = LoadResString(IDS_PRODUCT_NAME);
    m_pszAppName = m_name;
    const bool isSilent = IsSilentRun();
    Archive archive;
    Result result{OpenArchive(OwnPath(), archive), {}};
    Installation installation(FindInstallation());
    if (result.outcome == Outcome::Right) result = RunJob(isSilent, archive, installation);
    if (result.exitCode) return static_cast<int>(*result.exitCode);
    if (isSilent || result.outcome == Outcome::Cancelled) return static_cast<int>(result.outcome);
    if (result.outcome == Outcome::OtherInstallation)
        ShowRefusal(archive.table, installation);
    else
        (void)AfxMessageBox(LoadResString(TextOf(result.outcome)), MB_OK | MB_ICONSTOP);
    return static_cast<int>(result.outcome);
}

CDownloadApp theApp;
