// Handles: numbers that stand for the open objects of a process.
#include "core/handles.h"

#include <map>
#include <mutex>

#include "core/faults.h"
#include <winhost.h>

namespace winhost {

namespace {

struct HandleTable {
    std::map<ULONG_PTR, std::shared_ptr<KernelObject>> objects;
    ULONG_PTR next = 4;
    std::mutex threads;
};

HandleTable& Table() {
    // Never destroyed: static objects of the program may close their
    // handles after this file's own static objects are destroyed.
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
    const std::lock_guard lock(table.threads);
    const ULONG_PTR number = table.next;
    table.next += 4;
    table.objects[number] = std::move(object);
    return reinterpret_cast<HANDLE>(number);
}

std::shared_ptr<KernelObject> FindHandle(HANDLE handle) {
    HandleTable& table = Table();
    const std::lock_guard lock(table.threads);
    const auto found = table.objects.find(reinterpret_cast<ULONG_PTR>(handle));
    if (found != table.objects.end()) return found->second;
    SetLastError(ERROR_INVALID_HANDLE);
    return nullptr;
}

bool DropHandle(HANDLE handle) {
    HandleTable& table = Table();
    std::unique_lock lock(table.threads);
    // The object is destroyed without the lock, because its destructor may close other handles.
    const auto gone = table.objects.extract(reinterpret_cast<ULONG_PTR>(handle));
    lock.unlock();
    if (!gone) SetLastError(ERROR_INVALID_HANDLE);
    return !gone.empty();
}

unsigned OpenHandles() {
    const std::lock_guard lock(Table().threads);
    return static_cast<unsigned>(Table().objects.size());
}

}  // namespace winhost

DWORD GetLastError() {
    return winhost::lastError;
}
void SetLastError(DWORD code) {
    winhost::lastError = code;
}

BOOL CloseHandle(HANDLE handle) {
    if (winhost::Fails("CloseHandle", ERROR_INVALID_HANDLE)) return FALSE;
    // It also stands for this process, which nothing closes.
    if (handle == INVALID_HANDLE_VALUE) return TRUE;
    const auto object = winhost::FindHandle(handle);
    if (object && object->IsKernels()) return winhost::DropHandle(handle);
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
}

DWORD WaitForSingleObject(HANDLE handle, DWORD milliseconds) {
    if (winhost::Fails("WaitForSingleObject")) return WAIT_FAILED;
    const auto object = winhost::FindHandle(handle);
    return object ? object->Wait(milliseconds) : WAIT_FAILED;
}
