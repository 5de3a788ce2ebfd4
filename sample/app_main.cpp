// The sample application. It does its own registration for the current user:
//   -regonly     writes the registration and ends
//   -unregonly   removes exactly what -regonly wrote, and ends
// It can be a running copy:
//   -show        enters the list of running copies and shows its window until the window is asked to close.
//                Then it ends with the sum of the message's parameters as its exit code.
//   -stay        the same, but the window doesn't close
// Without an option it counts the start in its settings.
#include "instances/instance_manager.h"

#include <cstdlib>
#include <cwchar>

namespace {

constexpr WCHAR kSettingsKey[] = TEXT("Software\\Lorvanta\\Qantivo 8");
constexpr WCHAR kRegisteredValue[] = TEXT("Registered");
constexpr WCHAR kRegisteredPathValue[] = TEXT("RegisteredPath");
constexpr WCHAR kStartsValue[] = TEXT("Starts");

constexpr WCHAR kListName[] = TEXT("Lorvanta.Qantivo-ZR.v4");
constexpr DWORD kListExtraBytes = 1024;
constexpr WCHAR kWindowClass[] = TEXT("QantivoFrame");
constexpr WCHAR kWindowTitle[] = TEXT("Qantivo - meadow.bmp");

bool staysOpen;

HKEY OpenSettings() {
    HKEY key = nullptr;
    return RegCreateKeyW(HKEY_CURRENT_USER, kSettingsKey, &key) == ERROR_SUCCESS ? key : nullptr;
}

bool SetNumber(HKEY key, LPCWSTR name, DWORD number) {
    return RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof number) ==
           ERROR_SUCCESS;
}

bool SetText(HKEY key, LPCWSTR name, LPCWSTR text) {
    const DWORD cbText = static_cast<DWORD>((wcslen(text) + 1) * sizeof(WCHAR));
    return RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text), cbText) == ERROR_SUCCESS;
}

bool Register(HKEY settings) {
    WCHAR path[MAX_PATH];
    const DWORD cchPath = GetModuleFileNameW(nullptr, path, MAX_PATH);
    if (cchPath == 0 || cchPath == MAX_PATH) return false;
    return SetNumber(settings, kRegisteredValue, 1) && SetText(settings, kRegisteredPathValue, path);
}

bool Unregister(HKEY settings) {
    const bool flagGone = RegDeleteValueW(settings, kRegisteredValue) == ERROR_SUCCESS;
    const bool pathGone = RegDeleteValueW(settings, kRegisteredPathValue) == ERROR_SUCCESS;
    return flagGone && pathGone;
}

bool CountStart(HKEY settings) {
    DWORD type = 0;
    DWORD starts = 0;
    DWORD cbStarts = sizeof starts;
    if (RegQueryValueExW(settings, kStartsValue, nullptr, &type, reinterpret_cast<BYTE*>(&starts),
                         &cbStarts) != ERROR_SUCCESS ||
        type != REG_DWORD) {
        starts = 0;
    }
    return SetNumber(settings, kStartsValue, starts + 1);
}

LRESULT CALLBACK FrameProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message != WM_CLOSE) return DefWindowProcW(window, message, wParam, lParam);
    if (staysOpen) return 0;
    DestroyWindow(window);
    PostQuitMessage(static_cast<int>(wParam) + static_cast<int>(lParam));
    return 0;
}

HWND ShowFrame(HINSTANCE instance) {
    WNDCLASSEXW frame = {};
    frame.cbSize = sizeof frame;
    frame.lpfnWndProc = FrameProcedure;
    frame.hInstance = instance;
    frame.lpszClassName = kWindowClass;
    if (!RegisterClassExW(&frame)) return nullptr;
    return CreateWindowExW(0, kWindowClass, kWindowTitle, WS_OVERLAPPEDWINDOW | WS_VISIBLE, CW_USEDEFAULT,
                           CW_USEDEFAULT, CW_USEDEFAULT, CW_USEDEFAULT, nullptr, nullptr, instance, nullptr);
}

int RunAsCopy(HINSTANCE instance) {
    const COXInstanceManager copies(kListName, kListExtraBytes, true);
    if (!ShowFrame(instance)) return 1;
    MSG message = {};
    while (GetMessageW(&message, nullptr, 0, 0) > 0)
        DispatchMessageW(&message);
    return static_cast<int>(message.wParam);
}

}  // namespace

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, LPWSTR, int) {
    const LPCWSTR option = __argc > 1 ? __wargv[1] : TEXT("");
    staysOpen = wcscmp(option, TEXT("-stay")) == 0;
    if (staysOpen || wcscmp(option, TEXT("-show")) == 0) return RunAsCopy(instance);
    HKEY settings = OpenSettings();
    if (!settings) return 1;
    bool done = false;
    if (wcscmp(option, TEXT("-regonly")) == 0) {
        done = Register(settings);
    } else if (wcscmp(option, TEXT("-unregonly")) == 0) {
        done = Unregister(settings);
    } else {
        done = CountStart(settings);
    }
    RegCloseKey(settings);
    return done ? 0 : 1;
}
