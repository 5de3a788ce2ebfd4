#include "instances/instance_manager.h"

IMPLEMENT_DYNAMIC(COXInstanceManager, CObject)

COXInstanceManager::COXInstanceManager(LPCWSTR, DWORD, bool) {}

int COXInstanceManager::CountInstances() { return 0; }

int COXInstanceManager::ListInstances(CDWordArray&) { return 0; }

HWND COXInstanceManager::FindInstanceWindow(DWORD) { return nullptr; }
