#include "sync.h"

IMPLEMENT_DYNAMIC(CMutex, CObject)

CMutex::CMutex(BOOL initiallyOwned, LPCWSTR name, LPSECURITY_ATTRIBUTES security)
    : m_handle(CreateMutexW(security, initiallyOwned, name)) {}

CMutex::~CMutex() {
    if (m_handle) CloseHandle(m_handle);
}

bool CMutex::Lock(DWORD milliseconds) {
    if (!m_handle) return false;
    const DWORD result = WaitForSingleObject(m_handle, milliseconds);
    return result == WAIT_OBJECT_0 || result == WAIT_ABANDONED;
}

bool CMutex::Unlock() {
    return m_handle && ReleaseMutex(m_handle);
}

CSingleLock::CSingleLock(CMutex* mutex, bool initialLock) : m_mutex(mutex) {
    if (initialLock) Lock();
}

CSingleLock::~CSingleLock() {
    Unlock();
}

bool CSingleLock::Lock(DWORD milliseconds) {
    if (!m_locked) m_locked = m_mutex->Lock(milliseconds);
    return m_locked;
}

bool CSingleLock::Unlock() {
    if (m_locked) m_locked = !m_mutex->Unlock();
    return !m_locked;
}
