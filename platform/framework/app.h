// CWinApp: the application object of the process; the program's entry.
#pragma once

#include <windows.h>

#include "object.h"

class CWnd;

class CCmdTarget : public CObject {
    DECLARE_DYNAMIC(CCmdTarget)
};

class CWinThread : public CCmdTarget {
    DECLARE_DYNAMIC(CWinThread)

  public:
    // The process's main window, or null. Without one the message loop ends at once.
    CWnd* m_pMainWnd = nullptr;

    // The program's work. When it returns non-zero, the message loop follows. 0 ends the process.
    virtual BOOL InitInstance() { return FALSE; }
    // The message loop. It runs until WM_QUIT, or not at all without a main window. Returns the exit code.
    virtual int Run();
};

class CWinApp : public CWinThread {
    DECLARE_DYNAMIC(CWinApp)

  public:
    // Makes this object the application object of the process. The object that was built last is the one.
    CWinApp();
    ~CWinApp() override;

    // The application's name, which is the caption of AfxMessageBox. The object doesn't own the text, which
    // must exist until the process ends.
    LPCWSTR m_pszAppName = nullptr;
};

// The application object of the process, or null before it is built.
CWinApp* AfxGetApp();

// The modules of the program and of its resources. Until they are set both are null, which means the program itself.
HINSTANCE AfxGetInstanceHandle();
HINSTANCE AfxGetResourceHandle();
void AfxSetInstanceHandle(HINSTANCE module);
void AfxSetResourceHandle(HINSTANCE module);

// Ends the process with the exit code 0xC0000409, as the system does for a failed security check. No exit
// handler runs, and no message box appears, as it would after abort() in a program with windows.
[[noreturn]] void AfxFailFast();

// Runs the application object: InitInstance and, when that returns non-zero, the message loop. Returns the
// exit code, which is 0 when InitInstance returned 0 or the loop found no main window.
int AfxWinMain();
