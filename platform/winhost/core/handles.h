// Handles: numbers that stand for the objects a process holds open.
#pragma once

#include <windows.h>

#include <memory>

#include "core/host_io.h"

namespace winhost {

class KernelObject {
  public:
    virtual ~KernelObject() = default;
    // As WaitForSingleObject. The base can't be waited for.
    virtual DWORD Wait(DWORD milliseconds);
};
HANDLE AddHandle(std::shared_ptr<KernelObject> object);
// The object behind a handle; null, with ERROR_INVALID_HANDLE set, when there is none of that kind.
std::shared_ptr<KernelObject> FindHandle(HANDLE handle);
template <class Kind>
std::shared_ptr<Kind> HandleAs(HANDLE handle) {
    auto object = std::dynamic_pointer_cast<Kind>(FindHandle(handle));
    if (!object) SetLastError(ERROR_INVALID_HANDLE);
    return object;
}
// Closes the handle; false when there was none.
bool DropHandle(HANDLE handle);

}  // namespace winhost
