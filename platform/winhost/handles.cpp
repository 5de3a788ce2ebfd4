// Handles: numbers that stand for the objects a process holds open.
#include <map>

#include "internal.h"
#include "winhost.h"

namespace winhost {

namespace {

struct HandleTable {
    std::map<ULONG_PTR, std::shared_ptr<KernelObject>> objects;
    ULONG_PTR next = 4;
};

HandleTable& Table() {
    // Never destroyed: static objects of the program close their handles after this unit's own would have gone.
    static auto* table = new HandleTable;
    return *table;
}

thread_local DWORD lastError;

}  // namespace

DWORD KernelObject::Wait(DWORD) {
    SetLastError(ERROR_INVALID_HANDLE);
    return WAIT_FAILED;
}

HANDLE AddHandle(std::shared_ptr<KernelObject> object) {
    HandleTable& table = Table();
    const ULONG_PTR number = table.next;
    table.next += 4;
    table.objects[number] = std::move(object);
    return reinterpret_cast<HANDLE>(number);
}

std::shared_ptr<KernelObject> FindHandle(HANDLE handle) {
    const auto& objects = Table().objects;
    const auto found = objects.find(reinterpret_cast<ULONG_PTR>(handle));
    if (found != objects.end()) return found->second;
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
}

bool DropHandle(HANDLE handle) {
    if (Table().objects.erase(reinterpret_cast<ULONG_PTR>(handle)) == 1) return true;
    SetLastError(ERROR_INVALID_HANDLE);
    return false;
}

unsigned OpenHandles() { return static_cast<unsigned>(Table().objects.size()); }

}  // namespace winhost

DWORD GetLastError() { return winhost::lastError; }
void SetLastError(DWORD code) { winhost::lastError = code; }

BOOL CloseHandle(HANDLE handle) {
    if (winhost::Fails("CloseHandle", ERROR_INVALID_HANDLE)) return FALSE;
    return winhost::DropHandle(handle);
}

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
    if (winhost::Fails("WaitForSingleObject")) return WAIT_FAILED;
    const auto object = winhost::FindHandle(handle);
    return object ? object->Wait(milliseconds) : WAIT_FAILED;
}
