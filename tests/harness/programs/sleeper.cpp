// A program to be found running: it ends when it is ended, or after a minute.
#include <windows.h>

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
    Sleep(60000);
    return 0;
}
