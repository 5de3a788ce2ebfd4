// The list of running processes of the product, shared by the setup program and the application.
//
// The list lies in a named mapping of the session and lives as long as a process holds it open. Names, layout
// and the two notifications are a contract with the application: none of them can be changed on one side.
// Nobody looks whether a listed process still runs: one that ended without leaving stays listed.
#pragma once

#include <framework.h>

#include <cstddef>

#include "support/handles.h"

// How many processes the list takes.
inline constexpr DWORD kMaxListedInstances = 1000;

// The start of the mapping. Other processes write it too: the count can hold anything.
struct InstanceListHeader {
    DWORD maxInstances;                     // what the family allows; AddInstance doesn't look at it
    DWORD instanceCount;                    // valid entries below
    DWORD processIds[kMaxListedInstances];  // oldest first
};
static_assert(offsetof(InstanceListHeader, maxInstances) == 0);
static_assert(offsetof(InstanceListHeader, instanceCount) == 4);
static_assert(offsetof(InstanceListHeader, processIds) == 8);
static_assert(sizeof(InstanceListHeader) == 4008);

// Posted to the main window of every listed process, with the id that came or went as lParam.
inline constexpr UINT WM_INSTANCE_ADDED = 1946;
inline constexpr UINT WM_INSTANCE_REMOVED = 1947;

// Where the list can't be opened, every operation on it gives 0 and changes nothing.
class COXInstanceManager : public CObject {
    DECLARE_DYNAMIC(COXInstanceManager)

  public:
    // name: of the list; cbAdditional: bytes the family shares beside it; addThis: enter this process at
    // once.
    COXInstanceManager(LPCWSTR name, DWORD cbAdditional, bool addThis);
    // Takes this process out of the list, entered by the constructor or not.
    ~COXInstanceManager() override;

    // 1 when the process was entered, 0 when the list is full. An id may be entered more than once.
    int AddInstance(DWORD processId);
    // 1 when the oldest entry of the process was taken out, 0 when there is none.
    int RemoveInstance(DWORD processId);
    // How many processes are listed, as the list says: a count out of range is given as it stands.
    int CountInstances();
    // 1 with the array set to the process ids, oldest first; 0, the array untouched, when the list can't be
    // opened.
    int ListInstances(CDWordArray& ids);
    bool IsOtherInstanceRunning();

    // The main window of a process, or null: the topmost window that is neither owned nor a tool window and
    // whose title begins with the product's name.
    static HWND FindInstanceWindow(DWORD processId);
    // Asks the process to close: 1 when it was asked, 0 when it has no main window or a disabled one.
    static int CloseInstance(DWORD processId);

    DWORD GetMaxInstances();
    // Sets the limit; with closeExcess set asks as many processes to close as are listed above it, the
    // youngest first and this one last. 0 when the list can't be opened, otherwise 1.
    int SetMaxInstances(DWORD limit, bool closeExcess);
    // True when more processes are listed than the limit allows. bringForward then shows the window of the
    // oldest process other than this one.
    bool IsOverLimit(bool bringForward);

    // The additional region, or null when it can't be opened. The view stays until UnmapAdditionalData.
    // Whoever works on it holds GetAdditionalMutex: this class doesn't.
    void* MapAdditionalData();
    void UnmapAdditionalData();
    CMutex& GetAdditionalMutex() { return m_additionalMutex; }
    DWORD GetAdditionalSize() const { return m_additionalSize; }

  private:
    class ListAccess;

    // True when the list's view is there.
    bool MapInstanceList();
    void UnmapInstanceList();
    void InitInstanceList();
    static BOOL CALLBACK EnumInstanceWindowsProc(HWND window, LPARAM context);

    // The number of entries that may be looked at, whatever the count says.
    DWORD ListedEntries() const;
    void NotifyListed(UINT message, DWORD processId) const;
    void BringForward() const;

    CString m_name;
    DWORD m_listSize;
    DWORD m_additionalSize;
    CMutex m_listMutex;
    CMutex m_additionalMutex;
    KernelHandle m_fileMapping;
    InstanceListHeader* m_listView = nullptr;  // during one operation only
    void* m_additionalView = nullptr;
};
