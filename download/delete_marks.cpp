// One step for all paths: the system's own call for one path reads and writes the whole list, which takes minutes for
// a package of thousands of files.
#include "delete_marks.h"

#include "support/registry.h"

namespace download {

namespace {

using Text = CString::Store;

constexpr WCHAR kKey[] = TEXT("SYSTEM\\CurrentControlSet\\Control\\Session Manager");
constexpr WCHAR kValue[] = TEXT("PendingFileRenameOperations");
constexpr WCHAR kPathMark[] = TEXT("\\??\\");

// The list: a source and a target for each step, each with its terminator. A target without text means a delete.
struct List {
    RegistryKey key;
    Text text;

    DWORD Read() {
        key = OpenRegKey(HKEY_LOCAL_MACHINE, kKey, KEY_QUERY_VALUE | KEY_SET_VALUE);
        if (!key) return ERROR_ACCESS_DENIED;
        DWORD cb = 0, type = 0;
        LSTATUS error = RegQueryValueExW(key.get(), kValue, nullptr, &type, nullptr, &cb);
        if (error == ERROR_FILE_NOT_FOUND) return ERROR_SUCCESS;
        if (error != ERROR_SUCCESS || type != REG_MULTI_SZ) return ERROR_INVALID_DATA;
        text.resize(cb / sizeof(WCHAR));
        error =
            RegQueryValueExW(key.get(), kValue, nullptr, nullptr, reinterpret_cast<LPBYTE>(text.data()), &cb);
        // Another program may have taken marks away between both calls.
        text.resize(cb / sizeof(WCHAR));
        // The last terminator is that of the list.
        if (!text.empty()) text.pop_back();
        return static_cast<DWORD>(error);
    }

    DWORD Write() const {
        if (text.empty()) return static_cast<DWORD>(RegDeleteValueW(key.get(), kValue));
        return static_cast<DWORD>(RegSetValueExW(key.get(), kValue, 0, REG_MULTI_SZ,
                                                 reinterpret_cast<const BYTE*>(text.c_str()),
                                                 static_cast<DWORD>((text.size() + 1) * sizeof(WCHAR))));
    }
};

}  // namespace

DWORD MarkForNextStart(const std::vector<CString>& paths) {
    List list;
    if (const DWORD error = list.Read()) return error;
    for (const CString& path : paths) {
        list.text += kPathMark + path.Text();
        list.text.append(2, 0);
    }
    return list.Write();
}

DWORD WithdrawMarks(const CString& folder) {
    List list;
    if (const DWORD error = list.Read()) return error;
    const Text own = kPathMark + folder.Text();
    Text kept;
    for (std::size_t at = 0; at < list.text.size();) {
        const std::size_t target = list.text.find(WCHAR{0}, at) + 1;
        const std::size_t end = std::min(list.text.find(WCHAR{0}, target), list.text.size() - 1) + 1;
        if (target == 0) break;
        // No other name begins with that of the folder.
        if (list.text.compare(at, own.size(), own) != 0) kept.append(list.text, at, end - at);
        at = end;
    }
    if (kept == list.text) return ERROR_SUCCESS;
    list.text = std::move(kept);
    return list.Write();
}

}  // namespace download
