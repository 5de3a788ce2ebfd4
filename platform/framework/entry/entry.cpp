// The program's entry: runs the application object.
#include "app.h"

// An exception that nobody catches ends the process. The runtime library's own handler would also write a
// text about it. It needs 46 KB of code to decode names, and nobody sees the text of a program with windows.
// A message box would block a silent run.
namespace __gnu_cxx {
void __verbose_terminate_handler();
void __verbose_terminate_handler() {
    AfxFailFast();
}
}  // namespace __gnu_cxx

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
    return AfxWinMain();
}
