// Windows paths and their host paths: full paths by Windows' rules, and names found whatever their case.
#include "files/paths.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "core/machine.h"
#include "core/text.h"
#include "files/stored_names.h"
#include <winhost.h>

namespace fs = std::filesystem;

namespace winhost {

namespace {

bool IsLetter(char16_t unit) {
    return (unit | 0x20) >= u'a' && (unit | 0x20) <= u'z';
}

// The current folder as this process spelled it, as long as it is current.
struct Spelling {
    fs::path host;
    std::u16string windows;
};
// A function, because static objects of the program already make platform calls.
Spelling& CurrentSpelling() {
    static Spelling spelling;
    return spelling;
}

constexpr std::u16string_view kDevicePrefix = u"\\\\.\\";

std::size_t FindSeparator(std::u16string_view path, std::size_t from = 0) {
    const auto begin = path.begin() + static_cast<std::ptrdiff_t>(from);
    return static_cast<std::size_t>(std::find_if(begin, path.end(), IsSeparator) - path.begin());
}

bool StartsWithDrive(std::u16string_view path) {
    return path.size() > 1 && path[1] == u':' && IsLetter(path[0]);
}

bool IsDeviceName(std::u16string_view name) {
    constexpr std::size_t kLongest = 7;
    if (name.size() > kLongest) return false;
    const std::u16string upper = Upper(name);
    if (upper == u"CONIN$" || upper == u"CONOUT$") return true;
    const std::u16string kind = upper.substr(0, 3);
    if (upper.size() == 3) return kind == u"CON" || kind == u"AUX" || kind == u"NUL" || kind == u"PRN";
    return upper.size() == 4 && (kind == u"COM" || kind == u"LPT") &&
           std::u16string_view(u"123456789\u00B9\u00B2\u00B3").find(upper[3]) != std::u16string_view::npos;
}

// Returns the device that the last name of a path means, in any folder and with any extension. Empty if it means none.
std::u16string_view DeviceOf(std::u16string_view path) {
    path = path.substr(0, path.find_last_not_of(u':') + 1);
    std::u16string_view name = path.substr(path.find_last_of(u"\\/") + 1);
    if (StartsWithDrive(name)) name.remove_prefix(2);
    name = name.substr(0, name.find_first_of(u".:"));
    name = name.substr(0, name.find_last_not_of(u' ') + 1);
    return IsDeviceName(name) ? name : std::u16string_view{};
}

// Adds a name to a full path that ends with a backslash. The path never becomes shorter than `root`.
void AddName(std::u16string& full, std::size_t root, std::u16string_view name, bool isLast) {
    if (name == u"..") {
        if (full.size() > root) full.pop_back();
        while (full.size() > root && full.back() != u'\\')
            full.pop_back();
    } else if (!name.empty() && name != u".") {
        // Inside a path, only one of the dots and blanks at the end of a name is dropped, and only a dot.
        full += !isLast && name.ends_with(u'.') ? name.substr(0, name.size() - 1) : name;
        full += u'\\';
    }
}

// Adds all names of `path`. The result has a closing backslash if `path` has one.
std::u16string WithNames(std::u16string full, std::u16string_view path) {
    const std::size_t root = full.size();
    while (!path.empty()) {
        const std::size_t end = FindSeparator(path);
        const bool isLast = end == path.size();
        AddName(full, root, path.substr(0, end), isLast);
        path.remove_prefix(isLast ? end : end + 1);
        if (!isLast || full.size() == root) continue;
        full.pop_back();
        // At the end of the whole path all of them are dropped.
        full.resize(std::max(root, full.find_last_not_of(u". ") + 1));
    }
    return full;
}

std::u16string NetworkPath(std::u16string_view path) {
    if (path.size() > 2 && (path[2] == u'.' || path[2] == u'?') && FindSeparator(path, 2) == 3)
        NotModelled("paths", "a path of the system's own objects: " + Utf8(path));
    // ".." leads neither above the server's name nor above its share.
    std::size_t rest = FindSeparator(path, 2);
    rest = FindSeparator(path, std::min(rest + 1, path.size()));
    std::u16string root(path.substr(0, std::min(rest + 1, path.size())));
    std::replace(root.begin(), root.end(), u'/', u'\\');
    return WithNames(root, path.substr(root.size()));
}

bool IsForbidden(char16_t unit) {
    return unit < 0x20 || unit == u'|' ||
           (unit <= u'?' && std::u16string_view(u"<>:\"?*").find(unit) != std::u16string_view::npos);
}

// Whether a stored name can have this form.
bool IsValidName(std::u16string_view name) {
    if (name == u"." || name == u"..") return false;
    if (std::any_of(name.begin(), name.end(), IsForbidden)) return false;
    constexpr std::size_t kLongestName = 255;
    // A unit takes three bytes at most.
    if (name.size() <= kLongestName && 3 * name.size() > kLongestName && Utf8(name).size() > kLongestName)
        NotModelled("paths", "a name that the host can't store: " + Utf8(name));
    return name.size() <= kLongestName;
}

bool AreValidNames(std::u16string_view names) {
    while (!names.empty()) {
        const std::size_t end = FindSeparator(names);
        if (!IsValidName(names.substr(0, end))) return false;
        names.remove_prefix(std::min(end + 1, names.size()));
    }
    return true;
}

// Devices are in each folder that exists.
void LocateDevice(std::u16string_view path, Place& place) {
    const std::u16string folder(path.substr(0, path.find_last_of(u"\\/") + 1));
    place.isDevice = folder.empty() || Locate(folder).exists();
    if (place.isDevice) place.error = ERROR_FILE_NOT_FOUND;
}

// Follows the names below a folder without regard to case. Returns 0 or the error, and what is there.
DWORD FollowNames(std::string& host, std::u16string_view names, struct stat& info) {
    while (!names.empty()) {
        const auto end = std::min(names.find(u'\\'), names.size());
        const auto name = names.substr(0, end);
        names.remove_prefix(std::min(end + 1, names.size()));
        bool found = false;
        const std::string stored = StoredName(host, name, found);
        host += "/" + stored;
        if (!found) return names.empty() ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
        if (stat(host.c_str(), &info) != 0 || (!names.empty() && !S_ISDIR(info.st_mode)))
            return ERROR_PATH_NOT_FOUND;
    }
    return 0;
}

void LocateOnDrive(Place& place) {
    place.isClosed = place.windows.ends_with(u'\\');
    if (place.isClosed && place.windows.size() > 3) place.windows.pop_back();
    place.host = Root().native() + "/" + static_cast<char>(UpperUnit(place.windows[0]));
    const std::u16string_view names = std::u16string_view(place.windows).substr(3);
    if (!AreValidNames(names)) {
        place.error = ERROR_INVALID_NAME;
        return;
    }
    // Names are mostly spelled as they are stored. Then one look is enough.
    struct stat info;
    std::string spelled = Utf8(names);
    std::replace(spelled.begin(), spelled.end(), '\\', '/');
    if (stat((place.host + "/" + spelled).c_str(), &info) == 0) {
        if (!spelled.empty()) place.host += "/" + spelled;
    } else {
        if (stat(place.host.c_str(), &info) != 0) return;
        place.error = FollowNames(place.host, names, info);
        if (place.error) return;
    }
    place.isFolder = S_ISDIR(info.st_mode);
    // A closing separator means a folder, so a file there counts as missing.
    place.isFileForFolder = place.isClosed && !place.isFolder;
    place.error = place.isFileForFolder ? ERROR_INVALID_NAME : 0;
}

}  // namespace

bool IsSeparator(char16_t unit) {
    return unit == u'\\' || unit == u'/';
}

bool EndsInSeparator(LPCWSTR path) {
    const std::u16string_view text = path ? path : u"";
    return !text.empty() && IsSeparator(text.back());
}

std::u16string FullPath(LPCWSTR text) {
    const std::u16string_view path = text ? text : u"";
    if (path.find_first_not_of(u' ') == path.npos) {
        SetLastError(ERROR_PATH_NOT_FOUND);
        return {};
    }
    if (path.size() > 1 && IsSeparator(path[0]) && IsSeparator(path[1])) return NetworkPath(path);
    if (const auto device = DeviceOf(path); !device.empty()) return std::u16string(kDevicePrefix) += device;
    const bool hasDrive = StartsWithDrive(path);
    const auto rest = path.substr(hasDrive ? 2 : 0);
    const bool isAbsolute = !rest.empty() && IsSeparator(rest[0]);
    const auto current = hasDrive && isAbsolute ? std::u16string() : CurrentFolder();
    const std::u16string root{hasDrive ? path[0] : current[0], u':', u'\\'};
    if (isAbsolute || (hasDrive && UpperUnit(current[0]) != UpperUnit(path[0]))) return WithNames(root, rest);
    std::u16string names = current.substr(root.size());
    if (!rest.empty()) (names += u'\\') += rest;
    return WithNames(current.substr(0, root.size()), names);
}

std::u16string CurrentFolder() {
    std::error_code error;
    const fs::path host = fs::current_path(error);
    return host == CurrentSpelling().host ? CurrentSpelling().windows : WindowsPath(host);
}

void SpellCurrentFolder(const Place& place) {
    std::error_code error;
    CurrentSpelling() = {fs::current_path(error), place.windows};
}

Place Locate(const std::u16string& path) {
    return Locate(path.c_str());
}

Place Locate(LPCWSTR path) {
    const DWORD before = GetLastError();
    Place place;
    place.windows = FullPath(path);
    SetLastError(before);
    place.error = ERROR_PATH_NOT_FOUND;
    if (place.windows.empty() || place.windows.size() >= MAX_PATH) return place;
    if (place.windows.starts_with(kDevicePrefix))
        LocateDevice(path, place);
    else if (place.windows[0] == u'\\')
        place.error = ERROR_BAD_NETPATH;  // the machine has no network
    else
        LocateOnDrive(place);
    return place;
}

Place LocateFile(LPCWSTR path) {
    Place place = Locate(path);
    if (place.error == ERROR_FILE_NOT_FOUND && place.isClosed) place.error = ERROR_INVALID_NAME;
    return place;
}

fs::path HostPath(std::u16string_view path) {
    return Locate(std::u16string(path)).host;
}

}  // namespace winhost
