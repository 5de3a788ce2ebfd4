// The program's entry: hands over to the application object.
#include "../app.h"

// An exception that nobody catches ends the process, as ever, but without a text about it, which no user of a
// program with windows would see: the runtime library's own handler brings 46 KB of name decoding along. Nor
// with a message box, which would hold up a silent run.
namespace __gnu_cxx {
void __verbose_terminate_handler();
void __verbose_terminate_handler() {
    AfxFailFast();
}
}  // namespace __gnu_cxx

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
    return AfxWinMain();
}
