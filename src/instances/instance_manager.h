// The list of running processes of the product, shared by the setup program and the application.
#pragma once

#include <framework.h>

class COXInstanceManager : public CObject {
    DECLARE_DYNAMIC(COXInstanceManager)

  public:
    // name: of the list; cbAdditional: bytes the family shares beside it; addThis: enter this process at once.
    COXInstanceManager(LPCWSTR name, DWORD cbAdditional, bool addThis);

    // How many processes are registered, this one included; 0 when the list can't be opened.
    int CountInstances();
    // 1 with the array set to the process ids in order of registration; 0, the array untouched, when the list can't be
    // opened.
    int ListInstances(CDWordArray& ids);
    // The main window of a process, or null when none qualifies.
    static HWND FindInstanceWindow(DWORD processId);
};
