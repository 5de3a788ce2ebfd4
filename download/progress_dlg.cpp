#include "progress_dlg.h"

#include <commctrl.h>

#include <system_error>

#include "ids.h"
#include "support/path_text.h"

namespace {

// Commands that the job posts to the dialog. No control has these numbers.
constexpr int kShareChanged = 2000;
constexpr int kStarted = 2001;
constexpr int kFinished = 2002;
constexpr int kTextChars = 128;

}  // namespace

IMPLEMENT_DYNAMIC(CProgressDlg, CDialog)

BEGIN_MESSAGE_MAP(CProgressDlg)
ON_BN_CLICKED(kShareChanged, OnShare)
ON_BN_CLICKED(kStarted, OnStarted)
ON_BN_CLICKED(kFinished, OnFinished)
END_MESSAGE_MAP()

CProgressDlg::CProgressDlg(std::function<void()> job, download::Progress& progress)
    : CDialog(IDD_PROGRESS), m_job(std::move(job)), m_progress(progress) {}

CProgressDlg::~CProgressDlg() {
    if (m_worker.joinable()) m_worker.join();
}

BOOL CProgressDlg::OnInitDialog() {
    (void)CDialog::OnInitDialog();
    SetText(AfxGetApp()->m_pszAppName);
    OnShare();
    const auto post = [window = m_hWnd](int command) { (void)PostMessageW(window, WM_COMMAND, command, 0); };
    m_progress.onShare = [post] { post(kShareChanged); };
    m_progress.onStarted = [post] { post(kStarted); };
    try {
        m_worker = std::thread([this, post] {
            m_job();
            post(kFinished);
        });
    } catch (const std::system_error&) {
        EndDialog(-1);
    }
    return TRUE;
}

void CProgressDlg::OnCancel() {
    m_progress.Cancel();
    CWnd button;
    button.m_hWnd = GetDlgItem(IDCANCEL);
    button.Enable(FALSE);
}

void CProgressDlg::OnShare() {
    const unsigned share = m_progress.Share();
    WCHAR text[kTextChars];
    (void)FormatBounded(text, kTextChars, LoadResString(IDS_SHARE), share);
    SetItemText(IDC_TEXT, text);
    (void)SendToItem(IDC_BAR, PBM_SETPOS, share);
}

void CProgressDlg::OnFinished() {
    EndDialog(IDOK);
}
