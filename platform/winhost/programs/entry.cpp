// The host's entry of a program of the machine: runs its wWinMain.
#include "core/machine.h"
#include "files/folders.h"
#include "processes/arguments.h"
#include "processes/modules.h"

int main() {
    // Ends a program outside any machine, even one that makes no call that needs it.
    (void)winhost::Root();
    winhost::ClaimCurrentFolder();
    // The text ends where the whole command line ends.
    LPWSTR line = GetCommandLineW();
    LPWSTR parameters = line + wcslen(line) - winhost::WithoutProgram(line).size();
    const int exitCode = wWinMain(winhost::ProgramModule(), nullptr, parameters, SW_SHOWNORMAL);
    std::exit(exitCode);
}
