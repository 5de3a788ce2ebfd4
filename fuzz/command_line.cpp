// The command line: with any arguments, a run ends by itself and changes no file that they don't name. The first
// byte selects the program and the state of the machine, the rest is the command line.
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <tuple>
#include <utility>
#include <vector>

#include "app/setup_app.h"
#include "app/setup_state.h"
#include "fuzz_machine.h"
#include "support/registry.h"
#include <winhost.h>
#include "core/machine.h"
#include "core/text.h"
#include "processes/arguments.h"

namespace {

constexpr unsigned kUninstaller = 1, kInstalled = 2;

void MakeMachine(unsigned flags) {
    static const std::string registry = Get("registry.reg");
    static const std::string application = Get(QTV_SEEDS "/version/program.exe");
    ClearMachine();
    Put("registry.reg", registry);
    for (const std::string folder : {"C/Package/", "C/Apps/Q8/"}) {
        Put(folder + "QtvApp8.exe", application);
        Put(folder + "QtvUnInst.log", "File Copy: QtvApp8.exe\nFile Copy: *.dll\nMake Dir: made\n");
    }
    Put("C/Package/setup.exe", "setup");
    Put("C/Apps/Q8/QtvUnInst.exe", "setup");
    Put("C/Users/Ann/Documents/letter", "mine");
    winhost::EnterMachine(winhost::Root(), flags & kUninstaller ? TEXT("C:\\Apps\\Q8\\QtvUnInst.exe")
                                                                : TEXT("C:\\Package\\setup.exe"));
    if (flags & kInstalled)
        (void)SetRegString(HKEY_LOCAL_MACHINE, kProductKey, TEXT("Path"), TEXT("C:\\Apps\\Q8"));
    // Nobody uses the wizard, and the copy of the uninstaller would be a process of its own.
    winhost::SetFaults({{.call = "DialogBoxParamW"}, {.call = "_wexecl"}});
}

void ResetVariables() {
    auto all = std::tie(g_installType, g_desktopIcon, g_autoStart, g_runAfter, g_freshInstall, g_rebootNeeded,
                        g_upgradeOlder, g_settingsFromPackage, g_version, g_targetDir, g_sourceDir,
                        g_groupName, g_sfxDir);
    static const auto start = std::apply([](const auto&... values) { return std::tuple(values...); }, all);
    all = start;
}

// The temporary copy ends its process, so it runs in a child.
void RunInChild() {
    const pid_t child = fork();
    if (child == 0) {
        (void)std::atexit([] { _exit(0); });
        // What isn't modelled is no fault of the program.
        const bool modelled = RunModelled([] { (void)theApp.InitInstance(); });
        _exit(modelled ? 1 : 0);
    }
    int status = 1;
    // The fuzzer's timer interrupts the call.
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    Require(status == 0, "the temporary copy ends with 0");
}

}  // namespace

void TryInput(std::string_view input) {
    if (input.empty()) return;
    MakeMachine(static_cast<unsigned char>(input[0]));
    ResetVariables();
    const std::string line(input.substr(1));
    std::vector<std::u16string> arguments = winhost::SplitArguments(winhost::Utf16("setup.exe " + line));
    std::vector<char16_t*> pointers;
    for (std::u16string& argument : arguments)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    const int givenCount = std::exchange(__argc, static_cast<int>(arguments.size()));
    char16_t** const given = std::exchange(__wargv, pointers.data());

    if (__argc > 2 && wcscmp(__wargv[1], TEXT("-delself")) == 0)
        RunInChild();
    else
        (void)RunModelled([] { (void)theApp.InitInstance(); });
    __argc = givenCount;
    __wargv = given;
    winhost::SetFaults({});
    winhost::RestartMachine();
    Require(g_silentMode >= 0 && g_silentMode <= 2 && g_installType >= 0 && g_installType <= 2,
            "known modes");
    if (winhost::Utf8(winhost::Upper(winhost::Utf16(line))).find("LETTER") == std::string::npos)
        Require(Get("C/Users/Ann/Documents/letter") == "mine", "the user's file stays");
}
