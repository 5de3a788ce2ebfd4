// The machine's program that registers libraries: regsvr32 [/s] [/u] FILE loads the library and calls its
// DllRegisterServer, or DllUnregisterServer with /u. A message box shows the result, except with /s.
#include <windows.h>

#include <string>

namespace {

enum ExitCode { kDone = 0, kBadArguments = 1, kNotLoaded = 3, kNoEntry = 4, kCallFailed = 5 };

using RegisterFn = HRESULT (*)();

struct Options {
    bool silent = false;
    bool unregisters = false;
    LPCWSTR file = nullptr;
};

bool ReadOptions(Options& options) {
    for (int i = 1; i < __argc; ++i) {
        const std::u16string argument = __wargv[i];
        if (argument == u"/s" || argument == u"-s" || argument == u"/S")
            options.silent = true;
        else if (argument == u"/u" || argument == u"-u" || argument == u"/U")
            options.unregisters = true;
        else if (argument.empty() || argument[0] == u'/' || options.file)
            return false;
        else
            options.file = __wargv[i];
    }
    return options.file != nullptr;
}

int Report(const Options& options, ExitCode code, const std::u16string& text) {
    if (!options.silent)
        (void)MessageBoxW(nullptr, text.c_str(), u"RegSvr32",
                          MB_OK | (code == kDone ? MB_ICONINFORMATION : MB_ICONSTOP));
    return code;
}

}  // namespace

int wWinMain(HINSTANCE, HINSTANCE, LPWSTR, int) {
    Options options;
    if (!ReadOptions(options)) return Report(options, kBadArguments, u"To register a module, name its file.");
    const std::u16string file = options.file;
    const HMODULE module = LoadLibraryW(options.file);
    if (!module) return Report(options, kNotLoaded, u"The module \"" + file + u"\" failed to load.");

    const char* name = options.unregisters ? "DllUnregisterServer" : "DllRegisterServer";
    const std::u16string wideName = options.unregisters ? u"DllUnregisterServer" : u"DllRegisterServer";
    const auto entry = reinterpret_cast<RegisterFn>(reinterpret_cast<void*>(GetProcAddress(module, name)));
    if (!entry) {
        (void)FreeLibrary(module);
        return Report(options, kNoEntry,
                      u"The entry point " + wideName + u" was not found in \"" + file + u"\".");
    }
    const bool done = SUCCEEDED(entry());
    (void)FreeLibrary(module);
    if (!done) return Report(options, kCallFailed, u"The call to " + wideName + u" failed.");
    return Report(options, kDone, wideName + u" in " + file + u" succeeded.");
}
