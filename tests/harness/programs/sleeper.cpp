// A program to be found running: it ends when it is ended, or after a minute. With the parameters of the test
// it ends at once.
#include <windows.h>

#include <string_view>

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, LPWSTR parameters, int) {
    const bool asTold = std::basic_string_view<WCHAR>(parameters) == TEXT("ends \"at once\"");
    if (asTold) return instance == GetModuleHandleW(nullptr) ? 7 : 8;
    Sleep(60000);
    return 0;
}
