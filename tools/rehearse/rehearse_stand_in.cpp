// Replaces a Windows program of a package on an embedded machine: it starts and exits with 0. scripts/release.sh adds
// the resources of the program that it replaces.
#include <windows.h>

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
    return 0;
}
