// The shell's folders: each lies where the "Shell Folders" key says.
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <iterator>

#include <shlobj.h>

#include "core/faults.h"
#include "core/host_io.h"
#include "core/limits.h"
#include "core/machine.h"
#include "files/paths.h"
#include "registry/registry_store.h"

namespace winhost {

namespace {

struct ShellFolder {
    int number;
    std::u16string_view hive;
    std::u16string_view value;
};

constexpr ShellFolder kFolders[] = {
    {CSIDL_DESKTOP, kCurrentUser, u"Desktop"},
    {CSIDL_PROGRAMS, kCurrentUser, u"Programs"},
    {CSIDL_PERSONAL, kCurrentUser, u"Personal"},
    {CSIDL_STARTUP, kCurrentUser, u"Startup"},
    {CSIDL_COMMON_PROGRAMS, kLocalMachine, u"Common Programs"},
    {CSIDL_COMMON_STARTUP, kLocalMachine, u"Common Startup"},
    {CSIDL_COMMON_DESKTOPDIRECTORY, kLocalMachine, u"Common Desktop"},
    {CSIDL_APPDATA, kCurrentUser, u"AppData"},
    {CSIDL_COMMON_APPDATA, kLocalMachine, u"Common AppData"},
    {CSIDL_MYPICTURES, kCurrentUser, u"My Pictures"},
    {CSIDL_COMMON_DOCUMENTS, kLocalMachine, u"Common Documents"},
    {CSIDL_COMMON_PICTURES, kLocalMachine, u"CommonPictures"},
};

constexpr std::u16string_view kShellFolders =
    u"\\Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders";

// Empty when the registry holds no text for the folder.
std::u16string StoredPath(const ShellFolder& folder) {
    RegistryFile file;
    RegistryNode* key = file.root().FindKey(std::u16string(folder.hive) + std::u16string(kShellFolders));
    const RegistryValue* value = key ? key->FindValue(folder.value) : nullptr;
    std::u16string path;
    for (std::size_t i = 0; value && i + 1 < value->bytes.size(); i += 2) {
        const auto unit = static_cast<char16_t>(static_cast<BYTE>(value->bytes[i]) |
                                                (static_cast<BYTE>(value->bytes[i + 1]) << 8));
        if (unit == 0) break;
        path += unit;
    }
    return path;
}

// Makes the folder with all that are missing above it. The error code of a failure.
DWORD MakeFolders(const std::u16string& path) {
    for (auto end = path.find(u'\\', 3);; end = path.find(u'\\', end + 1)) {
        const Place folder = Locate(path.substr(0, end));
        if (!folder.reachable()) return folder.error;
        if (!folder.exists()) Step();
        if (!folder.exists() && mkdir(folder.host.c_str(), 0777) != 0) return ErrorOf(errno);
        if (folder.exists() && !folder.isFolder) return ERROR_PATH_NOT_FOUND;
        if (end == path.npos) return ERROR_SUCCESS;
    }
}

}  // namespace

}  // namespace winhost

HRESULT SHGetFolderPathW(HWND, int folder, HANDLE token, DWORD flags, LPWSTR path) {
    using namespace winhost;
    if (!path) return E_INVALIDARG;
    *path = 0;
    if (const DWORD fault = FaultOf("SHGetFolderPathW")) return HRESULT_FROM_WIN32(fault);
    if (token || flags != SHGFP_TYPE_CURRENT) NotModelled("SHGetFolderPathW", "token or flags");
    const int number = folder & ~CSIDL_FLAG_CREATE;
    const auto* entry = std::find_if(std::begin(kFolders), std::end(kFolders),
                                     [number](const ShellFolder& each) { return each.number == number; });
    if (entry == std::end(kFolders)) return E_INVALIDARG;
    const std::u16string stored = StoredPath(*entry);
    if (stored.size() >= MAX_PATH) return HRESULT_FROM_WIN32(ERROR_FILENAME_EXCED_RANGE);
    const Place place = Locate(stored);
    DWORD error = place.error;
    if (place.exists() && !place.isFolder) error = ERROR_DIRECTORY;
    if (!place.exists() && !place.windows.empty() && (folder & CSIDL_FLAG_CREATE))
        error = MakeFolders(place.windows);
    if (error != ERROR_SUCCESS) return HRESULT_FROM_WIN32(error);
    wcscpy(path, stored.c_str());
    return S_OK;
}
