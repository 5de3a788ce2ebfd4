// The download as a program: unpacks its package, starts the package's setup, and ends with setup's exit code.
#pragma once

#include <framework.h>

#include "outcome.h"

class CDownloadApp : public CWinApp {
    DECLARE_DYNAMIC(CDownloadApp)

  public:
    BOOL InitInstance() override { return TRUE; }
    // Returns the exit code.
    int Run() override;

  private:
    CString m_name;  // of the product
};
