#include "rehearse/expected.h"

#include <set>
#include <unordered_map>

#include "common/copied_files.h"
#include "common/text.h"
#include "engine/manifest.h"
#include "support/handles.h"

namespace rehearse {

namespace {

using tools::FolderOf, tools::Folded;

constexpr WCHAR kManifest[] = TEXT("QtvUnInst.log");

// The size and the digest. A copy may have other attributes.
std::string ContentOf(const std::string& what) {
    const auto size = what.find(" bytes ");
    return size == what.npos ? what : what.substr(what.rfind(' ', size - 1));
}

// Adds sentences about the copies that aren't as the files of the package.
void AddWrong(const tools::CopiedFiles& files, const lab::State& machine, const std::string& package,
              std::vector<std::string>& wrong) {
    std::unordered_map<std::string, std::string> there;
    for (const auto& [name, what] : machine)
        there[Folded(name)] = ContentOf(what);
    for (const auto& [key, copy] : files.All())
        if (const auto found = there.find(key); found == there.end())
            wrong.push_back(copy.target + " isn't there");
        else if (found->second != ContentOf(machine.at(package + copy.source)))
            wrong.push_back(copy.target + " has other bytes than in the package");
}

// Whether setup finds something by this name, as a short one or in another case too.
bool IsFound(const std::string& path) {
    WIN32_FIND_DATAW data;
    return static_cast<bool>(FindHandle(FindFirstFileW(tools::Wide(path).c_str(), &data)));
}

}  // namespace

std::vector<std::string> WronglyInstalled(const lab::State& machine, const std::string& package,
                                          const std::string& folder, bool isPortable) {
    const FileStream manifest(_wfopen((tools::Wide(package) + kManifest).c_str(), TEXT("r")));
    if (!manifest) return {};
    tools::CopiedFiles files;
    std::set<std::string> missing;
    const auto take = [&](const CString& value, const std::string& target) {
        CString name, newName;
        const std::string source = tools::Utf8((SplitNames(value, name, newName) ? name : value).Text());
        if (!files.Take(value, target) && !IsFound(package + source))
            missing.insert(source + " isn't in the package");
    };
    for (auto item = machine.lower_bound(package); item != machine.end() && item->first.starts_with(package);
         ++item)
        if (!item->first.ends_with('\\')) files.AddFile(item->first.substr(package.size()));
    ForEachRecord(manifest.get(), [&](const LogRecord& record) {
        const AtInstall install = record.kind.install;
        if (install == AtInstall::CopyToParent && isPortable)
            take(record.value, FolderOf(folder.substr(0, folder.size() - 1)));
        else if (install == AtInstall::Copy ||
                 (isPortable && (install == AtInstall::CopyX64 || install == AtInstall::CopyIfMissing)))
            take(record.value, folder);
    });
    std::vector<std::string> wrong(missing.begin(), missing.end());
    AddWrong(files, machine, package, wrong);
    return wrong;
}

}  // namespace rehearse
