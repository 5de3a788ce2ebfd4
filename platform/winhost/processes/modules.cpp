// Modules: the program, the system's own libraries, and host shared objects that are files of the machine.
#include "processes/modules.h"

#include <dlfcn.h>

#include <algorithm>
#include <map>

#include "core/faults.h"
#include "core/handles.h"
#include "core/machine.h"
#include "core/text.h"
#include "files/paths.h"
#include "files/sharing.h"
#include "processes/search.h"
#include "processes/system.h"
#include <winhost.h>

namespace winhost {

namespace {

using Functions = std::map<std::string_view, FARPROC>;

// The program or a library. A module handle is a module's address.
struct Module {
    std::u16string path;  // full Windows path
    unsigned uses = 0;    // of a loaded one; the program and the system's own libraries are never unloaded
    bool isLate = false;  // not loaded from the start: a file of that name beside the program comes first
    void* host = nullptr;
    std::unique_ptr<OpenFile> image;
    HANDLE open = nullptr;  // counts the library among the open handles
    Functions functions;
};

class LoadedModule : public KernelObject {};

template <class Function>
FARPROC Address(Function* function) {
    return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(function));
}

struct Modules {
    Module program;
    std::vector<std::unique_ptr<Module>> libraries;
};

// Where libraries that come without a folder are searched from now on.
Wanted& SearchOfLibraries() {
    static Wanted wanted = Wanted::Library;
    return wanted;
}

// Programs find it by name, because old systems don't have it.
BOOL SetDefaultDllDirectories(DWORD flags) {
    constexpr DWORD kSystemFolder = 0x800;
    if (Fails("SetDefaultDllDirectories")) return FALSE;
    if (flags != kSystemFolder) NotModelled("SetDefaultDllDirectories", "flags " + std::to_string(flags));
    SearchOfLibraries() = Wanted::SystemLibrary;
    return TRUE;
}

void AddSystemLibrary(Modules& modules, std::u16string_view name, Functions functions = {}) {
    auto module = std::make_unique<Module>();
    module->path = u"C:\\Windows\\System32\\";
    module->path += name;
    module->functions = std::move(functions);
    modules.libraries.push_back(std::move(module));
}

Modules& All() {
    // Never destroyed: static objects of the program may free their libraries late.
    static Modules* all = [] {
        auto* modules = new Modules;
        AddSystemLibrary(*modules, u"ntdll.dll", {{"RtlGetVersion", Address(RtlGetVersion)}});
        AddSystemLibrary(*modules, u"kernel32.dll",
                         {{"IsWow64Process", Address(IsWow64Process)},
                          {"SetDefaultDllDirectories", Address(SetDefaultDllDirectories)}});
        AddSystemLibrary(*modules, u"advapi32.dll",
                         {{"LookupPrivilegeValueW", Address(LookupPrivilegeValueW)},
                          {"AdjustTokenPrivileges", Address(AdjustTokenPrivileges)},
                          {"OpenProcessToken", Address(OpenProcessToken)}});
        AddSystemLibrary(*modules, u"user32.dll");
        AddSystemLibrary(*modules, u"shell32.dll");
        AddSystemLibrary(*modules, u"ole32.dll");
        AddSystemLibrary(*modules, u"version.dll",
                         {{"GetFileVersionInfoSizeW", Address(GetFileVersionInfoSizeW)},
                          {"GetFileVersionInfoW", Address(GetFileVersionInfoW)},
                          {"VerQueryValueW", Address(VerQueryValueW)}});
        modules->libraries.back()->isLate = true;
        return modules;
    }();
    return *all;
}

// Libraries that each Windows has and this machine doesn't. Upper case, without the extension.
constexpr std::u16string_view kOtherLibraries[] = {
    u"BCRYPT",  u"CFGMGR32", u"COMBASE",   u"COMCTL32", u"COMDLG32", u"CRYPT32",    u"DBGHELP",  u"DNSAPI",
    u"DWMAPI",  u"GDI32",    u"GDIPLUS",   u"IMM32",    u"IPHLPAPI", u"KERNELBASE", u"MPR",      u"MSCTF",
    u"MSI",     u"MSIMG32",  u"MSVCP_WIN", u"MSVCRT",   u"NETAPI32", u"OLEAUT32",   u"PROPSYS",  u"PSAPI",
    u"RPCRT4",  u"SECHOST",  u"SETUPAPI",  u"SFC",      u"SHCORE",   u"SHLWAPI",    u"UCRTBASE", u"URLMON",
    u"USERENV", u"UXTHEME",  u"WIN32U",    u"WININET",  u"WINMM",    u"WINTRUST",   u"WS2_32",   u"WTSAPI32"};

HMODULE HandleOf(Module* module) {
    return reinterpret_cast<HMODULE>(module);
}

std::u16string_view LastName(std::u16string_view path) {
    const auto separator = path.find_last_of(u"\\/:");
    return separator == path.npos ? path : path.substr(separator + 1);
}

// Returns the name with the extension of a library, unless the name has one. A dot at the end means "no extension".
std::u16string WithExtension(std::u16string_view name) {
    if (!name.empty() && name.back() == u'.') return std::u16string(name.substr(0, name.size() - 1));
    std::u16string whole(name);
    if (LastName(name).find(u'.') == name.npos) whole += u".dll";
    return whole;
}

// Finds a module of the process by its last name, or by its full path when the name has one.
Module* FindByName(std::u16string_view name) {
    const std::u16string wanted = WithExtension(name);
    const bool bare = LastName(wanted).size() == wanted.size();
    const std::u16string full = bare ? wanted : Locate(wanted).windows;
    const auto matches = [&](const std::u16string& path) {
        return SameName(bare ? LastName(path) : std::u16string_view(path), full);
    };
    Modules& all = All();
    const auto found = std::find_if(all.libraries.begin(), all.libraries.end(),
                                    [&](const auto& module) { return matches(module->path); });
    if (found != all.libraries.end()) return found->get();
    return matches(ProgramPath()) ? &all.program : nullptr;
}

// Ends with the error that there is no such module, or ends the run if Windows has it.
HMODULE NoModule(const char* call, std::u16string_view name) {
    std::u16string upper = Upper(LastName(WithExtension(name)));
    if (upper.ends_with(u".DLL")) upper.resize(upper.size() - 4);
    if (std::find(std::begin(kOtherLibraries), std::end(kOtherLibraries), upper) != std::end(kOtherLibraries))
        NotModelled(call, "the library " + Utf8(name));
    SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
}

// Finds the module of a handle. Null, with the last error set, when there is none.
Module* FindByHandle(HMODULE handle) {
    Modules& all = All();
    if (IsProgramModule(handle)) return &all.program;
    for (const auto& module : all.libraries)
        if (HandleOf(module.get()) == handle) return module.get();
    SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
}

Module* Load(const Place& file) {
    auto module = std::make_unique<Module>();
    module->path = file.windows;
    module->image = OpenFile::OpenImage(file.host);
    if (!module->image) return nullptr;
    // Lazy, because a program contains only those platform calls that it makes itself.
    module->host = dlopen(file.host.c_str(), RTLD_LAZY | RTLD_LOCAL);
    if (!module->host) {
        SetLastError(ERROR_BAD_EXE_FORMAT);
        return nullptr;
    }
    module->open = AddHandle(std::make_shared<LoadedModule>());
    return All().libraries.emplace_back(std::move(module)).get();
}

// Names that GetProcAddress does not find, with semicolons between them. Started programs inherit them.
constexpr char kHidden[] = "WINHOST_HIDDEN";
// By this name a program asks whether its system is no Windows.
constexpr std::string_view kOfNoWindows = "wine_get_version";

std::vector<std::string> HiddenNames() {
    std::vector<std::string> names;
    const char* text = std::getenv(kHidden);
    for (std::string_view rest = text ? text : ""; !rest.empty();) {
        const auto end = std::min(rest.find(';'), rest.size());
        names.emplace_back(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return names;
}

}  // namespace

HMODULE ProgramModule() {
    return HandleOf(&All().program);
}

bool IsProgramModule(HMODULE handle) {
    return !handle || handle == ProgramModule();
}

bool IsSystemLibrary(std::u16string_view name) {
    const Module* module = FindByName(name);
    return module && module != &All().program && !module->host;
}

void HideFunction(const std::string& name, bool hidden) {
    static const bool forgets = (OnEnter([] { unsetenv(kHidden); }), true);
    (void)forgets;
    auto names = HiddenNames();
    std::erase(names, name);
    if (hidden) names.push_back(name);
    std::string text;
    for (const auto& each : names)
        text += each + ";";
    setenv(kHidden, text.c_str(), 1);
}

}  // namespace winhost

HMODULE LoadLibraryW(LPCWSTR name) {
    if (winhost::Fails("LoadLibraryW", ERROR_MOD_NOT_FOUND)) return nullptr;
    if (!name || !*name) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    std::u16string_view trimmed = name;
    trimmed = trimmed.substr(0, trimmed.find_last_not_of(u' ') + 1);
    const auto wanted = winhost::WithExtension(trimmed);
    winhost::Module* module = winhost::FindByName(trimmed);
    if (!module || (module->isLate && winhost::LastName(trimmed) == trimmed)) {
        const winhost::Place file = winhost::SearchFile(wanted, u"", winhost::SearchOfLibraries());
        if (file.exists()) {
            // The search may find, under another name, a library that is already loaded.
            module = winhost::FindByName(file.windows);
            if (!module && !(module = winhost::Load(file))) return nullptr;
        }
        if (!module) return winhost::NoModule("LoadLibraryW", trimmed);
    }
    ++module->uses;
    return winhost::HandleOf(module);
}

BOOL FreeLibrary(HMODULE handle) {
    if (winhost::Fails("FreeLibrary", ERROR_MOD_NOT_FOUND)) return FALSE;
    winhost::Module* module = winhost::FindByHandle(handle);
    if (!module) return FALSE;
    if (!module->host || --module->uses > 0) return TRUE;
    dlclose(module->host);
    (void)winhost::DropHandle(module->open);
    std::erase_if(winhost::All().libraries, [&](const auto& each) { return each.get() == module; });
    return TRUE;
}

HMODULE GetModuleHandleW(LPCWSTR name) {
    if (winhost::Fails("GetModuleHandleW", ERROR_MOD_NOT_FOUND)) return nullptr;
    if (!name) return winhost::HandleOf(&winhost::All().program);
    if (winhost::Module* module = winhost::FindByName(name)) return winhost::HandleOf(module);
    return winhost::NoModule("GetModuleHandleW", name);
}

HMODULE GetModuleHandleA(LPCSTR name) {
    if (winhost::Fails("GetModuleHandleA", ERROR_MOD_NOT_FOUND)) return nullptr;
    if (!name) return winhost::HandleOf(&winhost::All().program);
    const std::u16string wide = winhost::Utf16(name);
    if (winhost::Module* module = winhost::FindByName(wide)) return winhost::HandleOf(module);
    return winhost::NoModule("GetModuleHandleA", wide);
}

DWORD GetModuleFileNameW(HMODULE handle, LPWSTR buffer, DWORD cchBuffer) {
    if (winhost::Fails("GetModuleFileNameW")) return 0;
    const winhost::Module* module = winhost::FindByHandle(handle);
    if (!module) return 0;
    const std::u16string& path = winhost::IsProgramModule(handle) ? winhost::ProgramPath() : module->path;
    const auto length = static_cast<DWORD>(path.size());
    if (length < cchBuffer) {
        wcscpy(buffer, path.c_str());
        SetLastError(ERROR_SUCCESS);
        return length;
    }
    // Copies what fits, with a null at the end. The result is the buffer's size.
    if (cchBuffer > 0) {
        std::copy_n(path.begin(), cchBuffer - 1, buffer);
        buffer[cchBuffer - 1] = 0;
    }
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return cchBuffer;
}

FARPROC GetProcAddress(HMODULE handle, LPCSTR name) {
    if (winhost::Fails("GetProcAddress", ERROR_PROC_NOT_FOUND)) return nullptr;
    if (IS_INTRESOURCE(name)) winhost::NotModelled("GetProcAddress", "a function named by its number");
    const winhost::Module* module = winhost::FindByHandle(handle);
    if (!module) return nullptr;
    const auto hidden = winhost::HiddenNames();
    FARPROC found = nullptr;
    if (std::find(hidden.begin(), hidden.end(), name) == hidden.end()) {
        if (module->host)
            found = reinterpret_cast<FARPROC>(dlsym(module->host, name));
        else if (const auto function = module->functions.find(name); function != module->functions.end())
            found = function->second;
        else if (!winhost::IsProgramModule(handle) && name != winhost::kOfNoWindows)
            winhost::NotModelled("GetProcAddress", "the function " + std::string(name));
    }
    if (!found) SetLastError(ERROR_PROC_NOT_FOUND);
    return found;
}
