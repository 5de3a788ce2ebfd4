#include "wizard/group_dlg.h"

#include <shlobj.h>

#include "resource.h"
#include "run/run_paths.h"
#include "run/run_values.h"
#include "support/path_text.h"
#include "support/shell_folders.h"

namespace {

constexpr int kShortestName = 3;

// The last part of the folder's path, in lower case. Windows would start the shortcuts of a group with that
// name each time the user logs on.
CString ForbiddenName(int folder) {
    const CString path = GetShellFolder(folder);
    return path.Mid(path.ReverseFind('\\') + 1).MakeLower();
}

}  // namespace

IMPLEMENT_DYNAMIC(CGroupDlg, CDialog)

CGroupDlg::CGroupDlg(CWnd* parent) : CDialog(IDD_GROUP, parent) {}

BOOL CGroupDlg::DestroyWindow() {
    if (!UpdateData(TRUE)) return 0;
    m_group.Trim();
    if (m_group.GetLength() < kShortestName) {
        (void)AfxMessageBox(LoadResString(IDS_GROUP_TOO_SHORT));
        return 0;
    }
    const CString name = CString(m_group).MakeLower();
    if (name == ForbiddenName(CSIDL_STARTUP) || name == ForbiddenName(CSIDL_COMMON_STARTUP)) {
        (void)AfxMessageBox(LoadResString(IDS_GROUP_INVALID));
        return 0;
    }
    g_autoStart = m_autoStart;
    g_desktopIcon = m_desktopIcon;
    g_groupName = m_group;
    return CDialog::DestroyWindow();
}

void CGroupDlg::DoDataExchange(CDataExchange* exchange) {
    DDX_Control(exchange, IDC_GROUP, m_groupEdit);
    DDX_Check(exchange, IDC_AUTOSTART, m_autoStart);
    DDX_Check(exchange, IDC_DESKTOP, m_desktopIcon);
    DDX_Text(exchange, IDC_GROUP, m_group);
}

BOOL CGroupDlg::OnInitDialog() {
    (void)CDialog::OnInitDialog();
    m_autoStart = g_autoStart;
    m_desktopIcon = g_desktopIcon;
    m_group = g_groupName;
    (void)UpdateData(FALSE);
    return TRUE;
}
