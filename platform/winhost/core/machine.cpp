// The machine of this process: how it is found and entered.
#include "core/machine.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <vector>

namespace fs = std::filesystem;

namespace winhost {

namespace {

struct Membership {
    fs::path root;
    std::u16string program;
};

std::vector<void (*)()>& Forgetters() {
    static std::vector<void (*)()> list;
    return list;
}

Membership FindOwnMachine() {
    std::error_code error;
    const fs::path program = fs::read_symlink("/proc/self/exe", error);
    for (fs::path folder = program.parent_path(); folder != folder.parent_path();
         folder = folder.parent_path())
        if (fs::exists(MarkerFile(folder), error)) return {folder, u""};
    return {};
}

// Found at the first call, before anybody can rename the program's file.
Membership& TheMembership() {
    static Membership own = FindOwnMachine();
    return own;
}

Membership& Current() {
    Membership& own = TheMembership();
    if (own.root.empty()) {
        std::fprintf(stderr, "%s: runs only inside an embedded machine, and is in none\n",
                     program_invocation_short_name);
        std::fflush(nullptr);
        _exit(2);
    }
    return own;
}

}  // namespace

bool InMachine() {
    return !TheMembership().root.empty();
}

const fs::path& Root() {
    return Current().root;
}

fs::path StateFolder() {
    return Root() / ".state";
}

const std::u16string& ProgramPath() {
    Membership& own = Current();
    if (own.program.empty()) own.program = WindowsPath(fs::read_symlink("/proc/self/exe"));
    return own.program;
}

void NotModelled(const char* call, const std::string& what) {
    std::fprintf(stderr, "winhost: %s: not modelled: %s\n", call, what.c_str());
    std::fflush(nullptr);
    std::abort();
}

void OnEnter(void (*forget)()) {
    Forgetters().push_back(forget);
}

std::u16string WindowsPath(const fs::path& host) {
    const std::string below = host.lexically_relative(Root()).native();
    // A host folder outside the machine, such as the current folder of a host's shell, counts as the root of C.
    if (below.empty() || !std::isalpha(static_cast<unsigned char>(below[0])) ||
        (below.size() > 1 && below[1] != '/'))
        return u"C:\\";
    std::u16string path = Utf16(below.substr(0, 1)) + u":" + Utf16(below.substr(1));
    for (char16_t& unit : path)
        if (unit == u'/') unit = u'\\';
    if (path.size() == 2) path += u'\\';
    return path;
}

fs::path MarkerFile(const fs::path& root) {
    return root / ".winhost";
}

void BelongTo(const fs::path& root, std::u16string_view program) {
    TheMembership() = {root, std::u16string(program)};
    for (void (*forget)() : Forgetters())
        forget();
}

}  // namespace winhost
