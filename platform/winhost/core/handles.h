// Handles: numbers that stand for the open objects of a process.
#pragma once

#include <windows.h>

#include <memory>
#include <string>

namespace winhost {

class KernelObject {
  public:
    virtual ~KernelObject() = default;
    // Waits as WaitForSingleObject does. The base class can't be waited for.
    virtual DWORD Wait(DWORD milliseconds);
    // Whether CloseHandle closes it.
    virtual bool IsKernels() const { return true; }
    // Returns the path of a file, folder or key; empty for everything else.
    virtual std::u16string Name() const { return {}; }
};
// Returns a new handle for the object. Never null.
HANDLE AddHandle(std::shared_ptr<KernelObject> object);
// Returns the object that the handle stands for. Null, with ERROR_INVALID_HANDLE as the last error, when there is none
// of that kind.
std::shared_ptr<KernelObject> FindHandle(HANDLE handle);
// The same for objects of one kind.
template <class Kind>
std::shared_ptr<Kind> HandleAs(HANDLE handle) {
    auto object = std::dynamic_pointer_cast<Kind>(FindHandle(handle));
    if (!object) SetLastError(ERROR_INVALID_HANDLE);
    return object;
}
// Closes the handle. Returns false when there is no such handle.
bool DropHandle(HANDLE handle);

}  // namespace winhost
