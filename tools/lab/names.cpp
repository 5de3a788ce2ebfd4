#include <shlobj.h>

#include <regex>
#include <utility>

#include "common/text.h"
#include "lab/lab.h"
#include "support/registry.h"

namespace lab {

namespace {

using tools::Utf8;
using tools::WideText;

std::string ShellFolder(int folder) {
    WCHAR path[MAX_PATH] = {};
    (void)SHGetFolderPathW(nullptr, folder | CSIDL_FLAG_CREATE, nullptr, SHGFP_TYPE_CURRENT, path);
    return Utf8(path);
}

std::string TemporaryFolder() {
    WCHAR path[MAX_PATH] = {};
    const DWORD cch = GetTempPathW(MAX_PATH, path);
    return cch > 0 && cch < MAX_PATH ? Utf8(WideText(path, cch - 1)) : std::string();
}

// The user's key in HKEY_USERS. It is found by making a key for the current user and looking where it appears.
std::string CurrentUser() {
    const WideText probe = TEXT("Software\\LabProbe");
    if (!SetRegDword(HKEY_CURRENT_USER, probe.c_str(), nullptr, 0)) return {};
    std::string found;
    WCHAR name[256];
    for (DWORD index = 0; RegEnumKeyW(HKEY_USERS, index, name, 256) == ERROR_SUCCESS; ++index)
        if (RegKeyExists(HKEY_USERS, (name + (TEXT("\\") + probe)).c_str())) found = Utf8(name);
    (void)RegDeleteKeyW(HKEY_CURRENT_USER, probe.c_str());
    return found;
}

// If one path contains another, the inner one is first.
std::vector<std::pair<std::string, std::string>> FindNames() {
    std::vector<std::pair<std::string, std::string>> names = {
        {ShellFolder(CSIDL_COMMON_STARTUP), "<CommonStartup>"},
        {ShellFolder(CSIDL_STARTUP), "<Startup>"},
        {ShellFolder(CSIDL_COMMON_PROGRAMS), "<CommonPrograms>"},
        {ShellFolder(CSIDL_PROGRAMS), "<Programs>"},
        {ShellFolder(CSIDL_COMMON_DESKTOPDIRECTORY), "<CommonDesktop>"},
        {ShellFolder(CSIDL_DESKTOP), "<Desktop>"},
        {ShellFolder(CSIDL_MYPICTURES), "<Pictures>"},
        {TemporaryFolder(), "<Temp>"},
    };
    if (const std::string user = CurrentUser(); !user.empty()) {
        names.emplace_back("HKU\\" + user + "_Classes\\", "HKCU\\Software\\Classes\\");
        names.emplace_back("HKU\\" + user, "HKCU");
    }
    std::erase_if(names, [](const auto& name) { return name.first.empty(); });
    return names;
}

}  // namespace

const std::vector<std::pair<std::string, std::string>>& Names() {
    static const auto names = FindNames();
    return names;
}

std::string Neutral(std::string text) {
    for (const auto& [path, name] : Names())
        text = tools::Replaced(std::move(text), path, name);
    // The system chooses the number in the name of a temporary file, and a download's folder has 26 characters by chance.
    static const std::regex temporary(R"((\\(uni|q8t))[0-9A-Fa-f]{1,4}(?=\.tmp))");
    static const std::regex downloaded(R"(\\[^\\]{26}(?=\.dl))");
    if (text.find(".tmp") != text.npos) text = std::regex_replace(text, temporary, "$1*");
    if (text.find(".dl") != text.npos) text = std::regex_replace(text, downloaded, "\\*");
    return text;
}

std::string ButtonName(int button) {
    return button == IDCANCEL ? "Cancel" : button == IDYES ? "Yes" : button == IDNO ? "No" : "OK";
}

}  // namespace lab
