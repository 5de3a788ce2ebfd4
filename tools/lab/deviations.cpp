#include <algorithm>
#include <iterator>

#include "lab/lab.h"

namespace lab {

namespace {

// The facts for which Wine's answer differs from Windows.
constexpr std::pair<const char*, const char*> kFacts[] = {
    {"wininit.ini", "is carried out at a restart"},
    {"remove NUL", "ERROR_INVALID_HANDLE"},
    {"folder aux", "ERROR_ALREADY_EXISTS"},
    {"current folder NUL", "NUL"},
    {"find the second port", "ERROR_FILE_NOT_FOUND"},
    {"search in a file", "ERROR_INVALID_NAME"},
    {"find 'none\\'", "ERROR_FILE_NOT_FOUND"},
    {"find 'a\\'", "ERROR_FILE_NOT_FOUND"},
    {"search odd\\?", ". a"},
    {"search odd\\??. ", ".. .a aa"},
    {"search odd\\page~?.h*", "ERROR_FILE_NOT_FOUND"},
    {"search odd\\*.", ". .. .a a a.a aa page.html x 1 y"},
    {"search odd\\* ..", ". .. .a a a.a aa page.html x 1 y"},
    {"search odd\\a*.", "a a.a aa"},
    {"search odd\\?.??.", "ERROR_FILE_NOT_FOUND"},
    {"search odd\\a?", "aa"},
    {"search odd\\a\"a", "ERROR_FILE_NOT_FOUND"},
    {"search odd\\a<", "ERROR_FILE_NOT_FOUND"},
    {"mark a long path", "ok"},
    {"mark for a long path", "ok"},
    {"text that is missing from its block", "0 ERROR_SUCCESS"},
    {"classes of a user, deleted", "0"},
    {"failed start", "is as before"},
    {"size of a link's target", "0"},
    {"link to a path in quotes", "1 c:\\Scratch\\a b"},
    {"Alt+Backspace", "axydef"},
    {"attributes that stay", "32"},
    {"a temporary folder", "16"},
    {"names left", "App\\ App\\b App\\x NAME.txt a file\\"},
};

// What no state holds, with all below it. docs/reliability.md says why. HKU\* are the keys of every user. An embedded machine
// changes nothing by itself, so only the first row concerns it.
constexpr const char* kLeftOut[] = {
    "HKLM\\SYSTEM\\CurrentControlSet\\Control\\Session Manager\\ : PendingFileRenameOperations",
    "HKLM\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders\\",
    "HKU\\*\\Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\Shell Folders\\",
    "HKLM\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders\\",
    "HKU\\*\\Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders\\",
    "HKLM\\SOFTWARE\\Wow6432Node\\",
    "HKLM\\SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Perflib\\",
    "HKLM\\SYSTEM\\CurrentControlSet\\Control\\Video\\",
    "HKLM\\SYSTEM\\CurrentControlSet\\Control\\Class\\{4D36E968-E325-11CE-BFC1-08002BE10318}\\",
    "HKLM\\SYSTEM\\CurrentControlSet\\Control\\ServiceCurrent\\",
    "HKU\\*\\Software\\Wine\\",
};

}  // namespace

bool UnderWine() {
    static const bool is = [] {
        const HMODULE system = GetModuleHandleW(TEXT("ntdll.dll"));
        return system && GetProcAddress(system, "wine_get_version");
    }();
    return is;
}

std::string WinesAnswer(const std::string& fact, const std::string& windows) {
    for (const auto& [known, answer] : kFacts)
        if (fact == known) return answer;
    return windows;
}

std::string Expected(const std::string& fact, const std::string& windows) {
    return UnderWine() ? WinesAnswer(fact, windows) : windows;
}

bool IsLeftOut(const std::string& name) {
    if (IsSomebodys() && !IsTouched(name) && !LeadsToTouched(name)) return true;
    const std::string item = OfEveryUser(name);
    return std::any_of(std::begin(kLeftOut), kIsEmbedded ? std::begin(kLeftOut) + 1 : std::end(kLeftOut),
                       [&](const char* row) { return item.starts_with(row); });
}

}  // namespace lab
