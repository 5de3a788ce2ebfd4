// The shell's folders. The registry key "User Shell Folders" says where each one is; otherwise it has its usual place.
#include <algorithm>
#include <iterator>

#include <shlobj.h>

#include "core/bytes.h"
#include "core/environment.h"
#include "core/faults.h"
#include "core/machine.h"
#include "files/files.h"
#include "files/paths.h"
#include "registry/registry_store.h"

namespace winhost {

namespace {

constexpr std::u16string_view kUserShellFolders =
    u"\\Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders";
constexpr std::u16string_view kCurrentVersion = u"\\Software\\Microsoft\\Windows\\CurrentVersion";

struct ShellFolder {
    int number;
    std::u16string_view hive;
    std::u16string_view value;
    std::u16string_view usual;
    std::u16string_view key = kUserShellFolders;
};

constexpr std::u16string_view kDesktop = u"%USERPROFILE%\\Desktop";
constexpr std::u16string_view kPrograms =
    u"%USERPROFILE%\\AppData\\Roaming\\Microsoft\\Windows\\Start Menu\\Programs";
constexpr std::u16string_view kStartup =
    u"%USERPROFILE%\\AppData\\Roaming\\Microsoft\\Windows\\Start Menu\\Programs\\Startup";
constexpr std::u16string_view kCommonPrograms = u"%ProgramData%\\Microsoft\\Windows\\Start Menu\\Programs";
constexpr std::u16string_view kCommonStartup =
    u"%ProgramData%\\Microsoft\\Windows\\Start Menu\\Programs\\Startup";

// The last number that Windows has given to a folder.
constexpr int kLastNumber = 0x3D;
// What else a caller may ask for beside the folder.
constexpr int kOtherFlags = 0x7F00;

// A folder without a value is always at its usual place.
constexpr ShellFolder kFolders[] = {
    {CSIDL_DESKTOP, kCurrentUser, u"Desktop", kDesktop},
    {CSIDL_DESKTOPDIRECTORY, kCurrentUser, u"Desktop", kDesktop},
    {CSIDL_PROGRAMS, kCurrentUser, u"Programs", kPrograms},
    {CSIDL_PERSONAL, kCurrentUser, u"Personal", u"%USERPROFILE%\\Documents"},
    {CSIDL_STARTMENU, kCurrentUser, u"Start Menu",
     u"%USERPROFILE%\\AppData\\Roaming\\Microsoft\\Windows\\Start Menu"},
    {CSIDL_COMMON_STARTMENU, kLocalMachine, u"Common Start Menu",
     u"%ProgramData%\\Microsoft\\Windows\\Start Menu"},
    {CSIDL_LOCAL_APPDATA, kCurrentUser, u"Local AppData", u"%USERPROFILE%\\AppData\\Local"},
    {CSIDL_WINDOWS, kLocalMachine, {}, u"%SystemRoot%"},
    {CSIDL_SYSTEM, kLocalMachine, {}, u"%SystemRoot%\\System32"},
    {CSIDL_PROFILE, kCurrentUser, {}, u"%USERPROFILE%"},
    {CSIDL_STARTUP, kCurrentUser, u"Startup", kStartup},
    {CSIDL_COMMON_PROGRAMS, kLocalMachine, u"Common Programs", kCommonPrograms},
    {CSIDL_COMMON_STARTUP, kLocalMachine, u"Common Startup", kCommonStartup},
    {CSIDL_COMMON_DESKTOPDIRECTORY, kLocalMachine, u"Common Desktop", u"%PUBLIC%\\Desktop"},
    {CSIDL_APPDATA, kCurrentUser, u"AppData", u"%USERPROFILE%\\AppData\\Roaming"},
    {CSIDL_COMMON_APPDATA, kLocalMachine, u"Common AppData", u"%ProgramData%"},
    {CSIDL_PROGRAM_FILES, kLocalMachine, u"ProgramFilesDir", u"%SystemDrive%\\Program Files",
     kCurrentVersion},
    {CSIDL_MYPICTURES, kCurrentUser, u"My Pictures", u"%USERPROFILE%\\Pictures"},
    {CSIDL_COMMON_DOCUMENTS, kLocalMachine, u"Common Documents", u"%PUBLIC%\\Documents"},
    {CSIDL_COMMON_PICTURES, kLocalMachine, u"CommonPictures", u"%PUBLIC%\\Pictures"},
};

// Returns the folder's path from the registry, or its usual path when the registry holds no text for it.
std::u16string PathOf(const ShellFolder& folder) {
    std::u16string path;
    if (!folder.value.empty()) {
        RegistryFile file;
        RegistryNode* key = file.root().FindKey(std::u16string(folder.hive) + std::u16string(folder.key));
        const RegistryValue* value = key ? key->FindValue(folder.value) : nullptr;
        if (value && (value->type == REG_SZ || value->type == REG_EXPAND_SZ)) path = WideAt(value->bytes, 0);
    }
    return ExpandVariables(path.empty() ? folder.usual : path);
}

// Makes the folder and all missing folders above it. Returns 0 or the error code of a failure.
DWORD MakeFolders(const std::u16string& path) {
    for (auto end = path.find(u'\\', 3);; end = path.find(u'\\', end + 1)) {
        const Place folder = Locate(path.substr(0, end));
        if (!folder.reachable()) return folder.error;
        const DWORD error = folder.exists() ? 0 : MakeFolder(folder);
        if (error) return error;
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
    if (number & kOtherFlags || (entry == std::end(kFolders) && number >= 0 && number <= kLastNumber))
        NotModelled("SHGetFolderPathW", "folder " + std::to_string(number));
    if (entry == std::end(kFolders)) return E_INVALIDARG;
    const std::u16string found = PathOf(*entry);
    if (found.size() >= MAX_PATH) return HRESULT_FROM_WIN32(ERROR_FILENAME_EXCED_RANGE);
    const Place place = Locate(found);
    // Without the flag, the error is the same however many folders of the path are missing.
    DWORD error = place.error == ERROR_PATH_NOT_FOUND ? ERROR_FILE_NOT_FOUND : place.error;
    if (place.exists() && !place.isFolder) error = ERROR_DIRECTORY;
    if (!place.exists() && !place.windows.empty() && (folder & CSIDL_FLAG_CREATE))
        error = MakeFolders(place.windows);
    if (error != ERROR_SUCCESS) return HRESULT_FROM_WIN32(error);
    wcscpy(path, found.c_str());
    return S_OK;
}
