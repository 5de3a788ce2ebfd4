// Manifest and log: with any bytes, a copy pass, a removal pass and a restart end, and change no file of the user
// that no line names. The first byte selects the state of the machine, the rest is the text.
#include <cctype>
#include <vector>

#include "run/process_helpers.h"
#include "app/setup_state.h"
#include "engine/file_ops.h"
#include "install/earlier_install.h"
#include "fuzz_machine.h"
#include <winhost.h>
#include "files/sharing.h"

namespace {

constexpr unsigned kInstallType = 3, kWow64 = 4, kHeld = 8, kRuns = 16, kReadOnly = 32, kNoMarks = 64;
// Few enough that the list of marks in WININIT.INI does not become full, which would end the process.
constexpr unsigned kFailingMarks = 40;

// A line may change the file if it contains one of the words: the name of the file or of a folder, or a pattern.
struct UserFile {
    const char* path;
    std::vector<std::string_view> words;
};
const UserFile kUserFiles[] = {
    {"C/Apps/Q8/letter", {"letter", "q8", "apps", "*", "?"}},
    {"C/Apps/Q8/mine/letter", {"letter", "mine", "q8", "apps"}},
    {"C/Apps/letter", {"letter", "apps", "*", "?"}},
    {"C/Users/Ann/letter", {"letter", "ann", "users"}},
    {"C/Windows/letter", {"letter", "windows"}},
    {"D/letter", {"letter"}},
};

void MakeFiles(std::string_view manifest) {
    ClearMachine();
    for (const char* name : {"app.exe", "lib.dll", "sub/a.txt", "sub/b.txt"}) {
        Put(std::string("C/Package/") + name, "new");
        Put(std::string("C/Apps/Q8/") + name, "old");
    }
    for (const UserFile& file : kUserFiles)
        Put(file.path, "mine");
    Put("C/Package/QtvUnInst.log", manifest);
    Put("C/Apps/Q8/QtvUnInst.log", manifest);
}

void RunBothPasses() {
    RunCopyPass(TEXT("C:\\Package\\QtvUnInst.log"), TEXT("C:\\Package"), g_targetDir);
    constexpr WCHAR kLog[] = TEXT("C:\\Apps\\Q8\\QtvUnInst.log");
    AdoptGroup();
    RemoveLoggedLinks(kLog);
    RunRemovalPass(kLog, g_targetDir, TEXT("File Del: "));
    RunRemovalPass(kLog, TEXT("C:\\Apps\\Q8\\"), nullptr);
}

}  // namespace

void TryInput(std::string_view input) {
    if (input.empty()) return;
    const unsigned flags = static_cast<unsigned char>(input[0]);
    std::string manifest(input.substr(1));
    MakeFiles(manifest);
    g_targetDir = TEXT("C:\\Apps\\Q8");
    g_installType = static_cast<int>(flags & kInstallType) % 3;
    g_isWow64Process = nullptr;
    if (flags & kWow64) g_isWow64Process = [](HANDLE, PBOOL wow64) -> BOOL { return *wow64 = TRUE; };
    if (flags & kReadOnly) (void)SetFileAttributesW(TEXT("C:\\Apps\\Q8\\app.exe"), FILE_ATTRIBUTE_READONLY);
    std::vector<winhost::Fault> faults;
    for (unsigned nth = 1; (flags & kNoMarks) && nth <= kFailingMarks; ++nth)
        faults.push_back({.call = "MoveFileExW", .nth = nth});

    const bool modelled = RunModelled([&] {
        const std::string program = winhost::HostPath(TEXT("C:\\Apps\\Q8\\app.exe"));
        const auto held =
            flags & kHeld ? winhost::OpenFile::Open(program, 0, winhost::kReading, FILE_SHARE_READ) : nullptr;
        const auto runs = flags & kRuns ? winhost::OpenFile::OpenImage(program) : nullptr;
        winhost::SetFaults(faults);
        RunBothPasses();
    });
    winhost::SetFaults({});
    Require(CloseHandles() == 0 || !modelled, "every handle is closed");
    winhost::RestartMachine();

    for (char& byte : manifest)
        byte = static_cast<char>(std::tolower(static_cast<unsigned char>(byte)));
    for (const UserFile& file : kUserFiles) {
        bool named = false;
        for (const std::string_view word : file.words)
            named = named || manifest.find(word) != manifest.npos;
        if (!named) Require(Get(file.path) == "mine", file.path);
    }
}
