// The agreement page: shows the text of agreement.txt, which the frame's Next button accepts.
#pragma once

#include <framework.h>

class CAgreementDlg : public CDialog {
    DECLARE_DYNAMIC(CAgreementDlg)

    CEdit m_edit;
    CString m_text;

  public:
    explicit CAgreementDlg(CWnd* parent = nullptr);
    BOOL CreatePage(UINT templateId, CWnd* parent) { return Create(templateId, parent); }

  protected:
    void DoDataExchange(CDataExchange* exchange) override;
    BOOL OnInitDialog() override;
};
