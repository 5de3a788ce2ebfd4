// The shell's folder browser, without its tree: an edit holds the full path of the folder. It is a dialog like any
// other and has the control numbers of the shell's dialog.
#include <shlobj.h>

#include <cstring>

#include "core/faults.h"
#include "core/machine.h"
#include "files/paths.h"

namespace winhost {

namespace {

constexpr int kTitle = 0x3742;
constexpr int kPathLabel = 0x3744;
constexpr int kPathEdit = 0x3745;
constexpr int kMakeFolder = 0x3746;
constexpr UINT kFirstOfBrowser = WM_USER + 100, kLastOfBrowser = WM_USER + 106;
constexpr UINT kModelledFlags = BIF_RETURNONLYFSDIRS | BIF_EDITBOX | BIF_VALIDATE | BIF_NEWDIALOGSTYLE;

struct Browser {
    const BROWSEINFOW& browse;
    std::u16string chosen;
};

bool IsFolder(const std::u16string& path) {
    const Place place = Locate(path);
    return place.exists() && place.isFolder;
}

std::u16string TypedPath(HWND dialog) {
    std::u16string path(MAX_PATH, 0);
    path.resize(GetDlgItemTextW(dialog, kPathEdit, path.data(), MAX_PATH));
    return path;
}

int Tell(const Browser& browser, HWND dialog, UINT message, LPARAM parameter) {
    return browser.browse.lpfn ? browser.browse.lpfn(dialog, message, parameter, browser.browse.lParam) : 0;
}

void AddControl(HWND dialog, LPCWSTR kind, LPCWSTR text, DWORD style, int id, int y, int x = 10,
                int width = 300) {
    constexpr int kHeight = 24;
    (void)CreateWindowExW(0, kind, text, WS_CHILD | WS_VISIBLE | style, x, y, width, kHeight, dialog,
                          reinterpret_cast<HMENU>(static_cast<LONG_PTR>(id)), nullptr, nullptr);
}

void Fill(const Browser& browser, HWND dialog) {
    AddControl(dialog, u"Static", browser.browse.lpszTitle, SS_NOPREFIX, kTitle, 10);
    AddControl(dialog, u"Static", u"Folder:", 0, kPathLabel, 40);
    AddControl(dialog, u"Edit", u"", WS_BORDER | WS_TABSTOP, kPathEdit, 60);
    AddControl(dialog, u"Button", u"&Make New Folder", WS_TABSTOP, kMakeFolder, 100, 10, 140);
    AddControl(dialog, u"Button", u"OK", WS_TABSTOP | BS_DEFPUSHBUTTON, IDOK, 100, 160, 70);
    AddControl(dialog, u"Button", u"Cancel", WS_TABSTOP, IDCANCEL, 100, 240, 70);
    (void)Tell(browser, dialog, BFFM_INITIALIZED, 0);
}

void ShowPath(HWND dialog, const std::u16string& path) {
    (void)SetWindowTextW(GetDlgItem(dialog, kPathEdit), path.c_str());
}

// Returns the path of a new folder: the first of "New folder", "New folder (2)" and so on that is free.
std::u16string NewFolderIn(std::u16string path) {
    path += path.back() == u'\\' ? u"New folder" : u"\\New folder";
    std::u16string free = path;
    for (int number = 2; Locate(free).exists(); ++number)
        free = path + u" (" + Utf16(std::to_string(number)) + u')';
    return free;
}

// Makes the typed folder if it is missing, or else a new folder inside the shown one.
void MakeFolder(HWND dialog) {
    std::u16string path = TypedPath(dialog);
    if (IsFolder(path)) path = NewFolderIn(path);
    if (CreateDirectoryW(path.c_str(), nullptr)) ShowPath(dialog, path);
}

void Choose(Browser& browser, HWND dialog) {
    const std::u16string path = TypedPath(dialog);
    if (IsFolder(path)) {
        browser.chosen = Locate(path).windows;
        (void)EndDialog(dialog, IDOK);
    } else if (Tell(browser, dialog, BFFM_VALIDATEFAILEDW, reinterpret_cast<LPARAM>(path.c_str())) == 0) {
        (void)EndDialog(dialog, IDCANCEL);
    }
}

INT_PTR Procedure(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_INITDIALOG) {
        (void)SetWindowLongPtrW(dialog, DWLP_USER, lParam);
        Fill(*reinterpret_cast<const Browser*>(lParam), dialog);
        return TRUE;
    }
    if (message == BFFM_SETSELECTIONW) {
        if (!wParam) NotModelled("BFFM_SETSELECTIONW", "an item list");
        const std::u16string path = reinterpret_cast<LPCWSTR>(lParam);
        // A missing folder can't be selected.
        if (IsFolder(path)) ShowPath(dialog, path);
        return TRUE;
    }
    if (message >= kFirstOfBrowser && message <= kLastOfBrowser)
        NotModelled("SHBrowseForFolderW", "message " + std::to_string(message));
    if (message != WM_COMMAND || HIWORD(wParam) != BN_CLICKED) return FALSE;
    switch (LOWORD(wParam)) {
        case IDOK:
            Choose(*reinterpret_cast<Browser*>(GetWindowLongPtrW(dialog, DWLP_USER)), dialog);
            return TRUE;
        case IDCANCEL:
            return EndDialog(dialog, IDCANCEL);
        case kMakeFolder:
            MakeFolder(dialog);
            return TRUE;
        default:
            return FALSE;
    }
}

// Makes a list of one item: its length, the path with its terminator, and the empty item that ends the list.
PIDLIST_ABSOLUTE ItemsOf(const std::u16string& path) {
    const std::size_t cbItem = sizeof(USHORT) + (path.size() + 1) * sizeof(WCHAR);
    auto* const bytes = static_cast<BYTE*>(std::calloc(1, cbItem + sizeof(USHORT)));
    if (!bytes) return nullptr;
    const auto length = static_cast<USHORT>(cbItem);
    std::memcpy(bytes, &length, sizeof length);
    std::memcpy(bytes + sizeof length, path.c_str(), cbItem - sizeof length);
    return reinterpret_cast<PIDLIST_ABSOLUTE>(bytes);
}

// There is one allocator, and it is never destroyed.
class Allocator final : public IMalloc {
  public:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override {
        NotModelled("IMalloc::QueryInterface", "any interface");
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    void* STDMETHODCALLTYPE Alloc(std::size_t size) override { return std::malloc(size); }
    void* STDMETHODCALLTYPE Realloc(void* memory, std::size_t size) override {
        return std::realloc(memory, size);
    }
    void STDMETHODCALLTYPE Free(void* memory) override { std::free(memory); }
    std::size_t STDMETHODCALLTYPE GetSize(void*) override { NotModelled("IMalloc::GetSize", "any memory"); }
    int STDMETHODCALLTYPE DidAlloc(void*) override { return -1; }
    void STDMETHODCALLTYPE HeapMinimize() override {}
};

}  // namespace

}  // namespace winhost

PIDLIST_ABSOLUTE SHBrowseForFolderW(BROWSEINFOW* browse) {
    if (winhost::Fails("SHBrowseForFolderW")) return nullptr;
    if (browse->pidlRoot || browse->ulFlags != winhost::kModelledFlags)
        winhost::NotModelled("SHBrowseForFolderW", "a root or other flags");
    const struct {
        DLGTEMPLATE dialog;
        WORD menu, kind;
        WCHAR caption[18];
    } form = {{WS_POPUP | WS_CAPTION | WS_SYSMENU | DS_MODALFRAME | DS_CENTER, 0, 0, 0, 0, 214, 84},
              0,
              0,
              u"Browse For Folder"};
    winhost::Browser browser = {*browse, {}};
    if (DialogBoxIndirectParamW(nullptr, &form.dialog, browse->hwndOwner, winhost::Procedure,
                                reinterpret_cast<LPARAM>(&browser)) != IDOK)
        return nullptr;
    if (browse->pszDisplayName) {
        const std::u16string name = browser.chosen.substr(browser.chosen.rfind(u'\\') + 1);
        browse->pszDisplayName[name.copy(browse->pszDisplayName, MAX_PATH - 1)] = 0;
    }
    return winhost::ItemsOf(browser.chosen);
}

BOOL SHGetPathFromIDListW(PCIDLIST_ABSOLUTE items, LPWSTR path) {
    *path = 0;
    if (winhost::Fails("SHGetPathFromIDListW") || !items) return FALSE;
    USHORT cbItem;
    std::memcpy(&cbItem, items, sizeof cbItem);
    if (cbItem - sizeof cbItem > MAX_PATH * sizeof(WCHAR)) return FALSE;
    std::memcpy(path, reinterpret_cast<const BYTE*>(items) + sizeof cbItem, cbItem - sizeof cbItem);
    return TRUE;
}

HRESULT SHGetMalloc(IMalloc** allocator) {
    *allocator = nullptr;
    if (const DWORD fault = winhost::FaultOf("SHGetMalloc")) return HRESULT_FROM_WIN32(fault);
    static winhost::Allocator theOne;
    *allocator = &theOne;
    return S_OK;
}
