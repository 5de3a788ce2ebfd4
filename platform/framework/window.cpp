#include "window.h"

IMPLEMENT_DYNAMIC(CWnd, CCmdTarget)
IMPLEMENT_DYNAMIC(CButton, CWnd)
IMPLEMENT_DYNAMIC(CStatic, CWnd)
IMPLEMENT_DYNAMIC(CEdit, CWnd)

CWnd::~CWnd() {
    CWinApp* const application = AfxGetApp();
    if (application && application->m_pMainWnd == this) application->m_pMainWnd = nullptr;
}

BOOL CWnd::DestroyWindow() {
    return m_hWnd && ::DestroyWindow(m_hWnd);
}

HWND CWnd::GetDlgItem(int control) const {
    return m_hWnd ? ::GetDlgItem(m_hWnd, control) : nullptr;
}

CString CWnd::GetText() const {
    if (!m_hWnd) return {};
    const int length = GetWindowTextLengthW(m_hWnd);
    CString::Store text(static_cast<std::size_t>(length) + 1, 0);
    text.resize(static_cast<std::size_t>(GetWindowTextW(m_hWnd, text.data(), length + 1)));
    return CString(std::move(text));
}

void CWnd::SetText(LPCWSTR text) {
    if (m_hWnd) (void)SetWindowTextW(m_hWnd, text);
}

void CWnd::SetItemText(int control, LPCWSTR text) {
    if (const HWND item = GetDlgItem(control)) (void)SetWindowTextW(item, text);
}

void CWnd::Show(int command) {
    if (m_hWnd) (void)ShowWindow(m_hWnd, command);
}

void CWnd::ShowItem(int control, int command) {
    if (const HWND item = GetDlgItem(control)) (void)ShowWindow(item, command);
}

void CWnd::Enable(BOOL enable) {
    if (m_hWnd) (void)EnableWindow(m_hWnd, enable);
}

void CWnd::Focus() {
    if (m_hWnd) (void)SetFocus(m_hWnd);
}

LRESULT CWnd::Send(UINT message, WPARAM wParam, LPARAM lParam) {
    return m_hWnd ? SendMessageW(m_hWnd, message, wParam, lParam) : 0;
}

LRESULT CWnd::SendToItem(int control, UINT message, WPARAM wParam, LPARAM lParam) {
    const HWND item = GetDlgItem(control);
    return item ? SendMessageW(item, message, wParam, lParam) : 0;
}

RECT CWnd::PlaceIn(const CWnd& frame) const {
    RECT place = {};
    if (!m_hWnd || !frame.m_hWnd || !GetWindowRect(m_hWnd, &place)) return {};
    POINT topLeft = {place.left, place.top};
    POINT bottomRight = {place.right, place.bottom};
    (void)ScreenToClient(frame.m_hWnd, &topLeft);
    (void)ScreenToClient(frame.m_hWnd, &bottomRight);
    return {topLeft.x, topLeft.y, bottomRight.x, bottomRight.y};
}

int AfxMessageBox(LPCWSTR text, UINT type) {
    const CWinApp* const application = AfxGetApp();
    const CWnd* const main = application ? application->m_pMainWnd : nullptr;
    // The box appears in front of the main window, or of the dialog that it has opened, and disables it.
    const HWND owner = main && main->m_hWnd ? GetLastActivePopup(main->m_hWnd) : nullptr;
    return MessageBoxW(owner, text, application ? application->m_pszAppName : nullptr, type);
}
