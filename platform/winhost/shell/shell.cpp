// The shell's commands. They are only recorded, because the machine has no browser and no desktop.
#include <shlobj.h>

#include "core/faults.h"
#include "core/machine.h"
#include "core/text.h"
#include "core/events.h"

namespace {

constexpr INT_PTR kStarted = 42;  // a result above 32 means success
constexpr INT_PTR kLastFailure = 32;

}  // namespace

HINSTANCE ShellExecuteW(HWND owner, LPCWSTR verb, LPCWSTR file, LPCWSTR parameters, LPCWSTR folder,
                        int showCommand) {
    if (const DWORD error = winhost::FaultOf("ShellExecuteW"))
        return reinterpret_cast<HINSTANCE>(std::min<INT_PTR>(error, kLastFailure));
    const std::u16string address = file ? file : u"";
    if (owner || parameters || folder)
        winhost::NotModelled("ShellExecuteW", "an owner, parameters or a folder");
    if (!verb || !winhost::SameName(verb, u"open"))
        winhost::NotModelled("ShellExecuteW", "another verb than open");
    if (!address.starts_with(u"http://") && !address.starts_with(u"https://"))
        winhost::NotModelled("ShellExecuteW", "a file that is no web address: " + winhost::Utf8(address));
    winhost::Record("shell-execute", {verb, address, winhost::Utf16(std::to_string(showCommand))});
    return reinterpret_cast<HINSTANCE>(kStarted);
}

void SHChangeNotify(LONG event, UINT flags, LPCVOID item1, LPCVOID item2) {
    if (winhost::FaultOf("SHChangeNotify") != 0) return;
    if (event != SHCNE_ASSOCCHANGED || flags != SHCNF_IDLIST || item1 || item2)
        winhost::NotModelled("SHChangeNotify", "event " + std::to_string(event));
    winhost::Record("change-notify", {winhost::Utf16(std::to_string(event))});
}
