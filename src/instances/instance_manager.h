// The list of running processes of the product, shared by the setup program and the application.
//
// The list is in a named mapping of the session, and exists as long as a process holds it open.
// Names, layout and the two notifications are a contract with the application: none of them can be
// changed on one side only. Nobody checks that a listed process still runs. A process that ended
// without leaving the list stays in it.
#pragma once

#include <framework.h>

#include <cstddef>

#include "support/handles.h"

// The largest number of processes in the list.
inline constexpr DWORD kMaxListedInstances = 1000;

// The start of the mapping. Other processes write it too, so the count can be any number, and another at each read.
struct InstanceListHeader {
    volatile DWORD maxInstances;            // the limit; AddInstance ignores it
    volatile DWORD instanceCount;           // valid entries below
    DWORD processIds[kMaxListedInstances];  // oldest first
};
static_assert(offsetof(InstanceListHeader, maxInstances) == 0);
static_assert(offsetof(InstanceListHeader, instanceCount) == 4);
static_assert(offsetof(InstanceListHeader, processIds) == 8);
static_assert(sizeof(InstanceListHeader) == 4008);

// Posted to the main window of every listed process, with the id that came or went as lParam.
inline constexpr UINT WM_INSTANCE_ADDED = 1946;
inline constexpr UINT WM_INSTANCE_REMOVED = 1947;

// If the list can't be opened, every operation on it returns 0 and changes nothing.
class COXInstanceManager : public CObject {
    DECLARE_DYNAMIC(COXInstanceManager)

  public:
    //   name          of the list
    //   cbAdditional  bytes that the processes share besides the list
    //   addThis       enters this process at once
    COXInstanceManager(LPCWSTR name, DWORD cbAdditional, bool addThis);
    // Removes this process from the list, whether or not the constructor entered it.
    ~COXInstanceManager() override;

    // Returns 1 when the process was entered, 0 when the list is full. An id may be entered more than once.
    int AddInstance(DWORD processId);
    // Removes the oldest entry of the process. Returns 1, or 0 when there is none.
    int RemoveInstance(DWORD processId);
    // The number of processes as it is written in the list, even when it is out of range.
    int CountInstances();
    // Sets the array to the process ids, oldest first, and returns 1. Returns 0 and leaves the array
    // when the list can't be opened.
    int ListInstances(CDWordArray& ids);
    // True when more than one process is listed.
    bool IsOtherInstanceRunning();

    // The main window of a process: the topmost window that is neither owned nor a tool window and whose
    // title begins with the product's name. Null when there is none.
    static HWND FindInstanceWindow(DWORD processId);
    // Asks the process to close. Returns 1 when it was asked, 0 when it has no main window or a disabled one.
    static int CloseInstance(DWORD processId);

    // Returns the limit, or 0 when the list can't be opened.
    DWORD GetMaxInstances();
    // Sets the limit. closeExcess also asks as many processes to close as are listed above the limit, the
    // youngest first and this one last. Returns 0 when the list can't be opened, otherwise 1.
    int SetMaxInstances(DWORD limit, bool closeExcess);
    // True when more processes are listed than the limit allows. With bringForward it then shows the window
    // of the oldest other process.
    bool IsOverLimit(bool bringForward);

    // The additional region, or null when it can't be opened. The view stays until UnmapAdditionalData. The
    // caller must hold GetAdditionalMutex while it uses the region.
    void* MapAdditionalData();
    void UnmapAdditionalData();
    CMutex& GetAdditionalMutex() { return m_additionalMutex; }
    DWORD GetAdditionalSize() const { return m_additionalSize; }

  private:
    class ListAccess;

    // Returns true when the list has a view.
    bool MapInstanceList();
    void UnmapInstanceList();
    void InitInstanceList();
    static BOOL CALLBACK EnumInstanceWindowsProc(HWND window, LPARAM context);

    // The number of entries that may be read, whatever the count is.
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
