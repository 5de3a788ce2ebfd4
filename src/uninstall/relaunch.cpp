#include "uninstall/relaunch.h"

#include <process.h>
#include <resource.h>

#include <algorithm>
#include <cstdlib>
#include <optional>

#include "engine/file_ops.h"
#include "install/system_registration.h"
#include "run/process_helpers.h"
#include "run/run_paths.h"
#include "run/run_values.h"
#include "support/path_text.h"
#include "uninstall/uninstall_driver.h"

namespace {

constexpr DWORD kFirstProcessEndsMs = 1000;
constexpr int kFirstProgramPosition = 2;

std::optional<CString> MakeTemporaryName() {
    WCHAR folder[kPathChars];
    WCHAR name[kPathChars];
    const DWORD cchFolder = GetTempPathW(kPathChars, folder);
    if (cchFolder == 0 || cchFolder >= kPathChars) return std::nullopt;
    if (!GetTempFileNameW(folder, TEXT("uni"), 0, name)) return std::nullopt;
    return CString(name);
}

// The runtime joins the arguments with blanks, so an argument that holds a blank must be quoted first.
CString QuotedForJoining(const CString& path) {
    if (path.Find(' ') < 0 && path.Find('\t') < 0) return path;
    return TEXT("\"") + path + TEXT("\"");
}

// Drive and directory of a path, with the closing backslash. None when they don't fit into the runtime's
// buffers, because what the runtime then returns is cut or empty and names another folder.
std::optional<CString> FolderOf(LPCWSTR program) {
    const CString path = program;
    const int cchFolder = std::max(path.ReverseFind('\\'), path.ReverseFind('/')) + 1;
    if (cchFolder >= _MAX_DIR || path.GetLength() >= _MAX_PATH) return std::nullopt;
    WCHAR drive[_MAX_DRIVE];
    WCHAR directory[_MAX_DIR];
    _wsplitpath(program, drive, directory, nullptr, nullptr);
    return CString(drive) + directory;
}

void UnregisterThumbnailHandler(const CString& folder) {
    const CString handler = ThumbnailHandlerPath(folder);
    if (handler.GetLength() <= kNoHandlerChars) return;
    (void)ExecAndWait(TEXT("regsvr32.exe /s /u \"") + handler + TEXT("\""), folder, kUnregisterMs);
}

void UninstallFrom(const CString& folder, LPCWSTR firstProgram) {
    // The handler unregisters itself, so its file must still exist.
    UnregisterThumbnailHandler(folder);
    (void)DeleteFileW(firstProgram);
    PerformUninstall(folder);
    if (g_silentMode == kInteractive) (void)AfxMessageBox(LoadResString(IDS_UNINSTALLED), MB_OK);
}

}  // namespace

void RelaunchFromTemp() {
    const std::optional<CString> copy = MakeTemporaryName();
    const CString own = OwnPath();
    if (!copy || own.IsEmpty()) return;
    (void)CopyFileW(own, *copy, FALSE);
    const LPCWSTR end = nullptr;
    (void)_wexecl(*copy, static_cast<LPCWSTR>(QuotedForJoining(*copy)), TEXT("-delself"),
                  static_cast<LPCWSTR>(QuotedForJoining(own)),
                  g_silentMode != kInteractive ? TEXT("-s") : end, end);
}

void RunTemporaryCopy() {
    Sleep(kFirstProcessEndsMs);
    // The copy marks itself first, so that it is deleted whatever fails later.
    if (const CString own = OwnPath(); !own.IsEmpty()) (void)ScheduleBootDelete(own);
    const LPCWSTR firstProgram = __wargv[kFirstProgramPosition];
    if (const std::optional<CString> folder = FolderOf(firstProgram)) UninstallFrom(*folder, firstProgram);
    std::exit(0);
}
