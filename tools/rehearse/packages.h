// Package folders of the host, and what goes from them onto a machine.
#pragma once

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace rehearse {

// A package that can't be rehearsed; the text says why.
struct Unusable : std::runtime_error {
    using std::runtime_error::runtime_error;
};

enum class ProgramKind { Host, Windows, Other };

class PackageFolder {
  public:
    // Lists all that is in the folder. Throws Unusable when it is no package: without a setup.exe or a
    // QtvUnInst.log, in any case of letters, or with something that is neither file nor folder.
    explicit PackageFolder(const std::string& folder);

    ProgramKind SetupKind() const;
    // Copies it to a folder that isn't there yet. Throws Unusable when a file can't be read.
    void CopyTo(const std::filesystem::path& target) const;
    // The same, with `setup` in place of the setup program and the uninstaller.
    void CopyTo(const std::filesystem::path& target, const std::filesystem::path& setup) const;

  private:
    // The entry of that name at the top of the folder; empty for none.
    std::filesystem::path Find(const std::string& name) const;

    std::filesystem::path m_folder;
    std::vector<std::filesystem::path> m_folders;  // relative, outer ones first
    std::vector<std::filesystem::path> m_files;
};

}  // namespace rehearse
