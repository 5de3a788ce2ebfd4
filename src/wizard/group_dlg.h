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
    // Takes the choices over. 0 when the name can't be one of a group: the page has said so, and stays.
    BOOL DestroyWindow() override;

  protected:
    void DoDataExchange(CDataExchange* exchange) override;
    BOOL OnInitDialog() override;
};
