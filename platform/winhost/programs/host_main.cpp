// The host's main function of a program of the machine. It runs the program's wWinMain.
#include "core/machine.h"
#include "files/folders.h"
#include "processes/arguments.h"
#include "processes/modules.h"

int main() {
    // Ends a program outside any machine here, even if it makes no call that needs a machine.
    (void)winhost::Root();
    winhost::ClaimCurrentFolder();
    // The parameters are the end of the whole command line.
    LPWSTR line = GetCommandLineW();
    LPWSTR parameters = line + wcslen(line) - winhost::WithoutProgram(line).size();
    // Nobody has said how the program is to be shown.
    const int exitCode = wWinMain(winhost::ProgramModule(), nullptr, parameters, SW_SHOWDEFAULT);
    std::exit(exitCode);
}
