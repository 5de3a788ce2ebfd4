// A program that tests find running. It ends when a test ends it. With the parameters of the test it
// ends at once.
#include <windows.h>

#include <string_view>

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, LPWSTR parameters, int show) {
    const bool asTold = std::basic_string_view<WCHAR>(parameters) == TEXT("ends \"at once\"");
    if (asTold) return instance == GetModuleHandleW(nullptr) && show == SW_SHOWDEFAULT ? 7 : 8;
    constexpr DWORD kAnHour = 3'600'000;  // no test takes so long
    Sleep(kAnHour);
    return 0;
}
