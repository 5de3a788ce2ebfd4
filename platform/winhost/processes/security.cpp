// The token of this process and its privileges: those of an administrator's program.
#include "processes/security.h"

#include <algorithm>
#include <cstring>
#include <vector>
#include <string>

#include "core/faults.h"
#include "core/handles.h"
#include "core/machine.h"
#include "core/text.h"
#include "processes/processes.h"

namespace winhost {

namespace {

// The privileges of Windows, with their fixed numbers.
struct Privilege {
    const char* name;
    DWORD number;
};
constexpr Privilege kPrivileges[] = {
    {"SeCreateTokenPrivilege", 2},
    {"SeAssignPrimaryTokenPrivilege", 3},
    {"SeLockMemoryPrivilege", 4},
    {"SeIncreaseQuotaPrivilege", 5},
    {"SeMachineAccountPrivilege", 6},
    {"SeTcbPrivilege", 7},
    {"SeSecurityPrivilege", 8},
    {"SeTakeOwnershipPrivilege", 9},
    {"SeLoadDriverPrivilege", 10},
    {"SeSystemProfilePrivilege", 11},
    {"SeSystemtimePrivilege", 12},
    {"SeProfileSingleProcessPrivilege", 13},
    {"SeIncreaseBasePriorityPrivilege", 14},
    {"SeCreatePagefilePrivilege", 15},
    {"SeCreatePermanentPrivilege", 16},
    {"SeBackupPrivilege", 17},
    {"SeRestorePrivilege", 18},
    {"SeShutdownPrivilege", 19},
    {"SeDebugPrivilege", 20},
    {"SeAuditPrivilege", 21},
    {"SeSystemEnvironmentPrivilege", 22},
    {"SeChangeNotifyPrivilege", 23},
    {"SeRemoteShutdownPrivilege", 24},
    {"SeUndockPrivilege", 25},
    {"SeSyncAgentPrivilege", 26},
    {"SeEnableDelegationPrivilege", 27},
    {"SeManageVolumePrivilege", 28},
    {"SeImpersonatePrivilege", 29},
    {"SeCreateGlobalPrivilege", 30},
    {"SeTrustedCredManAccessPrivilege", 31},
    {"SeRelabelPrivilege", 32},
    {"SeIncreaseWorkingSetPrivilege", 33},
    {"SeTimeZonePrivilege", 34},
    {"SeCreateSymbolicLinkPrivilege", 35},
};
constexpr DWORD kShutdown = 19;

struct Held {
    DWORD number;
    bool enabled;
};
std::vector<Held>& Privileges() {
    static auto* privileges = [] {
        static const auto start = [] {
            return std::vector<Held>{{5, false},  {8, false},  {9, false},  {10, false}, {11, false},
                                     {12, false}, {13, false}, {14, false}, {15, false}, {17, false},
                                     {18, false}, {19, false}, {20, false}, {22, false}, {23, true},
                                     {24, false}, {25, false}, {28, false}, {29, true},  {30, true},
                                     {33, false}, {34, false}, {35, false}};
        };
        auto* made = new std::vector<Held>(start());
        OnEnter([] { Privileges() = start(); });
        return made;
    }();
    return *privileges;
}

Held* FindHeld(const LUID& luid) {
    auto& privileges = Privileges();
    const auto found = std::find_if(privileges.begin(), privileges.end(), [&](const Held& held) {
        return luid.HighPart == 0 && held.number == luid.LowPart;
    });
    return found == privileges.end() ? nullptr : &*found;
}

// The process has one token; every handle of a token stands for it.
class Token : public KernelObject {
  public:
    explicit Token(DWORD access) : m_access(access) {}
    DWORD access() const { return m_access; }

  private:
    DWORD m_access;
};

}  // namespace

bool HoldsShutdownPrivilege() {
    return FindHeld({kShutdown, 0})->enabled;
}

}  // namespace winhost

BOOL OpenProcessToken(HANDLE process, DWORD access, PHANDLE token) {
    if (winhost::Fails("OpenProcessToken")) return FALSE;
    if ((access & ~(TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY)) != 0)
        winhost::NotModelled("OpenProcessToken", "access " + std::to_string(access));
    switch (winhost::WhoseHandle(process)) {
        case winhost::Whose::NoProcess:
            return FALSE;
        case winhost::Whose::OtherProcess:
            winhost::NotModelled("OpenProcessToken", "another process");
        case winhost::Whose::ThisProcess:
            break;
    }
    *token = winhost::AddHandle(std::make_shared<winhost::Token>(access));
    return TRUE;
}

BOOL LookupPrivilegeValueW(LPCWSTR system, LPCWSTR name, PLUID luid) {
    if (winhost::Fails("LookupPrivilegeValueW")) return FALSE;
    if (system && *system) winhost::NotModelled("LookupPrivilegeValueW", "another system");
    for (const auto& privilege : winhost::kPrivileges) {
        if (!winhost::SameName(winhost::Utf16(privilege.name), name)) continue;
        *luid = {privilege.number, 0};
        return TRUE;
    }
    SetLastError(ERROR_NO_SUCH_PRIVILEGE);
    return FALSE;
}

BOOL AdjustTokenPrivileges(HANDLE handle, BOOL disableAll, PTOKEN_PRIVILEGES state, DWORD,
                           PTOKEN_PRIVILEGES previous, PDWORD) {
    if (winhost::Fails("AdjustTokenPrivileges")) return FALSE;
    if (disableAll || previous || !state)
        winhost::NotModelled("AdjustTokenPrivileges", "anything but enabling privileges");
    const auto token = winhost::HandleAs<winhost::Token>(handle);
    if (!token) return FALSE;
    if ((token->access() & TOKEN_ADJUST_PRIVILEGES) == 0) {
        SetLastError(ERROR_ACCESS_DENIED);
        return FALSE;
    }
    bool all = true;
    for (DWORD i = 0; i < state->PrivilegeCount; ++i) {
        const LUID_AND_ATTRIBUTES& wanted = state->Privileges[i];
        if ((wanted.Attributes & ~SE_PRIVILEGE_ENABLED) != 0)
            winhost::NotModelled("AdjustTokenPrivileges", "attributes " + std::to_string(wanted.Attributes));
        if (winhost::Held* held = winhost::FindHeld(wanted.Luid))
            held->enabled = wanted.Attributes == SE_PRIVILEGE_ENABLED;
        else
            all = false;
    }
    SetLastError(all ? ERROR_SUCCESS : ERROR_NOT_ALL_ASSIGNED);
    return TRUE;
}
