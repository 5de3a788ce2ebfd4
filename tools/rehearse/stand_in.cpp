// Stands in for a Windows program of a package on an embedded machine: it starts, and ends with 0. scripts/release.sh gives it
// the resources of the program that it stands for.
#include <windows.h>

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
    return 0;
}
