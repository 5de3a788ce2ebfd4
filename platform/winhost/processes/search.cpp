// Where Windows looks for programs and libraries.
#include "processes/search.h"

#include <vector>

#include "core/environment.h"
#include "core/machine.h"
#include "files/paths.h"

namespace winhost {

namespace {

bool IsFile(const Place& place) {
    return place.exists() && !place.isFolder;
}

// Whether a name itself says where its file is, so that no folder is searched.
bool SaysWhere(std::u16string_view name, Wanted wanted) {
    if (wanted == Wanted::Program) return name.find_first_of(u"\\/:") != name.npos;
    return name.starts_with(u'\\') || name.starts_with(u'/') || name.substr(0, 2).ends_with(u':');
}

}  // namespace

Place SearchFile(std::u16string_view name, std::u16string_view extension, Wanted wanted) {
    std::u16string whole(name);
    const auto separator = name.find_last_of(u"\\/:");
    const auto last = separator == name.npos ? name : name.substr(separator + 1);
    if (last.find(u'.') == last.npos) whole += extension;

    Place missing;
    missing.error = ERROR_FILE_NOT_FOUND;
    if (SaysWhere(name, wanted)) {
        const Place place = Locate(whole);
        return place.exists() && place.isFolder ? missing : place;
    }
    if (last.empty()) return missing;

    if (wanted == Wanted::SystemLibrary) {
        const Place place = Locate(u"C:\\Windows\\System32\\" + whole);
        return IsFile(place) ? place : missing;
    }
    const auto& program = ProgramPath();
    const std::u16string current = u".";
    std::vector<std::u16string> folders{program.substr(0, program.rfind(u'\\'))};
    if (wanted == Wanted::Program) folders.push_back(current);
    folders.insert(folders.end(), {u"C:\\Windows\\System32", u"C:\\Windows"});
    if (wanted == Wanted::Library) folders.push_back(current);
    const std::u16string path = ValueOfVariable(u"PATH").value_or(u"");
    for (std::u16string_view rest = path; !rest.empty();) {
        const auto end = std::min(rest.find(u';'), rest.size());
        if (end > 0) folders.emplace_back(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    for (const auto& folder : folders)
        if (Place place = Locate(folder + u'\\' + whole); IsFile(place)) return place;
    return missing;
}

}  // namespace winhost
