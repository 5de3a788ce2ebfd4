// CMutex and CSingleLock: a named mutex that processes share, and the lock that takes it for a scope.
#pragma once

#include <windows.h>

#include "object.h"

class CMutex : public CObject {
    DECLARE_DYNAMIC(CMutex)

  public:
    // Opens or makes the mutex of that name. A failure leaves a mutex that can't be locked.
    CMutex(BOOL initiallyOwned, LPCWSTR name, LPSECURITY_ATTRIBUTES security = nullptr);
    ~CMutex() override;

    // Waits at most `milliseconds`. A mutex that a dying process gave up counts as taken.
    bool Lock(DWORD milliseconds = INFINITE);
    bool Unlock();

  private:
    HANDLE m_handle;
};

// Takes the mutex once, however often Lock is called, and gives it up at the end of the scope at the latest.
class CSingleLock {
  public:
    explicit CSingleLock(CMutex* mutex, bool initialLock = false);
    ~CSingleLock();
    CSingleLock(const CSingleLock&) = delete;
    CSingleLock& operator=(const CSingleLock&) = delete;

    // True when the lock is held.
    bool Lock(DWORD milliseconds = INFINITE);
    // True when the lock is not held any more, or never was.
    bool Unlock();
    bool IsLocked() const { return m_locked; }

  private:
    CMutex* m_mutex;
    bool m_locked = false;
};
