#include "wizard/setup_dlg.h"

#include <algorithm>

#include "install/closing_page.h"
#include "install/install_action.h"
#include "resource.h"
#include "run/product.h"
#include "run/run_paths.h"
#include "run/run_values.h"
#include "support/path_text.h"
#include "wizard/agreement_dlg.h"
#include "wizard/folder_dlg.h"
#include "wizard/group_dlg.h"
#include "wizard/into_dlg.h"
#include "wizard/start_dlg.h"

namespace {

enum Step { kWelcome, kAgreement, kDestination, kGroup, kReady, kLastPage };

// Pixels between the picture and a page.
constexpr int kPageGap = 4;
constexpr int kTextChars = 512;

// The button texts of the template, restored after the agreement page.
CString g_nextText;
CString g_cancelText;

// Discards keys and clicks that came during the install. Otherwise the second half of a double click would
// press Next again, which has become Finish by then.
void DropQueuedInput() {
    MSG message;
    while (PeekMessageW(&message, nullptr, WM_KEYFIRST, WM_KEYLAST, PM_REMOVE) ||
           PeekMessageW(&message, nullptr, WM_MOUSEFIRST, WM_MOUSELAST, PM_REMOVE)) {
    }
}

// The start icon of a portable installation is in the folder above the target.
CString PortableText() {
    WCHAR text[kTextChars];
    (void)FormatBounded(text, kTextChars, LoadResString(IDS_PORTABLE_START),
                        static_cast<LPCWSTR>(ParentDir(g_targetDir)));
    return text;
}

CString InstalledText() {
    WCHAR product[kTextChars];
    (void)FormatBounded(product, kTextChars, kVersionTitlePattern, g_version.minor, g_version.release);
    CString text = LoadResString(IDS_INSTALLED);
    (void)text.Replace(kProductName, product);
    return text;
}

}  // namespace

IMPLEMENT_DYNAMIC(CSetupDlg, CDialog)

BEGIN_MESSAGE_MAP(CSetupDlg)
ON_BN_CLICKED(IDC_BACK, OnBack)
END_MESSAGE_MAP()

CSetupDlg::CSetupDlg(CWnd* parent) : CDialog(IDD_SETUP, parent) {}

void CSetupDlg::DoDataExchange(CDataExchange* exchange) {
    DDX_Control(exchange, IDCANCEL, m_cancelButton);
    DDX_Control(exchange, IDC_PICTURE, m_bitmap);
    DDX_Control(exchange, IDC_BACK, m_backButton);
    DDX_Control(exchange, IDOK, m_nextButton);
}

BOOL CSetupDlg::OnInitDialog() {
    (void)CDialog::OnInitDialog();
    g_nextText = m_nextButton.GetText();
    g_cancelText = m_cancelButton.GetText();
    SetText(LoadResString(IDS_SETUP_TITLE));
    OnOK();
    return FALSE;
}

void CSetupDlg::OnOK() {
    if (m_currentPage && m_page < kLastPage) {
        if (!m_currentPage->DestroyWindow()) return;
        m_currentPage.reset();
    }
    // Back buttons that a page refused may have counted it down below the first step.
    m_page = std::max(m_page + 1, static_cast<int>(kWelcome));
    if (m_page == kGroup && g_installType == kPortable) m_page = kReady;
    if (m_savedTitle.IsEmpty()) m_savedTitle = GetText();
    if (m_page != kAgreement) {
        m_nextButton.SetText(g_nextText);
        m_cancelButton.SetText(g_cancelText);
    }
    switch (m_page) {
        case kWelcome:
            MakePage<CIntoDlg>(IDD_INTO);
            m_backButton.Show(SW_HIDE);
            break;
        case kAgreement:
            ShowAgreement();
            return;
        case kDestination:
            MakePage<CFolderDlg>(IDD_FOLDER);
            break;
        case kGroup:
            MakePage<CGroupDlg>(IDD_GROUP);
            break;
        case kReady:
            MakePage<CStartDlg>(IDD_START);
            break;
        case kLastPage:
            InstallAndShowResult();
            break;
        default:
            Finish();
            return;
    }
    ShowPageBesidePicture();
}

// If the page refuses to close, it stays, but m_page is already two lower; the next click continues from there.
void CSetupDlg::OnBack() {
    m_page -= 2;
    if (m_page == kDestination && g_installType == kPortable) m_page = kAgreement;
    OnOK();
}

void CSetupDlg::OnCancel() {
    if (AfxMessageBox(LoadResString(IDS_CONFIRM_CANCEL), MB_YESNO | MB_ICONQUESTION | MB_DEFBUTTON2) == IDYES)
        CDialog::OnCancel();
}

template <class Page>
void CSetupDlg::MakePage(UINT templateId) {
    auto page = std::make_unique<Page>(this);
    Page& made = *page;
    m_currentPage = std::move(page);
    (void)made.CreatePage(templateId, this);
}

// The agreement also covers the picture's place. The page moves itself there.
void CSetupDlg::ShowAgreement() {
    m_nextButton.SetText(LoadResString(IDS_YES));
    m_cancelButton.SetText(LoadResString(IDS_NO));
    m_backButton.Show(SW_SHOW);
    m_bitmap.Show(SW_HIDE);
    MakePage<CAgreementDlg>(IDD_AGREEMENT);
    SetText(LoadResString(IDS_ACCEPT_AGREEMENT));
}

// The page is placed, and so becomes visible, only after the install. Until then the area beside the picture is empty.
void CSetupDlg::InstallAndShowResult() {
    MakePage<CStartDlg>(IDD_START);
    CDialog& page = *m_currentPage;
    page.ShowItem(IDC_HEADLINE, SW_HIDE);
    page.ShowItem(IDC_ADVICE, SW_HIDE);
    page.ShowItem(IDC_WAIT_OR_PORTABLE, SW_SHOW);
    if (page.m_hWnd) (void)UpdateWindow(page.m_hWnd);
    m_backButton.Enable(FALSE);
    m_nextButton.Enable(FALSE);
    m_cancelButton.Enable(FALSE);
    if (g_silentMode == kInteractive) {
        (void)SetCursor(LoadCursorW(nullptr, IDC_WAIT));
        PerformInstall();
        (void)SetCursor(LoadCursorW(nullptr, IDC_ARROW));
        DropQueuedInput();
    }
    m_nextButton.Enable(TRUE);
    if (g_rebootNeeded != 0) {
        page.SetItemText(IDC_RUN_AFTER, LoadResString(IDS_RESTART_ON_FINISH));
        (void)page.SendToItem(IDC_RUN_AFTER, BM_SETCHECK, BST_CHECKED);
    }
    m_nextButton.SetText(LoadResString(IDS_FINISH));
    if (g_installType == kPortable) {
        page.SetItemText(IDC_WAIT_OR_PORTABLE, PortableText());
    } else {
        page.ShowItem(IDC_WAIT_OR_PORTABLE, SW_HIDE);
        page.ShowItem(IDC_RUN_AFTER, SW_SHOW);
    }
    page.SetItemText(IDC_HEADLINE, InstalledText());
    page.SetItemText(IDC_ADVICE, LoadResString(g_rebootNeeded != 0 ? IDS_RESTART_NEEDED : IDS_PRESS_FINISH));
    page.ShowItem(IDC_HEADLINE, SW_SHOW);
    page.ShowItem(IDC_ADVICE, SW_SHOW);
    m_nextButton.Focus();
}

void CSetupDlg::ShowPageBesidePicture() {
    SetText(m_savedTitle);
    m_bitmap.Show(SW_SHOW);
    m_nextButton.Enable(TRUE);
    m_nextButton.Focus();
    const RECT picture = m_bitmap.PlaceIn(*this);
    if (m_currentPage->m_hWnd)
        (void)SetWindowPos(m_currentPage->m_hWnd, HWND_TOP, picture.right + kPageGap, picture.top, 0, 0,
                           SWP_NOSIZE | SWP_SHOWWINDOW);
}

// The tick of the box counts even when the box is hidden.
void CSetupDlg::Finish() {
    // Opening the page may dispatch messages, so the button must not be pressed a second time.
    m_nextButton.Enable(FALSE);
    g_runAfter = static_cast<int>(m_currentPage->SendToItem(IDC_RUN_AFTER, BM_GETCHECK));
    OpenClosingPage();
    CDialog::OnOK();
}
