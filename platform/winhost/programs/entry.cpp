// The host's entry of a program of the machine: runs its wWinMain.
#include "core/machine.h"
#include "files/folders.h"

int wWinMain(HINSTANCE instance, HINSTANCE previous, LPWSTR commandLine, int showCommand);

int main() {
    // Ends a program outside any machine, even one that makes no call that needs it.
    (void)winhost::Root();
    winhost::ClaimCurrentFolder();
    const int exitCode = wWinMain(nullptr, nullptr, GetCommandLineW(), SW_SHOWNORMAL);
    std::exit(exitCode);
}
