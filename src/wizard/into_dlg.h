// The welcome page: shows what is installed, and in which version.
#pragma once

#include <framework.h>

class CIntoDlg : public CDialog {
    DECLARE_DYNAMIC(CIntoDlg)

    CStatic m_info;

  public:
    explicit CIntoDlg(CWnd* parent = nullptr);
    BOOL CreatePage(UINT templateId, CWnd* parent) { return Create(templateId, parent); }

  protected:
    void DoDataExchange(CDataExchange* exchange) override;
    BOOL OnInitDialog() override;
};
