// Where Windows looks for programs and libraries.
#include "processes/search.h"

#include <vector>

#include "core/host_io.h"
#include "core/machine.h"
#include "files/paths.h"

namespace winhost {

namespace {

std::u16string PathVariable() {
    const DWORD before = GetLastError();
    std::u16string value(GetEnvironmentVariableW(u"PATH", nullptr, 0), u'\0');
    if (!value.empty())
        value.resize(GetEnvironmentVariableW(u"PATH", value.data(), static_cast<DWORD>(value.size())));
    SetLastError(before);
    return value;
}

bool IsFile(const Place& place) {
    return place.exists() && !place.isFolder;
}

}  // namespace

Place SearchFile(std::u16string_view name, std::u16string_view extension, bool systemFirst) {
    std::u16string wanted(name);
    const auto separator = name.find_last_of(u"\\/:");
    const auto last = separator == name.npos ? name : name.substr(separator + 1);
    if (last.find(u'.') == last.npos) wanted += extension;

    Place missing;
    missing.error = ERROR_FILE_NOT_FOUND;
    if (separator != name.npos) {
        const Place place = Locate(wanted);
        return place.exists() && place.isFolder ? missing : place;
    }
    if (last.empty()) return missing;

    const auto& program = ProgramPath();
    const std::u16string current = u".";
    std::vector<std::u16string> folders{program.substr(0, program.rfind(u'\\'))};
    if (!systemFirst) folders.push_back(current);
    folders.insert(folders.end(), {u"C:\\Windows\\System32", u"C:\\Windows"});
    if (systemFirst) folders.push_back(current);
    const std::u16string path = PathVariable();
    for (std::u16string_view rest = path; !rest.empty();) {
        const auto end = std::min(rest.find(u';'), rest.size());
        if (end > 0) folders.emplace_back(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    for (const auto& folder : folders)
        if (Place place = Locate(folder + u'\\' + wanted); IsFile(place)) return place;
    return missing;
}

}  // namespace winhost
