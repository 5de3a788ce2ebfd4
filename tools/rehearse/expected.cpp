#include "rehearse/expected.h"

#include <unordered_map>

#include "common/text.h"
#include "engine/manifest.h"
#include "name_patterns.h"
#include "rehearse/paths.h"
#include "support/handles.h"

namespace rehearse {

namespace {

constexpr WCHAR kManifest[] = TEXT("QtvUnInst.log");

// The size and the digest. A copy may have other attributes.
std::string ContentOf(const std::string& what) {
    const auto size = what.find(" bytes ");
    return size == what.npos ? what : what.substr(what.rfind(' ', size - 1));
}

struct File {
    std::string name;  // as it is stored
    std::string what;
};

class Expectation {
  public:
    Expectation(const lab::State& machine, const std::string& package) {
        for (auto item = machine.lower_bound(package);
             item != machine.end() && item->first.starts_with(package); ++item) {
            const std::string name = item->first.substr(package.size());
            if (!name.ends_with('\\')) m_package[Folded(FolderOf(name))][Folded(name)] = {name, item->second};
        }
    }

    void Take(const CString& value, const std::string& target) {
        CString name, newName;
        const bool isTwoNames = SplitNames(value, name, newName);
        const std::string source = tools::Utf8((isTwoNames ? name : value).Text());
        const auto folder = m_package.find(Folded(FolderOf(source)));
        if (folder == m_package.end()) return;
        const names::Text expression =
            names::Expression(tools::Wide(Folded(source.substr(FolderOf(source).size()))));
        if (names::IsPattern(expression)) {
            for (const auto& [key, file] : folder->second)
                if (!isTwoNames && names::Matches(expression, tools::Wide(key.substr(FolderOf(key).size()))))
                    Expect(target + file.name, file);
        } else if (const auto file = folder->second.find(Folded(source)); file != folder->second.end()) {
            Expect(target + (isTwoNames ? tools::Utf8(newName.Text()) : file->second.name), file->second);
        }
    }

    std::vector<std::string> Wrong(const lab::State& machine) const {
        std::unordered_map<std::string, std::string> there;
        for (const auto& [name, what] : machine)
            there[Folded(name)] = ContentOf(what);
        std::vector<std::string> wrong;
        for (const auto& [key, file] : m_expected)
            if (const auto found = there.find(key); found == there.end())
                wrong.push_back(file.name + " isn't there");
            else if (found->second != ContentOf(file.what))
                wrong.push_back(file.name + " has other bytes than in the package");
        return wrong;
    }

  private:
    // A later record replaces what an earlier one has copied.
    void Expect(const std::string& target, const File& file) {
        m_expected.insert_or_assign(Folded(target), File{target, file.what});
    }

    std::unordered_map<std::string, std::map<std::string, File>> m_package;  // by folder, and by name
    std::map<std::string, File> m_expected;                                  // by target
};

}  // namespace

std::vector<std::string> WronglyInstalled(const lab::State& machine, const std::string& package,
                                          const std::string& folder, bool isPortable) {
    const FileStream manifest(_wfopen((tools::Wide(package) + kManifest).c_str(), TEXT("r")));
    if (!manifest) return {};
    Expectation expectation(machine, package);
    ForEachRecord(manifest.get(), [&](const LogRecord& record) {
        const AtInstall install = record.kind.install;
        if (install == AtInstall::CopyToParent && isPortable)
            expectation.Take(record.value, FolderOf(folder.substr(0, folder.size() - 1)));
        else if (install == AtInstall::Copy ||
                 (isPortable && (install == AtInstall::CopyX64 || install == AtInstall::CopyIfMissing)))
            expectation.Take(record.value, folder);
    });
    return expectation.Wrong(machine);
}

}  // namespace rehearse
