#include "kit/machine.h"

#include <windows.h>

#include <functional>

#include "support/handles.h"

extern "C" NTSYSAPI LONG NTAPI RtlGetVersion(OSVERSIONINFOW* version);

namespace kit {

namespace {

constexpr const wchar_t* kRestartedKey = L"SOFTWARE\\QtvKit";
constexpr const wchar_t* kRunOnceKey = L"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\RunOnce";
constexpr wchar_t kRestartedValue[] = L"QtvKit";
constexpr wchar_t kVersionKey[] = L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion";

std::string Variable(const wchar_t* name) {
    wchar_t value[MAX_PATH] = {};
    (void)GetEnvironmentVariableW(name, value, MAX_PATH);
    return tools::Utf8(value);
}

// A text of HKLM; empty if there is none.
std::wstring RegistryText(const wchar_t* key, const wchar_t* name) {
    wchar_t text[MAX_PATH] = {};
    DWORD cbText = sizeof text;
    (void)RegGetValueW(HKEY_LOCAL_MACHINE, key, name, RRF_RT_REG_SZ, nullptr, text, &cbText);
    return text;
}

std::string Digest(const std::string& text) {
    return tools::Hex(std::hash<std::string>()(text), 16);
}

std::string TimeText(const FILETIME& time) {
    return " " + std::to_string(std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime);
}

void LookAtFolder(lab::State& others, const std::wstring& folder) {
    WIN32_FIND_DATAW found;
    const FindHandle find(FindFirstFileW((folder + L"*").c_str(), &found));
    if (!find) return;
    do {
        const std::wstring name = found.cFileName;
        const std::string path = tools::Utf8(folder + name);
        if (name == L"." || name == L".." || lab::IsTouched(path)) continue;
        const bool isFolder = found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY;
        // A folder's time changes with what is in it.
        others[Digest(path)] =
            isFolder ? "" : std::to_string(found.nFileSizeLow) + TimeText(found.ftLastWriteTime);
        if (isFolder && !(found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT))
            LookAtFolder(others, folder + name + L"\\");
    } while (FindNextFileW(find.get(), &found));
}

void LookAtKey(lab::State& others, HKEY parent, const wchar_t* subName, const std::string& name) {
    HKEY opened = nullptr;
    if (lab::IsTouched(name) ||
        RegOpenKeyExW(parent, subName, REG_OPTION_OPEN_LINK, KEY_READ, &opened) != ERROR_SUCCESS)
        return;
    const RegistryKey key(opened);
    FILETIME time = {};
    (void)RegQueryInfoKeyW(opened, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                           nullptr, nullptr, &time);
    // The time of a key changes with the keys in it, which may be touched.
    others[Digest(name)] = lab::LeadsToTouched(name) ? "" : TimeText(time);
    wchar_t below[MAX_PATH];
    for (DWORD index = 0; RegEnumKeyW(opened, index, below, MAX_PATH) == ERROR_SUCCESS; ++index)
        LookAtKey(others, opened, below, name + tools::Utf8(below) + "\\");
}

void RemoveItem(const std::string& name) {
    if (name.starts_with("mark ") || name.starts_with("shared memory ")) return;
    if (!name.starts_with("HK")) {
        const std::wstring path = tools::Wide(name);
        (void)SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
        (void)(name.ends_with("\\") ? RemoveDirectoryW(path.c_str()) : DeleteFileW(path.c_str()));
        return;
    }
    const HKEY hive = name.starts_with("HKLM") ? HKEY_LOCAL_MACHINE : HKEY_USERS;
    const std::string path = name.substr(name.find('\\') + 1);
    const auto end = path.find("\\ : ");
    const std::wstring key = tools::Wide(path.substr(0, end == path.npos ? path.size() - 1 : end));
    if (end == path.npos)
        (void)RegDeleteTreeW(hive, key.c_str());
    else
        (void)RegDeleteKeyValueW(hive, key.c_str(), tools::Wide(path.substr(end + 4)).c_str());
}

std::string WinesVersion() {
    const auto version = reinterpret_cast<const char* (*)()>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version")));
    return version ? std::string("Wine ") + version() + " as " : std::string();
}

}  // namespace

std::string NameOfSystem() {
    OSVERSIONINFOW version = {};
    version.dwOSVersionInfoSize = sizeof version;
    (void)RtlGetVersion(&version);
    DWORD revision = 0, cbRevision = sizeof revision;
    (void)RegGetValueW(HKEY_LOCAL_MACHINE, kVersionKey, L"UBR", RRF_RT_REG_DWORD, nullptr, &revision,
                       &cbRevision);
    return WinesVersion() + "Windows " + std::to_string(version.dwMajorVersion) + "." +
           std::to_string(version.dwMinorVersion) + ", build " + std::to_string(version.dwBuildNumber) + "." +
           std::to_string(revision) + " " + tools::Utf8(RegistryText(kVersionKey, L"DisplayVersion")) + ", " +
           Variable(L"PROCESSOR_ARCHITECTURE") + " (" + Variable(L"PROCESSOR_IDENTIFIER") + ")";
}

bool IsSandbox() {
    return Variable(L"USERNAME") == "WDAGUtilityAccount";
}

lab::State LookAtOthers() {
    lab::State others;
    LookAtFolder(others, L"C:\\");
    LookAtKey(others, HKEY_LOCAL_MACHINE, nullptr, "HKLM\\");
    LookAtKey(others, HKEY_USERS, nullptr, "HKU\\");
    return others;
}

void RemoveTouched() {
    const lab::State state = lab::Take();
    for (auto item = state.rbegin(); item != state.rend(); ++item)
        RemoveItem(item->first);
}

std::string Nobodys(std::string text) {
    text = lab::Neutral(std::move(text));
    std::vector<std::pair<std::string, std::string>> names = lab::Names();
    names.emplace_back(Variable(L"USERPROFILE"), "<Profile>");
    names.emplace_back("\\Users\\" + Variable(L"USERNAME"), "\\Users\\<User>");
    names.emplace_back(Variable(L"COMPUTERNAME"), "<Machine>");
    for (const auto& [name, instead] : names) {
        if (name.empty()) continue;
        // Tests write some paths with two backslashes for each.
        for (const std::string& written : {name, tools::Replaced(name, "\\", "\\\\")})
            text = tools::Replaced(std::move(text), written, instead);
    }
    return text;
}

std::filesystem::path RestartedFor() {
    return RegistryText(kRestartedKey, kRestartedValue);
}

void ForgetRestart() {
    (void)RegDeleteTreeW(HKEY_LOCAL_MACHINE, kRestartedKey);
    // It is still there if the restart was refused.
    (void)RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, kRunOnceKey, kRestartedValue);
}

bool Restart(const std::filesystem::path& kit, const std::filesystem::path& results) {
    const std::wstring command = L"\"" + kit.native() + L"\" /go-on /results \"" + results.native() + L"\"";
    for (const auto& [key, text] :
         {std::pair(kRestartedKey, results.native()), std::pair(kRunOnceKey, command)})
        (void)RegSetKeyValueW(HKEY_LOCAL_MACHINE, key, kRestartedValue, REG_SZ, text.c_str(),
                              static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
    HANDLE token = nullptr;
    TOKEN_PRIVILEGES rights = {1, {{{}, SE_PRIVILEGE_ENABLED}}};
    (void)OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &token);
    const KernelHandle owner(token);
    (void)LookupPrivilegeValueW(nullptr, SE_SHUTDOWN_NAME, &rights.Privileges[0].Luid);
    (void)AdjustTokenPrivileges(token, FALSE, &rights, 0, nullptr, nullptr);
    return ExitWindowsEx(EWX_REBOOT | EWX_FORCEIFHUNG, SHTDN_REASON_FLAG_PLANNED);
}

}  // namespace kit
