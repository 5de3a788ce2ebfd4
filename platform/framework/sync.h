// CMutex and CSingleLock: a named mutex that processes share, and the lock that takes it for a scope.
#pragma once

#include <windows.h>

#include "object.h"

class CMutex : public CObject {
    DECLARE_DYNAMIC(CMutex)

  public:
    // Opens or makes the mutex of that name. If that fails, the object can't be locked.
    CMutex(BOOL initiallyOwned, LPCWSTR name, LPSECURITY_ATTRIBUTES security = nullptr);
    ~CMutex() override;

    // Waits at most `milliseconds`. Returns true when the mutex was acquired, also after its
    // owner ended without releasing it.
    bool Lock(DWORD milliseconds = INFINITE);
    bool Unlock();

  private:
    HANDLE m_handle;
};

// Acquires the mutex once, however often Lock is called, and releases it at the end of the scope at the latest.
class CSingleLock {
  public:
    explicit CSingleLock(CMutex* mutex, bool initialLock = false);
    ~CSingleLock();
    CSingleLock(const CSingleLock&) = delete;
    CSingleLock& operator=(const CSingleLock&) = delete;

    // True when the lock is held.
    bool Lock(DWORD milliseconds = INFINITE);
    // True when the lock isn't held any more, or never was.
    bool Unlock();
    bool IsLocked() const { return m_locked; }

  private:
    CMutex* m_mutex;
    bool m_locked = false;
};
