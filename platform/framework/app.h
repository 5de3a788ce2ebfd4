// CWinApp: the application object of the process; AfxMessageBox; the program's entry.
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
    // The process's main window, or null. The message loop ends at once when there is none.
    CWnd* m_pMainWnd = nullptr;

    // The program's work. Non-zero lets the message loop run after it, 0 ends the process.
    virtual BOOL InitInstance() { return FALSE; }
    // The message loop: until WM_QUIT, or not at all without a main window. Gives the exit code.
    virtual int Run();
};

class CWinApp : public CWinThread {
    DECLARE_DYNAMIC(CWinApp)

  public:
    // Takes the process's application slot; the object built last holds it.
    CWinApp();
    ~CWinApp() override;

    // The application's name, the caption of AfxMessageBox. Not owned; a literal or a text that outlives the
    // process.
    LPCWSTR m_pszAppName = nullptr;
};

// The application object of the process, or null before it is built.
CWinApp* AfxGetApp();

// Shows a message box with the application's name as its caption, and gives the button pressed.
int AfxMessageBox(LPCWSTR text, UINT type = MB_OK);

// The modules that program and resources come from; both null, for the program itself, until they are set.
HINSTANCE AfxGetInstanceHandle();
HINSTANCE AfxGetResourceHandle();
void AfxSetInstanceHandle(HINSTANCE module);
void AfxSetResourceHandle(HINSTANCE module);

// Ends the process as the system does for a fatal check, with the exit code 0xC0000409: no exit handler runs
// and no message shows, as abort() alone would in a program with windows.
[[noreturn]] void AfxFailFast();

// Runs the application object: InitInstance and, when that gives non-zero, the message loop. Gives the exit
// code: 0 when InitInstance gave 0 or the loop found no main window.
int AfxWinMain();
