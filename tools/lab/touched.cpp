#include <algorithm>
#include <cstring>
#include <iterator>

#include "lab/lab.h"

namespace lab {

namespace {

// All that begins so is compared. On Windows the classes of a user are a key of their own below HKU.
constexpr const char* kTouched[] = {
    "C:\\Scratch",
    "C:\\Package",
    "C:\\Earlier package",
    "C:\\Program Files\\Qantivo 8",
    "C:\\Program Files\\*.dl",
    "C:\\Windows\\WININIT.INI",
    "C:\\Windows\\System32\\planted.dll",
    "C:\\Windows\\qtvprobe",
    "<Temp>\\uni",
    "<CommonStartup>\\Qantivo",
    "<CommonStartup>\\q8t",
    "<Startup>\\Qantivo",
    "<Startup>\\q8t",
    "<CommonPrograms>\\Qantivo",
    "<Programs>\\Qantivo",
    "<CommonDesktop>\\Qantivo",
    "<Desktop>\\Qantivo",
    "HKLM\\SOFTWARE\\Lorvanta\\",
    "HKLM\\SOFTWARE\\RegisteredApplications\\ : Qantivo.8",
    "HKLM\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\QtvApp8.exe\\",
    "HKLM\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Uninstall\\Qantivo 8\\",
    "HKLM\\SOFTWARE\\Mozilla\\NativeMessagingHosts\\qtvff\\",
    "HKLM\\SOFTWARE\\Classes\\ : qtvprobe",
    "HKLM\\SOFTWARE\\Classes\\Applications\\QtvApp8.exe\\",
    "HKLM\\SOFTWARE\\Classes\\CLSID\\{5E0C2B7A-8D41-4F69-9C3B-71A6D2E48F15}\\",
    "HKLM\\SOFTWARE\\Classes\\Qantivo.8\\",
    "HKLM\\SOFTWARE\\Classes\\QV8.Document\\",
    "HKU\\*\\Software\\Lorvanta\\",
    "HKU\\*\\Software\\Mozilla\\NativeMessagingHosts\\qtvff\\",
    "HKU\\*\\Software\\Classes\\Applications\\QtvApp8.exe\\",
    "HKU\\*\\Software\\Classes\\Qantivo.8\\",
    "HKU\\*\\Software\\Classes\\QV8.Document\\",
    "HKU\\*\\Applications\\QtvApp8.exe\\",
    "HKU\\*\\Qantivo.8\\",
    "HKU\\*\\QV8.Document\\",
};

// Windows doesn't tell upper from lower case, and not each one writes its folders and keys alike.
bool Begins(const std::string& text, const std::string& start) {
    return strncasecmp(text.c_str(), start.c_str(), start.size()) == 0;
}

// The name of an item with the characters of the table instead of those that a user or chance has chosen.
std::string General(std::string name) {
    constexpr std::size_t kDigits = 26;
    const std::string programs = "C:\\Program Files\\";
    const std::size_t end = std::min(name.find('\\', programs.size()), name.size());
    if (Begins(name, programs) && end == programs.size() + kDigits + 3 &&
        name.compare(end - 3, 3, ".dl") == 0)
        name.replace(programs.size(), kDigits, "*");
    return OfEveryUser(std::move(name));
}

}  // namespace

const std::vector<std::string>& Touched() {
    static const auto touched = [] {
        std::vector<std::string> all(std::begin(kTouched), std::end(kTouched));
        for (std::string& start : all)
            for (const auto& [path, name] : Names())
                if (name.starts_with("<")) start = tools::Replaced(std::move(start), name, path);
        return all;
    }();
    return touched;
}

std::string OfEveryUser(std::string name) {
    if (const auto end = name.find('\\', 4); name.starts_with("HKU\\") && end != name.npos)
        name.replace(4, end - 4, "*");
    return name;
}

bool IsSomebodys() {
    static const bool is = GetEnvironmentVariableW(TEXT("QTV_KIT"), nullptr, 0) != 0;
    return is;
}

bool IsTouched(const std::string& name) {
    return std::any_of(Touched().begin(), Touched().end(),
                       [item = General(name)](const auto& start) { return Begins(item, start); });
}

bool LeadsToTouched(const std::string& name) {
    return std::any_of(Touched().begin(), Touched().end(),
                       [item = General(name)](const auto& start) { return Begins(start, item); });
}

}  // namespace lab
