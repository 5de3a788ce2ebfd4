// Says why an update can't be installed, and where the full download is.
#pragma once

#include <framework.h>

class CRefusalDlg : public CDialog {
    DECLARE_DYNAMIC(CRefusalDlg)

  public:
    // `address` is one of https. A person may have it opened in the browser.
    CRefusalDlg(CString text, CString address);

  protected:
    BOOL OnInitDialog() override;
    void OnOK() override;

  private:
    CString m_text, m_address;
};
