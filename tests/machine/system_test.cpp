// What the system answers about programs, versions, links, folders and texts.
#include <shlobj.h>

#include <cstdarg>

#include <resource.h>

#include "harness/registry_values.h"
#include "machine/file_calls.h"

namespace {

const Text kUserFolders = TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders");
const Text kProbeClass = TEXT("QtvProbe.Class");
const Text kUsersClass = TEXT("Software\\Classes\\") + kProbeClass;
const Text kMachinesClass = TEXT("SOFTWARE\\Classes\\") + kProbeClass;

// The folders of the search path hold a version block, and below a sub-folder a library that is none.
class System : public ScratchTest {
  protected:
    System() {
        ImportFile("machine_tests.exe", TEXT("C:\\Windows\\qtvprobe.exe"));
        MakeFile(TEXT("C:\\Windows\\qtvprobe\\a.dll"), "no library");
        ImportFile("sleeper.exe", TEXT("C:\\Scratch\\program.exe"));
    }
    ~System() override {
        DeleteTree(TEXT("C:\\Windows\\qtvprobe.exe"));
        DeleteTree(TEXT("C:\\Windows\\qtvprobe"));
        DeleteKeyTree(HKEY_CURRENT_USER, kUsersClass);
        DeleteKeyTree(HKEY_LOCAL_MACHINE, kMachinesClass);
    }
};

std::string Load(LPCWSTR name) {
    const HMODULE library = LoadLibraryW(name);
    return Told(library && FreeLibrary(library));
}

std::string Written(LPWSTR buffer, LPCWSTR format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int written = _vsnwprintf(buffer, buffer ? 16 : 0, format, arguments);
    va_end(arguments);
    return std::to_string(written) + ":" + (buffer ? Narrow(buffer) : "");
}

std::string HasVariables(std::initializer_list<LPCWSTR> names) {
    std::string missing;
    for (const LPCWSTR name : names)
        if (GetEnvironmentVariableW(name, nullptr, 0) == 0) missing += Narrow(name) + " ";
    return missing;
}

std::string LocalTime(__time64_t time) {
    return _localtime64(&time) ? "some" : "none";
}

// Sets a value in HKEY_CLASSES_ROOT itself. Returns where it is then.
std::string ValueInClasses() {
    PutValue(HKEY_CLASSES_ROOT, TEXT(""), TEXT("qtvprobe"), Sz(TEXT("x")));
    std::string places =
        GetValue(HKEY_LOCAL_MACHINE, TEXT("SOFTWARE\\Classes"), TEXT("qtvprobe")) ? "machine" : "";
    places += GetValue(HKEY_CURRENT_USER, TEXT("Software\\Classes"), TEXT("qtvprobe")) ? "user" : "";
    EXPECT_EQ(RegDeleteValueW(HKEY_CLASSES_ROOT, TEXT("qtvprobe")), ERROR_SUCCESS);
    return places;
}

std::string Section(LPCWSTR section) {
    WCHAR buffer[16] = {};
    SetLastError(ERROR_SUCCESS);
    const DWORD length = GetPrivateProfileSectionW(section, buffer, 16, TEXT("C:\\Scratch\\x.ini"));
    return std::to_string(length) + " " + Told(false);
}

// Writes to a profile that another handle has open for writing and shares.
std::string WriteHeldProfile() {
    constexpr WCHAR kProfile[] = TEXT("C:\\Scratch\\held.ini");
    const HANDLE held = CreateFileW(kProfile, GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                    CREATE_ALWAYS, 0, nullptr);
    const std::string told = Told(WritePrivateProfileSectionW(TEXT("s"), TEXT("a=1\0"), kProfile));
    CloseHandle(held);
    return told;
}

std::string LoadText(UINT id) {
    WCHAR text[16];
    SetLastError(0);
    const int length = LoadStringW(GetModuleHandleW(nullptr), id, text, 16);
    return std::to_string(length) + " " + Told(length > 0);
}

// The result of SetPath, then the target that the link has.
std::string Target(const Text& path) {
    IShellLinkW* link = nullptr;
    if (CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW,
                         reinterpret_cast<void**>(&link)) != S_OK)
        return "no link";
    const HRESULT set = link->SetPath(path.c_str());
    WCHAR target[MAX_PATH] = {};
    (void)link->GetPath(target, MAX_PATH, nullptr, 0);
    link->Release();
    return std::to_string(set) + " " + Narrow(target);
}

std::string Lower(const std::string& text) {
    return Narrow(CString(Wide(text).c_str()).MakeLower().Text());
}

std::string Folder(int folder) {
    WCHAR path[MAX_PATH] = {};
    const HRESULT found = SHGetFolderPathW(nullptr, folder, nullptr, SHGFP_TYPE_CURRENT, path);
    return found == S_OK ? Narrow(path) : ToldError(found);
}

std::string Stored(const BYTE* text, DWORD cbText) {
    HKEY key;
    EXPECT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, kUsersClass.c_str(), &key), ERROR_SUCCESS);
    EXPECT_EQ(RegSetValueExW(key, TEXT("text"), 0, REG_SZ, text, cbText), ERROR_SUCCESS);
    RegCloseKey(key);
    return std::to_string(GetValue(HKEY_CURRENT_USER, kUsersClass, TEXT("text"))->bytes.size());
}

// A value of the merged classes, read through a handle from when both the user and the machine had the key: before and
// after the user's key is deleted.
std::string AfterDeletion() {
    PutValue(HKEY_LOCAL_MACHINE, kMachinesClass, TEXT("v"), Sz(TEXT("machine")));
    PutValue(HKEY_CURRENT_USER, kUsersClass, TEXT("v"), Sz(TEXT("user")));
    const auto key = OpenKey(HKEY_CLASSES_ROOT, kProbeClass);
    const auto query = [&] {
        return RegQueryValueExW(key.get(), TEXT("v"), nullptr, nullptr, nullptr, nullptr);
    };
    EXPECT_EQ(query(), ERROR_SUCCESS);
    EXPECT_EQ(RegDeleteKeyW(HKEY_CURRENT_USER, kUsersClass.c_str()), ERROR_SUCCESS);
    const LSTATUS after = query();
    EXPECT_TRUE(GetValue(HKEY_CLASSES_ROOT, kProbeClass, TEXT("v")) == Sz(TEXT("machine")));
    return std::to_string(after);
}

TEST_F(System, AnswersAsWindowsDoes) {
    ASSERT_TRUE(SUCCEEDED(CoInitialize(nullptr)));
    const auto pictures = GetValue(HKEY_CURRENT_USER, kUserFolders, TEXT("My Pictures"));
    PutValue(HKEY_CURRENT_USER, kUserFolders, TEXT("My Pictures"),
             Sz(TEXT("%SystemDrive%\\Scratch\\moved\\here"), REG_EXPAND_SZ));
    WCHAR written[16];
    const BYTE text[] = {'a', 0, 'b', 0, 0, 0, 'c', 0};
    ExpectAnswers({
        {"a program's parameters, instance and way to be shown",
         std::to_string(RunProgram(TEXT("\"C:\\Scratch\\program.exe\"  ends \"at once\""))), "7"},
        {"library in a sub-folder", Load(TEXT("qtvprobe\\a.dll")), "ERROR_BAD_EXE_FORMAT"},
        {"library in no sub-folder", Load(TEXT("qtvprobe\\b.dll")), "ERROR_MOD_NOT_FOUND"},
        {"library with blanks at its end", Load(TEXT("kernel32.dll   ")), "ok"},
        {"length without a buffer", Written(nullptr, TEXT("a%d"), 1234), "5:"},
        {"a number after wide blanks", std::to_string(_wtoi(TEXT("\u3000\u00A0 12x"))), "12"},
        {"the folder of 32-bit programs", Attributes("C:\\Program Files (x86)\\Common Files"), "ok"},
        {"%3c", Written(written, TEXT("%3c"), 'a'), "3:  a"},
        {"%04s", Written(written, TEXT("%04s"), TEXT("foo")), "4:0foo"},
        {"%05d", Written(written, TEXT("%05d"), -12), "5:-0012"},
        {"a time before 1970", LocalTime(-1), "none"},
        {"the first time", LocalTime(0), "some"},
        {"missing variables",
         HasVariables({TEXT("ProgramW6432"), TEXT("HomeDrive"), TEXT("HomePath"), TEXT("CommonProgramFiles"),
                       TEXT("COMPUTERNAME"), TEXT("OS"), TEXT("PATHEXT"), TEXT("PROCESSOR_ARCHITECTURE"),
                       TEXT("ProgramFiles(x86)")}),
         ""},
        {"value in HKEY_CLASSES_ROOT", ValueInClasses(), "machine"},
        {"the system's folder", Lower(Folder(CSIDL_SYSTEM)), "c:\\windows\\system32"},
        {"the start menu", Folder(CSIDL_STARTMENU) + "\\Programs", Folder(CSIDL_PROGRAMS)},
        {"the local data", Lower(Folder(CSIDL_LOCAL_APPDATA)),
         Lower(Folder(CSIDL_PROFILE)) + "\\appdata\\local"},
        {"no folder's number", Folder(0x3E), ToldError(E_INVALIDARG)},
        {"no section", Section(nullptr), "0 ERROR_INVALID_PARAMETER"},
        {"held profile", WriteHeldProfile(), "ok"},
        {"text that is missing from its block", LoadText(5), "0 ERROR_RESOURCE_NAME_NOT_FOUND"},
        {"text with a number that is cut", LoadText(0x10000 + IDS_PRODUCT), LoadText(IDS_PRODUCT)},
        {"version by a bare name", Version(TEXT("qtvprobe.exe"), TEXT("\\VarFileInfo\\Translation")),
         "4 1033 1200"},
        {"version text", Version(TEXT("qtvprobe.exe"), TEXT("\\stringfileinfo\\040904b0\\FILEVERSION"), true),
         "8 56 46 53 46 50 46 48 0"},
        {"no such version text", Version(TEXT("qtvprobe.exe"), TEXT("\\StringFileInfo\\040904B0\\x")),
         "ERROR_RESOURCE_TYPE_NOT_FOUND"},
        {"link to a path in quotes", Target(TEXT("\"c:\\Scratch\\a b\"")), "1 C:\\Scratch\\a b"},
        {"link to a bare name", Lower(Target(TEXT("regsvr32.exe"))), "0 c:\\windows\\system32\\regsvr32.exe"},
        {"the desktop's folder", Folder(CSIDL_DESKTOPDIRECTORY), Folder(CSIDL_DESKTOP)},
        {"the programs' folder", Folder(CSIDL_PROGRAM_FILES), "C:\\Program Files"},
        {"folder moved by the registry", Folder(CSIDL_MYPICTURES),
         ToldError(HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND))},
        {"the same, made", Folder(CSIDL_MYPICTURES | CSIDL_FLAG_CREATE), "C:\\Scratch\\moved\\here"},
        {"text whose end follows it", Stored(text, 4), "6"},
        {"text whose end doesn't", Stored(text, 2), "2"},
        {"text with its end", Stored(text, 6), "6"},
        {"classes of a user, deleted", AfterDeletion(), "1018"},
    });
    EXPECT_TRUE(Exists(TEXT("C:\\Scratch\\moved\\here")));
    if (pictures)
        PutValue(HKEY_CURRENT_USER, kUserFolders, TEXT("My Pictures"), *pictures);
    else
        DeleteKeyTree(HKEY_CURRENT_USER, kUserFolders);
    CoUninitialize();
}

}  // namespace
