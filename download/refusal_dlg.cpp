#include "refusal_dlg.h"

#include <shellapi.h>

#include "ids.h"

IMPLEMENT_DYNAMIC(CRefusalDlg, CDialog)

CRefusalDlg::CRefusalDlg(CString text, CString address)
    : CDialog(IDD_REFUSAL), m_text(std::move(text)), m_address(std::move(address)) {}

BOOL CRefusalDlg::OnInitDialog() {
    SetText(AfxGetApp()->m_pszAppName);
    SetItemText(IDC_TEXT, m_text);
    SetItemText(IDC_ADDRESS, m_address);
    return CDialog::OnInitDialog();
}

void CRefusalDlg::OnOK() {
    (void)ShellExecuteW(nullptr, TEXT("open"), m_address, nullptr, nullptr, SW_SHOW);
    CDialog::OnOK();
}
