#include "rehearse/expected.h"

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

// Returns sentences about the copies that aren't as the files of the package.
std::vector<std::string> Wrong(const tools::CopiedFiles& files, const lab::State& machine,
                               const std::string& package) {
    std::unordered_map<std::string, std::string> there;
    for (const auto& [name, what] : machine)
        there[Folded(name)] = ContentOf(what);
    std::vector<std::string> wrong;
    for (const auto& [key, copy] : files.All())
        if (const auto found = there.find(key); found == there.end())
            wrong.push_back(copy.target + " isn't there");
        else if (found->second != ContentOf(machine.at(package + copy.source)))
            wrong.push_back(copy.target + " has other bytes than in the package");
    return wrong;
}

}  // namespace

std::vector<std::string> WronglyInstalled(const lab::State& machine, const std::string& package,
                                          const std::string& folder, bool isPortable) {
    const FileStream manifest(_wfopen((tools::Wide(package) + kManifest).c_str(), TEXT("r")));
    if (!manifest) return {};
    tools::CopiedFiles files;
    for (auto item = machine.lower_bound(package); item != machine.end() && item->first.starts_with(package);
         ++item)
        if (!item->first.ends_with('\\')) files.AddFile(item->first.substr(package.size()));
    ForEachRecord(manifest.get(), [&](const LogRecord& record) {
        const AtInstall install = record.kind.install;
        if (install == AtInstall::CopyToParent && isPortable)
            files.Take(record.value, FolderOf(folder.substr(0, folder.size() - 1)));
        else if (install == AtInstall::Copy ||
                 (isPortable && (install == AtInstall::CopyX64 || install == AtInstall::CopyIfMissing)))
            files.Take(record.value, folder);
    });
    return Wrong(files, machine, package);
}

}  // namespace rehearse
