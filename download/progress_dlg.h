// Shows how much is unpacked, and lets a person cancel it. Stays hidden while setup runs.
#pragma once

#include <framework.h>

#include <functional>
#include <thread>

#include "unpack.h"

class CProgressDlg : public CDialog {
    DECLARE_DYNAMIC(CProgressDlg)

  public:
    // `job` runs on a thread of its own while the dialog is shown, and ends soon after `progress` is cancelled.
    CProgressDlg(std::function<void()> job, download::Progress& progress);
    // Waits for the end of the job.
    ~CProgressDlg() override;

  protected:
    BOOL OnInitDialog() override;
    // Enter has no meaning here.
    void OnOK() override {}
    // The dialog stays until the job has ended.
    void OnCancel() override;
    void OnShare();
    void OnStarted() { Show(SW_HIDE); }
    void OnFinished();
    DECLARE_MESSAGE_MAP()

  private:
    std::function<void()> m_job;
    download::Progress& m_progress;
    std::thread m_worker;
};
