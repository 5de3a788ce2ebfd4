// Replaces a package's setup program, or the program that starts a download. Environment variables say what it does:
//   setup.exe      writes what it sees to the file QTV_RECORD, and exits with QTV_EXIT. With QTV_HOLD it leaves a program
//                  running whose current folder is that of the package
//   another name   starts the command line QTV_LINE, answers each message box with OK, prints the boxes and the exit code.
//                  With QTV_TEXTS it prints the texts of the version of that program instead, in UTF-8.
//                  With QTV_PAGE it cancels or kills the program as soon as that shows its page: "cancel", "kill"
#include <windows.h>
#include <commctrl.h>
#include <sddl.h>

#include <cstdio>
#include <cwchar>

#include "common/hang.h"
#include "common/message_boxes.h"
#include "lab/program.h"

namespace {

constexpr DWORD kPollMs = 50;
constexpr int kShare = 1001;  // the bar of the download's page
constexpr wchar_t kDone[] = L"download is done";
constexpr int kHidePolls = 100;

std::wstring Variable(const wchar_t* name) {
    const wchar_t* const value = _wgetenv(name);
    return value ? value : L"";
}

// Returns the dialog that follows `last`. Nobody but the download shows one.
HWND NextDialog(HWND last) {
    return FindWindowExW(nullptr, last, L"#32770", nullptr);
}

std::wstring RightsOf(const wchar_t* path) {
    BYTE descriptor[4096];
    DWORD size = 0;
    LPWSTR text = nullptr;
    if (!GetFileSecurityW(path, DACL_SECURITY_INFORMATION, descriptor, sizeof descriptor, &size) ||
        !ConvertSecurityDescriptorToStringSecurityDescriptorW(descriptor, SDDL_REVISION_1,
                                                              DACL_SECURITY_INFORMATION, &text, nullptr))
        return L"unknown";
    const std::wstring rights = text;
    (void)LocalFree(text);
    return rights;
}

int Record() {
    wchar_t folder[MAX_PATH] = {};
    (void)GetCurrentDirectoryW(MAX_PATH, folder);
    const HWND page = NextDialog(nullptr);
    for (int poll = 0; poll < kHidePolls && IsWindowVisible(page); ++poll)
        Sleep(kPollMs);
    const char* const shown = !page ? "none" : IsWindowVisible(page) ? "visible" : "hidden";
    FILE* const file = _wfopen(Variable(L"QTV_RECORD").c_str(), L"wb");
    if (!file) return 98;
    (void)std::fprintf(file, "line %ls\nfolder %ls\npage %s\nrights %ls\n", GetCommandLineW(), folder, shown,
                       RightsOf(L".").c_str());
    (void)std::fclose(file);
    if (!Variable(L"QTV_HOLD").empty()) {
        SetEnvironmentVariableW(L"QTV_LINE", L"");
        if (!lab::Program(Variable(L"QTV_HOLD"))) return 99;
    }
    return static_cast<int>(std::wcstoul(Variable(L"QTV_EXIT").c_str(), nullptr, 16));
}

int Launch(const std::wstring& line) {
    const HANDLE done = CreateEventW(nullptr, TRUE, FALSE, kDone);
    const lab::Program program(line);
    if (!program) return 99;
    const std::wstring page = Variable(L"QTV_PAGE");
    while (!program.EndsWithin(page.empty() ? kPollMs : 1))
        for (HWND box = nullptr; (box = NextDialog(box));) {
            wchar_t text[1024] = {};
            if (!IsWindowVisible(box)) continue;
            if (page == L"cancel") (void)PostMessageW(box, WM_COMMAND, IDCANCEL, 0);
            // Some of its files are there when the page shows a share.
            if (page == L"kill" && SendMessageW(GetDlgItem(box, kShare), PBM_GETPOS, 0, 0) > 0)
                (void)TerminateProcess(program.Process(), 9);
            if (!GetDlgItemTextW(box, tools::kBoxText, text, 1024)) continue;
            std::printf("box %ls\n", text);
            (void)SendMessageW(box, WM_COMMAND, IDOK, 0);
        }
    std::printf("ended %lX\n", program.ExitCode());
    (void)SetEvent(done);
    return 0;
}

// Prints what the file properties show.
int ShowTexts(const std::wstring& program) {
    std::string block(GetFileVersionInfoSizeW(program.c_str(), nullptr), 0);
    void* value = nullptr;
    UINT size = 0;
    if (!GetFileVersionInfoW(program.c_str(), 0, static_cast<DWORD>(block.size()), block.data()) ||
        !VerQueryValueW(block.data(), L"\\VarFileInfo\\Translation", &value, &size))
        return 96;
    wchar_t table[64];
    const WORD* const translation = static_cast<const WORD*>(value);
    (void)std::swprintf(table, 64, L"\\StringFileInfo\\%04x%04x\\", translation[0], translation[1]);
    for (const std::wstring name :
         {L"ProductName", L"FileDescription", L"LegalCopyright", L"FileVersion", L"OriginalFilename"}) {
        const bool isThere = VerQueryValueW(block.data(), (table + name).c_str(), &value, &size);
        const std::string text = tools::Utf8(isThere ? static_cast<const wchar_t*>(value) : L"");
        std::printf("%ls %s\n", name.c_str(), text.c_str());
    }
    return 0;
}

}  // namespace

int wmain(int, wchar_t** values);

int wmain(int, wchar_t** values) {
    if (std::wstring(values[0]).ends_with(L"setup.exe")) return Record();
    if (!Variable(L"QTV_TEXTS").empty()) return ShowTexts(Variable(L"QTV_TEXTS"));
    const std::wstring line = Variable(L"QTV_LINE");
    if (!line.empty()) return Launch(line);
    // Holds its current folder until the download has ended.
    return WaitForSingleObject(OpenEventW(SYNCHRONIZE, FALSE, kDone), tools::kHangMs) == WAIT_OBJECT_0 ? 0
                                                                                                       : 97;
}
