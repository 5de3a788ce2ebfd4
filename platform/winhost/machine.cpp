// The machine of this process: how it is found, entered and made.
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <vector>

#include "internal.h"
#include "winhost.h"

namespace fs = std::filesystem;

namespace winhost {

namespace {

constexpr char kMarker[] = ".winhost";

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
    for (fs::path folder = program.parent_path(); folder != folder.parent_path(); folder = folder.parent_path())
        if (fs::exists(folder / kMarker, error)) return {folder, u""};
    return {};
}

// Found at the first call, which comes before anybody can rename the program's file.
Membership& Own() {
    static Membership own = FindOwnMachine();
    return own;
}

Membership& Current() {
    Membership& own = Own();
    if (own.root.empty()) {
        std::fprintf(stderr, "%s: runs inside an embedded machine only, and stands in none\n",
                     program_invocation_short_name);
        std::fflush(nullptr);
        _exit(2);
    }
    return own;
}

// Folders of a new machine, below its root.
constexpr const char* kFolders[] = {
    ".state",
    ".state/processes",
    "C/Program Files/Common Files",
    "C/ProgramData/Microsoft/Windows/Start Menu/Programs/Startup",
    "C/Users/Ann/AppData/Local/Temp",
    "C/Users/Ann/AppData/Roaming/Microsoft/Windows/Start Menu/Programs/Startup",
    "C/Users/Ann/Desktop",
    "C/Users/Ann/Documents",
    "C/Users/Ann/Pictures",
    "C/Users/Bob/AppData/Roaming/Microsoft/Windows/Start Menu/Programs/Startup",
    "C/Users/Bob/Desktop",
    "C/Users/Public/Desktop",
    "C/Users/Public/Documents",
    "C/Users/Public/Pictures",
    "C/Windows/System32",
    "C/Windows/Temp",
    "D",
};

}  // namespace

bool InMachine() { return !Own().root.empty(); }

const fs::path& Root() { return Current().root; }

fs::path StateFolder() { return Root() / ".state"; }

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

void OnEnter(void (*forget)()) { Forgetters().push_back(forget); }

MachineLock::MachineLock(const char* name)
    : m_descriptor(open((StateFolder() / name).c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0666)) {
    if (m_descriptor < 0) NotModelled("MachineLock", "a machine without its .state folder");
    while (flock(m_descriptor, LOCK_EX) != 0 && errno == EINTR) {
    }
}

MachineLock::~MachineLock() { close(m_descriptor); }

void CreateMachine(const fs::path& root) {
    for (const char* folder : kFolders) fs::create_directories(root / folder);
    std::ofstream(root / kMarker) << "10.0.19045\n";
    CreateRegistry(root);
    const fs::path system = WINHOST_SYSTEM_FOLDER;
    if (fs::exists(system))
        for (const auto& file : fs::directory_iterator(system))
            fs::copy_file(file.path(), root / "C/Windows/System32" / file.path().filename());
}

void EnterMachine(const fs::path& root, std::u16string_view program) {
    Own() = {fs::canonical(root), std::u16string(program)};
    for (void (*forget)() : Forgetters()) forget();
    const auto folder = std::u16string(program.substr(0, program.rfind(u'\\') + 1));
    (void)SetCurrentDirectoryW(folder.c_str());
}

}  // namespace winhost
