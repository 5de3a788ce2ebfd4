// Windows paths and their places on the host: full paths by Windows' rules, names found without regard to
// case.
#include "files/paths.h"

#include <dirent.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "core/host_io.h"
#include "core/machine.h"
#include "core/text.h"
#include "winhost.h"

namespace fs = std::filesystem;

namespace winhost {

namespace {

bool IsLetter(char16_t unit) {
    return (unit | 0x20) >= u'a' && (unit | 0x20) <= u'z';
}

std::u16string CurrentFolder() {
    std::error_code error;
    return WindowsPath(fs::current_path(error));
}

// Windows drops dots and blanks from the end of a name; ".", "..", and names of them alone are told apart
// before.
std::u16string_view WithoutTail(std::u16string_view name) {
    const auto last = name.find_last_not_of(u". ");
    return last == name.npos ? std::u16string_view{} : name.substr(0, last + 1);
}

void AddName(std::vector<std::u16string>& names, std::u16string_view name) {
    if (name == u"..") {
        if (!names.empty()) names.pop_back();
    } else if (const auto kept = WithoutTail(name); !kept.empty()) {
        names.emplace_back(kept);
    }
}

void AddNames(std::vector<std::u16string>& names, std::u16string_view path) {
    while (!path.empty()) {
        std::size_t end = 0;
        while (end < path.size() && !IsSeparator(path[end]))
            ++end;
        AddName(names, path.substr(0, end));
        path.remove_prefix(end + (end < path.size() ? 1 : 0));
    }
}

// Whether names with backslashes between them hold nothing that a stored name can't.
bool AreValidNames(std::u16string_view names) {
    for (const char16_t unit : names)
        if (unit < 0x20 || std::u16string_view(u"<>:\"|?*").find(unit) != std::u16string_view::npos)
            return false;
    return true;
}

bool IsAscii(std::string_view text) {
    return std::none_of(text.begin(), text.end(), [](char byte) { return byte & 0x80; });
}

bool SameAscii(std::string_view left, std::string_view right) {
    return left.size() == right.size() && strncasecmp(left.data(), right.data(), left.size()) == 0;
}

// The name as the folder stores it, or as spelled when it holds none like it.
std::string StoredName(const std::string& folder, std::u16string_view name, bool& found) {
    std::string spelled = Utf8(name);
    struct stat info;
    found = lstat((folder + "/" + spelled).c_str(), &info) == 0;
    if (found) return spelled;
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir(folder.c_str()), closedir);
    if (!entries) return spelled;
    const bool plain = IsAscii(spelled);
    while (const dirent* entry = readdir(entries.get())) {
        // Text is converted only where bytes alone can't tell: creating many files scans a folder each time.
        const std::string_view stored = entry->d_name;
        found = plain && IsAscii(stored) ? SameAscii(stored, spelled) : SameName(Utf16(stored), name);
        if (found) return std::string(stored);
    }
    return spelled;
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
    if (path.empty()) {
        SetLastError(ERROR_PATH_NOT_FOUND);
        return {};
    }
    // No network and no devices here: "\\server\share" leads nowhere.
    if (path.size() > 1 && IsSeparator(path[0]) && IsSeparator(path[1])) {
        SetLastError(ERROR_PATH_NOT_FOUND);
        return {};
    }
    std::vector<std::u16string> names;
    char16_t drive;
    if (path.size() > 1 && path[1] == u':' && IsLetter(path[0])) {
        drive = UpperUnit(path[0]);
        const bool absolute = path.size() > 2 && IsSeparator(path[2]);
        const auto current = absolute ? std::u16string() : CurrentFolder();
        if (current.starts_with(drive)) AddNames(names, std::u16string_view(current).substr(2));
        AddNames(names, path.substr(2));
    } else {
        const auto current = CurrentFolder();
        drive = current[0];
        if (!IsSeparator(path[0])) AddNames(names, std::u16string_view(current).substr(2));
        AddNames(names, path);
    }
    std::u16string full{drive, u':'};
    for (const auto& name : names)
        full += u'\\' + name;
    if (names.empty()) full += u'\\';
    return full;
}

Place Locate(const std::u16string& path) {
    return Locate(path.c_str());
}

Place Locate(LPCWSTR path) {
    const DWORD before = GetLastError();
    Place place;
    place.windows = FullPath(path);
    SetLastError(before);
    if (place.windows.empty() || place.windows.size() >= MAX_PATH) {
        place.error = ERROR_PATH_NOT_FOUND;
        return place;
    }
    place.host = Root().native() + "/" + static_cast<char>(place.windows[0]);
    std::u16string_view rest = std::u16string_view(place.windows).substr(3);
    if (!AreValidNames(rest)) {
        place.error = ERROR_INVALID_NAME;
        return place;
    }
    // Mostly the names are spelled as they are stored, and one look is enough.
    struct stat info;
    std::string spelled = Utf8(rest);
    std::replace(spelled.begin(), spelled.end(), '\\', '/');
    if (stat((place.host + "/" + spelled).c_str(), &info) == 0) {
        if (!spelled.empty()) place.host += "/" + spelled;
        rest = {};
    } else if (stat(place.host.c_str(), &info) != 0) {
        place.error = ERROR_PATH_NOT_FOUND;
        return place;
    }
    while (!rest.empty()) {
        const auto end = std::min(rest.find(u'\\'), rest.size());
        const auto name = rest.substr(0, end);
        rest.remove_prefix(std::min(end + 1, rest.size()));
        bool found = false;
        const std::string stored = StoredName(place.host, name, found);
        place.host += "/" + stored;
        if (!found) {
            place.error = rest.empty() ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
            return place;
        }
        if (stat(place.host.c_str(), &info) != 0 || (!rest.empty() && !S_ISDIR(info.st_mode))) {
            place.error = ERROR_PATH_NOT_FOUND;
            return place;
        }
    }
    place.isFolder = S_ISDIR(info.st_mode);
    // A closing separator names a folder, so that a file there is no such file.
    if (!place.isFolder && EndsInSeparator(path)) place.error = ERROR_INVALID_NAME;
    return place;
}

Place LocateFile(LPCWSTR path) {
    Place place = Locate(path);
    if (place.error == ERROR_FILE_NOT_FOUND && EndsInSeparator(path)) place.error = ERROR_INVALID_NAME;
    return place;
}

fs::path HostPath(std::u16string_view path) {
    return Locate(std::u16string(path)).host;
}

}  // namespace winhost
