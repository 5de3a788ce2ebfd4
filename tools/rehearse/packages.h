// Package folders of the host, and copies of them on a machine.
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
// By the first bytes of the file. One that can't be read is another one.
ProgramKind KindOf(const std::filesystem::path& program);

class PackageFolder {
  public:
    // Lists everything in the folder. Throws Unusable if it is not a package: if setup.exe or QtvUnInst.log is missing,
    // in any case of letters, or if there is something that is neither a file nor a folder.
    explicit PackageFolder(const std::string& folder);

    ProgramKind SetupKind() const;
    // Copies the package to a folder that does not exist yet. Throws Unusable if a file can't be read.
    void CopyTo(const std::filesystem::path& target) const;
    // The same, but with `setup` as the setup program and the uninstaller.
    void CopyTo(const std::filesystem::path& target, const std::filesystem::path& setup) const;

  private:
    // Returns the entry of that name at the top of the folder. Empty if there is none.
    std::filesystem::path Find(const std::string& name) const;

    std::filesystem::path m_folder;
    std::vector<std::filesystem::path> m_folders;  // relative, parents first
    std::vector<std::filesystem::path> m_files;
};

}  // namespace rehearse
