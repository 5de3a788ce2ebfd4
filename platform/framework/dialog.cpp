#include "dialog.h"

namespace {

bool IsPage(HWND window) {
    return GetWindowLongW(window, GWL_STYLE) & WS_CHILD;
}

// False when the dialog, or the frame whose page it is, waits for a message box or another dialog.
bool TakesInput(HWND window) {
    while (IsWindowEnabled(window)) {
        if (!IsPage(window)) return true;
        window = GetParent(window);
    }
    return false;
}

}  // namespace

IMPLEMENT_DYNAMIC(CDialog, CWnd)

CDialog::~CDialog() {
    (void)CWnd::DestroyWindow();
}

INT_PTR CDialog::DoModal() {
    // A loop that ends without EndDialog counts as cancelled.
    m_result = IDCANCEL;
    const INT_PTR ended =
        DialogBoxParamW(AfxGetResourceHandle(), MAKEINTRESOURCEW(m_template),
                        m_parent ? m_parent->m_hWnd : nullptr, Procedure, reinterpret_cast<LPARAM>(this));
    return ended == -1 ? -1 : m_result;
}

BOOL CDialog::Create(UINT templateId, CWnd* parent) {
    m_template = templateId;
    m_parent = parent;
    return CreateDialogParamW(AfxGetResourceHandle(), MAKEINTRESOURCEW(templateId),
                              parent ? parent->m_hWnd : nullptr, Procedure,
                              reinterpret_cast<LPARAM>(this)) != nullptr;
}

void CDialog::EndDialog(int result) {
    m_result = result;
    if (m_hWnd) (void)::EndDialog(m_hWnd, result);
}

BOOL CDialog::OnInitDialog() {
    (void)UpdateData(FALSE);
    return TRUE;
}

void CDialog::OnOK() {
    if (UpdateData(TRUE)) EndDialog(IDOK);
}

void CDialog::OnCancel() {
    EndDialog(IDCANCEL);
}

INT_PTR CALLBACK CDialog::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_INITDIALOG) {
        auto* const dialog = reinterpret_cast<CDialog*>(lParam);
        dialog->m_hWnd = window;
        (void)SetWindowLongPtrW(window, DWLP_USER, lParam);
        return dialog->OnInitDialog();
    }
    auto* const dialog = reinterpret_cast<CDialog*>(GetWindowLongPtrW(window, DWLP_USER));
    if (!dialog) return FALSE;
    if (message == WM_COMMAND) return dialog->OnCommand(wParam, lParam);
    // An edit control of several lines asks its own parent for the next control. A page knows only its own
    // controls, so Tab would never leave it.
    if (message == WM_NEXTDLGCTL && IsPage(window)) {
        (void)SendMessageW(GetParent(window), message, wParam, lParam);
        return TRUE;
    }
    if (message == WM_NCDESTROY) {
        (void)SetWindowLongPtrW(window, DWLP_USER, 0);
        dialog->OnWindowGone();
    }
    return FALSE;
}

BOOL CDialog::OnCommand(WPARAM wParam, LPARAM lParam) {
    // While a message box or another dialog is open, the user can press nothing here. A command from
    // elsewhere must not delete a page that waits for that dialog.
    if (!TakesInput(m_hWnd)) return TRUE;
    const int control = LOWORD(wParam);
    const UINT notification = HIWORD(wParam);
    // Windows reports Enter on a button of a child dialog to the frame.
    const HWND sender = reinterpret_cast<HWND>(lParam);
    if (const HWND other = sender ? GetParent(sender) : nullptr; other && other != m_hWnd)
        return PostMessageW(other, WM_COMMAND, wParam, lParam);
    // A key sends the command of a button even when the button is disabled.
    if (const HWND item = GetDlgItem(control); item && !IsWindowEnabled(item)) return TRUE;

    for (const MessageMapEntry& entry : GetMessageMap()) {
        if (entry.control != control || entry.notification != notification) continue;
        (this->*entry.handler)();
        return TRUE;
    }
    if (notification != BN_CLICKED || (control != IDOK && control != IDCANCEL)) return FALSE;
    // A page has no such buttons, so the frame's are meant. The command is posted, because
    // the frame may delete the page.
    if (IsPage(m_hWnd)) return PostMessageW(GetParent(m_hWnd), WM_COMMAND, wParam, 0);
    control == IDOK ? OnOK() : OnCancel();
    return TRUE;
}

void CDialog::OnWindowGone() {
    m_hWnd = nullptr;
    CWinApp* const application = AfxGetApp();
    if (!application || application->m_pMainWnd != this) return;
    application->m_pMainWnd = nullptr;
    PostQuitMessage(0);
}

bool CWnd::UpdateData(BOOL save) {
    CDataExchange exchange(*this, save);
    DoDataExchange(&exchange);
    return exchange.Succeeded();
}

HWND CDataExchange::Control(int control) {
    const HWND window = m_dialog.GetDlgItem(control);
    if (!window) m_succeeded = false;
    return window;
}

void DDX_Control(CDataExchange* exchange, int control, CWnd& object) {
    object.m_hWnd = exchange->Control(control);
}

void DDX_Text(CDataExchange* exchange, int control, CString& text) {
    CWnd item;
    item.m_hWnd = exchange->Control(control);
    if (!item.m_hWnd) return;
    if (exchange->m_bSaveAndValidate)
        text = item.GetText();
    else
        item.SetText(text);
}

void DDX_Check(CDataExchange* exchange, int control, int& value) {
    const HWND box = exchange->Control(control);
    if (!box) return;
    if (exchange->m_bSaveAndValidate)
        value = static_cast<int>(SendMessageW(box, BM_GETCHECK, 0, 0));
    else
        (void)SendMessageW(box, BM_SETCHECK, static_cast<WPARAM>(value), 0);
}

void DDX_Radio(CDataExchange* exchange, int control, int& value) {
    HWND button = exchange->Control(control);
    if (exchange->m_bSaveAndValidate) value = -1;
    for (int index = 0; button; ++index) {
        if (!exchange->m_bSaveAndValidate)
            (void)SendMessageW(button, BM_SETCHECK, index == value ? BST_CHECKED : BST_UNCHECKED, 0);
        else if (SendMessageW(button, BM_GETCHECK, 0, 0) == BST_CHECKED)
            value = index;
        button = GetWindow(button, GW_HWNDNEXT);
        if (button && (GetWindowLongW(button, GWL_STYLE) & WS_GROUP)) break;
    }
}
