#include <map>

#include "lab/unchanged.h"

namespace lab {

bool IsUnchanged(HKEY key, const std::string& name) {
    struct Watch {
        HKEY key = nullptr;
        HANDLE changed = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    };
    static std::map<std::string, Watch> watches;
    Watch& watch = watches[name];
    // A key that is deleted, and perhaps made again, tells nothing more.
    const auto isThere = [&] {
        return RegQueryInfoKeyW(watch.key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
    };
    if (watch.key && WaitForSingleObject(watch.changed, 0) == WAIT_TIMEOUT && isThere()) return true;
    // To close the key sets the event.
    if (watch.key) RegCloseKey(watch.key);
    ResetEvent(watch.changed);
    constexpr DWORD kAll = REG_NOTIFY_CHANGE_NAME | REG_NOTIFY_CHANGE_LAST_SET;
    if (RegOpenKeyExW(key, nullptr, 0, KEY_READ, &watch.key) != ERROR_SUCCESS ||
        RegNotifyChangeKeyValue(watch.key, TRUE, kAll, watch.changed, TRUE) != ERROR_SUCCESS)
        watch.key = nullptr;
    return false;
}

}  // namespace lab
