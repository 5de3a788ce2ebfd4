#include "fuzz_machine.h"

#include <filesystem>
#include <fstream>
#include <iterator>

#include "common/throwaway_folder.h"
#include <winhost.h>
#include "core/handles.h"

namespace fs = std::filesystem;

namespace {

// Small, because each change writes the whole file.
constexpr std::string_view kRegistry = R"(Windows Registry Editor Version 5.00

[HKEY_LOCAL_MACHINE\SOFTWARE\Microsoft\Windows\CurrentVersion\Explorer\User Shell Folders]
"Common Programs"="C:\\Programs"
"Common Startup"="C:\\Programs\\Startup"
"Common Desktop"="C:\\Users\\Public\\Desktop"
[HKEY_USERS\S-1-5-21-1000-1000-1000-1001\Software\Microsoft\Windows\CurrentVersion\Explorer\User Shell Folders]
"Programs"="C:\\Users\\Ann\\Programs"
"Startup"="C:\\Users\\Ann\\Programs\\Startup"
"Desktop"="C:\\Users\\Ann\\Desktop"
"My Pictures"="C:\\Users\\Ann\\Pictures"
)";

class OwnMachine {
  public:
    OwnMachine() {
        winhost::CreateMachine(Root());
        std::ofstream(Root() / "registry.reg") << kRegistry;
        winhost::EnterMachine(Root());
        winhost::SetVirtualClock(true);
        winhost::SetBoxAnswers({});
    }
    const fs::path& Root() const { return m_folder.Path(); }

  private:
    const tools::ThrowawayFolder m_folder{"fuzz"};
};

// Built before the static objects of the program, which make platform calls.
[[gnu::init_priority(102)]] OwnMachine machine;

struct IsNotModelled {};

}  // namespace

// The linker puts this in place of the call that ends a run.
[[noreturn]] void EndOfRun(const char* call, const std::string& what) asm(
    "__wrap__ZN7winhost11NotModelledEPKcRKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE");
void EndOfRun(const char*, const std::string&) {
    throw IsNotModelled();
}

extern "C" int LLVMFuzzerTestOneInput(const char* data, std::size_t size);
int LLVMFuzzerTestOneInput(const char* data, std::size_t size) {
    TryInput({data, size});
    return 0;
}

bool RunModelled(const std::function<void()>& act) try {
    act();
    return true;
} catch (const IsNotModelled&) {
    return false;
}

void Require(bool holds, const char* property) {
    if (holds) return;
    std::fprintf(stderr, "fuzz: not so: %s\n", property);
    std::abort();
}

void ClearMachine() {
    (void)CloseHandles();
    for (const char* drive : {"C", "D"}) {
        fs::remove_all(machine.Root() / drive);
        fs::create_directory(machine.Root() / drive);
    }
    fs::create_directory(machine.Root() / "C/Windows");
    (void)SetCurrentDirectoryW(TEXT("C:\\Windows"));
    winhost::ClearEvents();
}

unsigned CloseHandles() {
    // Handles are numbers; each is higher than the one before.
    static auto last = reinterpret_cast<ULONG_PTR>(winhost::AddHandle(nullptr));
    const auto next = reinterpret_cast<ULONG_PTR>(winhost::AddHandle(nullptr));
    unsigned closed = 0;
    for (ULONG_PTR number = last; number < next; number += 4)
        closed += winhost::DropHandle(reinterpret_cast<HANDLE>(number)) ? 1 : 0;
    last = next;
    return closed - 1;
}

void Put(const std::string& path, std::string_view bytes) {
    const fs::path file = machine.Root() / path;
    fs::create_directories(file.parent_path());
    // A new file: that is how the machine notices a changed registry.
    fs::remove(file);
    std::ofstream(file, std::ios::binary) << bytes;
}

std::string Get(const std::string& path) {
    std::ifstream file(machine.Root() / path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}
