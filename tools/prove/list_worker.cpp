// list_worker ROUNDS: enters and leaves the list of running copies ROUNDS times. Exits with 0 if it found itself there
// once each time and didn't hang, otherwise with 1, 2 or 3.
#include <algorithm>

#include "common/hang.h"
#include "instances/instance_manager.h"
#include "prove/list.h"

namespace {

// Returns how often this process is in the list.
int TimesListed(COXInstanceManager& manager) {
    CDWordArray ids;
    if (!manager.ListInstances(ids)) return 0;
    int times = 0;
    for (int index = 0; index < ids.GetSize(); ++index)
        times += ids[index] == GetCurrentProcessId();
    return times;
}

}  // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
    const int rounds = __argc > 1 ? _wtoi(__wargv[1]) : 0;
    for (int round = 0; round < rounds; ++round) {
        const DWORD start = GetTickCount();
        COXInstanceManager manager(prove::kListName, prove::kAdditionalBytes, true);
        if (TimesListed(manager) != 1) return 1;
        if (manager.RemoveInstance(GetCurrentProcessId()) != 1) return 2;
        if (GetTickCount() - start > tools::kHangMs) return 3;
        // Messages that are posted without a window arrive at this thread.
        for (MSG message; PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);) {
        }
    }
    return 0;
}
