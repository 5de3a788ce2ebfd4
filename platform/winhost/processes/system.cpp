// What kind of system the machine is. The marker file of its folder holds its version.
#include "processes/system.h"

#include <cstring>
#include <fstream>

#include "core/faults.h"
#include "core/machine.h"
#include "processes/processes.h"
#include <winhost.h>

namespace winhost {

namespace {

constexpr NTSTATUS kUnsuccessful = static_cast<NTSTATUS>(0xC0000001u);
constexpr NTSTATUS kInvalidParameter = static_cast<NTSTATUS>(0xC000000Du);
constexpr DWORD kPlatformNt = 2;
constexpr USHORT kSingleUserSession = 0x100;
constexpr UCHAR kWorkstation = 1;
constexpr std::size_t kSizeWithoutServicePack = offsetof(RTL_OSVERSIONINFOEXW, wServicePackMajor);
static_assert(sizeof(RTL_OSVERSIONINFOEXW) == 284 && kSizeWithoutServicePack == 276);

}  // namespace

NTSTATUS RtlGetVersion(RTL_OSVERSIONINFOW* version) {
    if (FaultOf("RtlGetVersion") != 0) return kUnsuccessful;
    const ULONG size = version->dwOSVersionInfoSize;
    if (size != sizeof *version && size != kSizeWithoutServicePack) return kInvalidParameter;
    std::memset(version, 0, size);
    version->dwOSVersionInfoSize = size;
    char dot;
    if (!(std::ifstream(MarkerFile(Root())) >> version->dwMajorVersion >> dot >> version->dwMinorVersion >>
          dot >> version->dwBuildNumber))
        NotModelled("RtlGetVersion", "a machine without a version");
    version->dwPlatformId = kPlatformNt;
    if (size == sizeof *version) {
        version->wSuiteMask = kSingleUserSession;
        version->wProductType = kWorkstation;
    }
    return 0;
}

}  // namespace winhost

BOOL IsWow64Process(HANDLE process, PBOOL wow64) {
    if (winhost::Fails("IsWow64Process")) return FALSE;
    if (winhost::WhoseHandle(process) == winhost::Whose::NoProcess) return FALSE;
    *wow64 = FALSE;
    return TRUE;
}

void GetSystemInfo(SYSTEM_INFO* info) {
    (void)winhost::FaultOf("GetSystemInfo");
    constexpr WORD kAmd64 = 9;
    constexpr DWORD kAmd64Type = 8664;
    *info = {};
    info->wProcessorArchitecture = kAmd64;
    info->dwPageSize = 4096;
    info->lpMinimumApplicationAddress = reinterpret_cast<LPVOID>(ULONG_PTR{0x10000});
    info->lpMaximumApplicationAddress = reinterpret_cast<LPVOID>(ULONG_PTR{0x7FFFFFFEFFFF});
    info->dwActiveProcessorMask = 1;
    info->dwNumberOfProcessors = 1;
    info->dwProcessorType = kAmd64Type;
    info->dwAllocationGranularity = 65536;
}
