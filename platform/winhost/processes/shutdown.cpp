// Ending the system. Only a restart is modelled.
#include "core/events.h"
#include "core/faults.h"
#include "core/machine.h"
#include "processes/security.h"

BOOL ExitWindowsEx(UINT flags, DWORD reason) {
    if (winhost::Fails("ExitWindowsEx")) return FALSE;
    if (flags != EWX_REBOOT) winhost::NotModelled("ExitWindowsEx", "flags " + std::to_string(flags));
    if (!winhost::HoldsShutdownPrivilege()) {
        SetLastError(ERROR_PRIVILEGE_NOT_HELD);
        return FALSE;
    }
    winhost::Record("exit-windows",
                    {winhost::Utf16(std::to_string(flags)), winhost::Utf16(std::to_string(reason))});
    return TRUE;
}
