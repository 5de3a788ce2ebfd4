// Making and entering machines from outside.
#include <winhost.h>

#include <filesystem>
#include <fstream>

#include "core/machine.h"
#include "core/new_machine.h"
#include "files/attributes.h"
#include "files/sharing.h"
#include "registry/registry_store.h"

namespace fs = std::filesystem;

namespace winhost {

void CreateMachine(const fs::path& root) {
    for (const char* folder : kNewFolders)
        fs::create_directories(root / folder);
    std::ofstream(MarkerFile(root)) << kNewVersion;
    CreateRegistry(root);
    // Every build and every installation has them beside its programs.
    const fs::path system = fs::read_symlink("/proc/self/exe").parent_path() / "system32";
    if (fs::exists(system))
        for (const auto& file : fs::directory_iterator(system))
            fs::copy_file(file.path(), root / "C/Windows/System32" / file.path().filename());
}

void EnterMachine(const fs::path& root, std::u16string_view program) {
    BelongTo(fs::canonical(root), program);
    const auto folder = std::u16string(program.substr(0, program.rfind(u'\\') + 1));
    (void)SetCurrentDirectoryW(folder.c_str());
}

std::shared_ptr<void> HoldFile(std::u16string_view path, Use use) {
    const std::string host = HostPath(path).native();
    return use == Use::Runs ? OpenFile::OpenImage(host) : OpenFile::Open(host, 0, kReading, FILE_SHARE_READ);
}

void CopyStored(const fs::path& from, const fs::path& to) {
    if (fs::is_directory(from))
        fs::create_directory(to);
    else
        fs::copy_file(from, to);
    for (const char* name : {kAttributesText, kShortNameText})
        if (const std::string text = KeptText(from, name); !text.empty()) (void)KeepText(to, name, text);
}

}  // namespace winhost
