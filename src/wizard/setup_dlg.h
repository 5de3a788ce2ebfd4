// The wizard's frame: side picture, buttons, and one page at a time.
#pragma once

#include <framework.h>

#include <memory>

// The one modal window of an interactive install. DoModal returns IDOK when the user finished the last page.
// The install itself runs inside the Next handler, between the ready page and the last page.
class CSetupDlg : public CDialog {
    DECLARE_DYNAMIC(CSetupDlg)

    CButton m_cancelButton;
    CStatic m_bitmap;
    CButton m_backButton;
    CButton m_nextButton;

  public:
    // The number of the current step. If it is 4 before DoModal, the wizard opens at its last page.
    int m_page = -1;

  private:
    std::unique_ptr<CDialog> m_currentPage;
    CString m_savedTitle;

  public:
    explicit CSetupDlg(CWnd* parent = nullptr);

  protected:
    void DoDataExchange(CDataExchange* exchange) override;
    BOOL OnInitDialog() override;
    // Leaves the current step, unless its page refuses to close, and enters the next one.
    void OnOK() override;
    void OnBack();
    void OnCancel() override;
    DECLARE_MESSAGE_MAP()

  private:
    template <class Page>
    void MakePage(UINT templateId);
    void ShowAgreement();
    void InstallAndShowResult();
    void ShowPageBesidePicture();
    void Finish();
};
