// The program's entry: hands over to the application object.
#include "../app.h"

int WINAPI wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int) { return AfxWinMain(); }
