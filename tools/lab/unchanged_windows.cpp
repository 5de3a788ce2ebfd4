#include <map>

#include "lab/unchanged.h"
#include "support/handles.h"

namespace lab {

bool IsUnchanged(HKEY key, const std::string& name) {
    struct Watch {
        RegistryKey key;
        KernelHandle changed{CreateEventW(nullptr, FALSE, FALSE, nullptr)};
    };
    static std::map<std::string, Watch> watches;
    Watch& watch = watches[name];
    // A key that is deleted, and perhaps made again, tells nothing more.
    const auto isThere = [&] {
        return RegQueryInfoKeyW(watch.key.get(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                nullptr, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
    };
    if (watch.key && WaitForSingleObject(watch.changed.get(), 0) == WAIT_TIMEOUT && isThere()) return true;
    // To close the key sets the event.
    watch.key.reset();
    ResetEvent(watch.changed.get());
    HKEY opened = nullptr;
    if (RegOpenKeyExW(key, nullptr, 0, KEY_READ, &opened) != ERROR_SUCCESS) return false;
    watch.key.reset(opened);
    constexpr DWORD kAll = REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_LAST_SET;
    if (RegNotifyChangeKeyValue(opened, TRUE, kAll, watch.changed.get(), TRUE) != ERROR_SUCCESS)
        watch.key.reset();
    return false;
}

}  // namespace lab
