#include "rehearse/packages.h"

#include <strings.h>

#include <fstream>

namespace fs = std::filesystem;

namespace rehearse {

PackageFolder::PackageFolder(const std::string& folder) : m_folder(fs::absolute(folder)) {
    if (!fs::is_directory(m_folder)) throw Unusable(folder + " is no folder");
    for (const auto& entry : fs::recursive_directory_iterator(m_folder)) {
        const fs::path name = entry.path().lexically_relative(m_folder);
        if (entry.is_directory() && !entry.is_symlink())
            m_folders.push_back(name);
        else if (entry.is_regular_file())
            m_files.push_back(name);
        else
            throw Unusable(entry.path().string() + " is no plain file or folder");
    }
    for (const char* name : {"setup.exe", "QtvUnInst.log"})
        if (Find(name).empty()) throw Unusable(folder + " is no package: it has no " + name);
}

fs::path PackageFolder::Find(const std::string& name) const {
    for (const fs::path& file : m_files)
        if (strcasecmp(file.c_str(), name.c_str()) == 0) return m_folder / file;
    return {};
}

ProgramKind PackageFolder::SetupKind() const {
    return KindOf(Find("setup.exe"));
}

ProgramKind KindOf(const fs::path& program) {
    char start[4] = {};
    std::ifstream(program, std::ios::binary).read(start, sizeof start);
    const std::string_view bytes(start, sizeof start);
    return bytes == "\x7F"
                    "ELF"
               ? ProgramKind::Host
           : bytes.starts_with("MZ") ? ProgramKind::Windows
                                     : ProgramKind::Other;
}

void PackageFolder::CopyTo(const fs::path& target) const {
    fs::create_directories(target);
    for (const fs::path& folder : m_folders)
        fs::create_directory(target / folder);
    for (const fs::path& file : m_files) {
        std::error_code error;
        fs::copy_file(m_folder / file, target / file, error);
        if (error) throw Unusable((m_folder / file).string() + " can't be copied: " + error.message());
    }
}

void PackageFolder::CopyTo(const fs::path& target, const fs::path& setup) const {
    CopyTo(target);
    for (const char* name : {"setup.exe", "QtvUnInst.exe"})
        if (const fs::path file = Find(name); !file.empty())
            fs::copy_file(setup, target / file.filename(), fs::copy_options::overwrite_existing);
}

}  // namespace rehearse
