// The group page: the program group in the Start menu, and two more shortcuts.
#pragma once

#include <framework.h>

class CGroupDlg : public CDialog {
    DECLARE_DYNAMIC(CGroupDlg)

    CEdit m_groupEdit;
    int m_autoStart = 0;
    int m_desktopIcon = 0;
    CString m_group;

  public:
    explicit CGroupDlg(CWnd* parent = nullptr);
    BOOL CreatePage(UINT templateId, CWnd* parent) { return Create(templateId, parent); }
    // Stores the choices. When a group can't have the name, it says so, returns 0, and the page stays.
    BOOL DestroyWindow() override;

  protected:
    void DoDataExchange(CDataExchange* exchange) override;
    BOOL OnInitDialog() override;
};
