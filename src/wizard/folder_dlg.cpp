#include "wizard/folder_dlg.h"

#include "resource.h"
#include "run/product.h"
#include "run/run_paths.h"
#include "run/run_values.h"
#include "support/handles.h"
#include "support/path_text.h"

namespace {

constexpr int kPatternChars = 520;

// Set when the user browsed to a folder while the type was portable. It is cleared when the page opens.
BYTE g_portableFolderChosen;

bool HoldsFile(const CString& folder, LPCWSTR name) {
    return Exists(folder + TEXT("\\") + name);
}

// The browser's items are in memory of the shell.
struct FreeByShell {
    void operator()(ITEMIDLIST* items) const {
        IMalloc* allocator = nullptr;
        if (FAILED(SHGetMalloc(&allocator)) || !allocator) return;
        allocator->Free(items);
        allocator->Release();
    }
};
using ItemList = std::unique_ptr<ITEMIDLIST, FreeByShell>;

ItemList BrowseForFolder(HWND owner) {
    const CString title = LoadResString(IDS_SELECT_FOLDER);
    WCHAR displayName[kPathChars];
    BROWSEINFOW browse = {};
    browse.hwndOwner = owner;
    browse.pszDisplayName = displayName;
    browse.lpszTitle = title;
    browse.ulFlags = BIF_RETURNONLYFSDIRS | BIF_EDITBOX | BIF_VALIDATE | BIF_NEWDIALOGSTYLE;
    browse.lpfn = BrowseCallbackProc;
    // The browser's new style needs COM.
    (void)CoInitialize(nullptr);
    // The browser can open only at a folder that exists.
    (void)CreateDirectoryW(g_targetDir, nullptr);
    ItemList items(SHBrowseForFolderW(&browse));
    (void)RemoveDirectoryW(g_targetDir);
    return items;
}

}  // namespace

IMPLEMENT_DYNAMIC(CFolderDlg, CDialog)

BEGIN_MESSAGE_MAP(CFolderDlg)
ON_BN_CLICKED(IDC_FOR_USER, OnTypeChanged)
ON_BN_CLICKED(IDC_FOR_ALL, OnTypeChanged)
ON_BN_CLICKED(IDC_PORTABLE, OnTypeChanged)
ON_BN_CLICKED(IDC_BROWSE, OnBrowse)
END_MESSAGE_MAP()

CFolderDlg::CFolderDlg(CWnd* parent) : CDialog(IDD_FOLDER, parent) {}

// The folder is already in g_targetDir. The page's text only tells whether one was chosen.
BOOL CFolderDlg::DestroyWindow() {
    if (m_folderText.GetText().IsEmpty()) {
        (void)AfxMessageBox(LoadResString(IDS_BROWSE_FIRST));
        return 0;
    }
    (void)UpdateData(TRUE);
    g_installType = m_type;
    return CDialog::DestroyWindow();
}

void CFolderDlg::DoDataExchange(CDataExchange* exchange) {
    DDX_Control(exchange, IDC_FOLDER, m_folderText);
    DDX_Radio(exchange, IDC_FOR_USER, m_type);
}

// Until the user clicks a type, the texts are those of a page on which no type is set.
BOOL CFolderDlg::OnInitDialog() {
    (void)CDialog::OnInitDialog();
    g_portableFolderChosen = 0;
    CWnd hint;
    hint.m_hWnd = GetDlgItem(IDC_HINT);
    m_hint = hint.GetText();
    OnTypeChanged();
    m_folderText.SetText(g_targetDir);
    m_type = g_installType;
    (void)UpdateData(FALSE);
    return TRUE;
}

void CFolderDlg::OnTypeChanged() {
    (void)UpdateData(TRUE);
    if (m_type == kPortable) {
        if (!g_portableFolderChosen) m_folderText.SetText(TEXT(""));
        SetItemText(IDC_HINT, LoadResString(IDS_BROWSE_PORTABLE));
        return;
    }
    m_folderText.SetText(g_targetDir);
    const bool replacesCopy = !g_freshInstall && HoldsFile(g_targetDir, kApplicationFile);
    SetItemText(IDC_HINT, replacesCopy ? LoadResString(IDS_PREVIOUS_COPY_FOLDER) : m_hint);
}

void CFolderDlg::OnBrowse() {
    const ItemList items = BrowseForFolder(m_hWnd);
    WCHAR chosen[kPathChars] = {};
    if (items && SHGetPathFromIDListW(items.get(), chosen)) TakeFolder(chosen);
}

void CFolderDlg::TakeFolder(const CString& chosen) {
    // An empty folder is removed, whether or not the browser has made it. The install makes it again.
    (void)RemoveDirectoryW(chosen);
    if (HoldsFile(chosen, TEXT("QtvApp5.exe")) || HoldsFile(chosen, TEXT("QtvApp6.exe"))) {
        (void)AfxMessageBox(LoadResString(IDS_OLDER_VERSION_FOLDER));
        return;
    }
    const bool holdsOtherThings =
        !HoldsFile(chosen, kApplicationFile) && CountFolderEntries(TEXT("*"), chosen) > 0;
    g_targetDir = chosen;
    if (m_type == kPortable || holdsOtherThings) {
        if (g_targetDir.Last() != '\\') g_targetDir += '\\';
        g_targetDir += kProductName;
    }
    m_folderText.SetText(g_targetDir);
    if (m_type == kPortable) g_portableFolderChosen = 1;
    OnTypeChanged();
}

int CountFolderEntries(LPCWSTR pattern, LPCWSTR folder) {
    WCHAR path[kPatternChars];
    if (FormatBounded(path, kPatternChars, TEXT("%s\\%s"), folder, pattern) < 0) return 0;
    WIN32_FIND_DATAW found;
    const FindHandle search(FindFirstFileW(path, &found));
    if (!search) return 0;
    int count = 0;
    do {
        const CString name = found.cFileName;
        if (name != TEXT(".") && name != TEXT("..")) ++count;
    } while (FindNextFileW(search.get(), &found));
    return count;
}

int CALLBACK BrowseCallbackProc(HWND browser, UINT message, LPARAM, LPARAM) {
    switch (message) {
        case BFFM_INITIALIZED:
            (void)SendMessageW(browser, BFFM_SETSELECTIONW, TRUE,
                               reinterpret_cast<LPARAM>(static_cast<LPCWSTR>(g_targetDir)));
            return 0;
        case BFFM_VALIDATEFAILEDW:
            (void)AfxMessageBox(LoadResString(IDS_INVALID_FOLDER));
            return 1;
        default:
            return 0;
    }
}
