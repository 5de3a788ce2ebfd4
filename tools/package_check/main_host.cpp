// A package lies in a plain folder of the host, so the check runs in a machine of its own, made for this run,
// with that folder in it.
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>

#include "package_check/tool.h"
#include "winhost.h"

namespace fs = std::filesystem;

namespace {

class ThrowawayMachine {
  public:
    ThrowawayMachine() {
        std::string name = (fs::temp_directory_path() / "package_check.XXXXXX").string();
        if (!mkdtemp(name.data()))
            throw fs::filesystem_error("no temporary folder",
                                       std::error_code(errno, std::generic_category()));
        m_root = name;
        winhost::CreateMachine(m_root);
    }
    ~ThrowawayMachine() {
        std::error_code error;
        fs::remove_all(m_root, error);
    }
    ThrowawayMachine(const ThrowawayMachine&) = delete;
    ThrowawayMachine& operator=(const ThrowawayMachine&) = delete;
    const fs::path& Root() const { return m_root; }

  private:
    fs::path m_root;
};

int Check(const std::string& folder, bool json) {
    const fs::path package = fs::absolute(folder);
    const ThrowawayMachine machine;
    // A link to the folder: it is read where it lies.
    fs::create_directory_symlink(package, machine.Root() / "C/Package");
    winhost::EnterMachine(machine.Root());
    return package_check::RunTool(TEXT("C:\\Package"), folder, json);
}

}  // namespace

int main(int count, char** values) {
    const std::vector<std::string> arguments(values, values + count);
    const auto request = package_check::ReadArguments(arguments);
    if (!request) return package_check::kMisused;
    try {
        return Check(arguments[request->folder], request->json);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "package_check: %s\n", error.what());
        return package_check::kMisused;
    }
}
