#include "wizard/agreement_dlg.h"

#include <cstdio>
#include <new>

#include "resource.h"
#include "support/handles.h"

namespace {

// Pixels from the frame's edges.
constexpr int kMargin = 4;

// The file's 16-bit units, unchanged: a byte-order mark has no meaning, nothing is converted, and an
// odd last byte is ignored. The name has no folder, so the file is read from the current folder.
// Empty when it can't be read.
CString ReadAgreement() {
    const FileStream file(_wfopen(TEXT("agreement.txt"), TEXT("rb")));
    if (!file || std::fseek(file.get(), 0, SEEK_END) != 0) return {};
    const long cbText = std::ftell(file.get());
    if (cbText < 0 || std::fseek(file.get(), 0, SEEK_SET) != 0) return {};
    try {
        CString::Store text(static_cast<std::size_t>(cbText) / sizeof(WCHAR), 0);
        (void)std::fread(text.data(), sizeof(WCHAR), text.size(), file.get());
        return CString(std::move(text));
    } catch (const std::bad_alloc&) {
        return {};
    }
}

}  // namespace

IMPLEMENT_DYNAMIC(CAgreementDlg, CDialog)

CAgreementDlg::CAgreementDlg(CWnd* parent) : CDialog(IDD_AGREEMENT, parent) {}

void CAgreementDlg::DoDataExchange(CDataExchange* exchange) {
    DDX_Control(exchange, IDC_AGREEMENT, m_edit);
}

BOOL CAgreementDlg::OnInitDialog() {
    (void)CDialog::OnInitDialog();
    m_text = ReadAgreement();
    m_edit.SetText(m_text);
    (void)UpdateData(FALSE);
    // Select nothing, and show the start of the text.
    (void)m_edit.Send(EM_SETSEL, static_cast<WPARAM>(-1), 0);
    (void)m_edit.Send(EM_SCROLLCARET);
    (void)SetWindowPos(m_hWnd, HWND_TOP, kMargin, kMargin, 0, 0, SWP_NOSIZE | SWP_SHOWWINDOW);
    (void)UpdateData(FALSE);
    return FALSE;
}
