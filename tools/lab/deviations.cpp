#include <algorithm>
#include <iterator>
#include <type_traits>

#include "lab/lab.h"

namespace lab {

namespace {

// The facts for which Wine's answer differs from Windows.
constexpr struct {
    const char* fact;
    const char* answer;
} kFacts[] = {
    {"wininit.ini", "is carried out at a restart"},
    {"remove NUL", "e6"},
    {"folder aux", "e183"},
    {"current folder NUL", "NUL"},
    {"search in a file", "e123"},
    {"find 'none\\'", "e2"},
    {"find 'a\\'", "e2"},
    {"mark a long path", "ok"},
    {"mark for a long path", "ok"},
    {"text that is missing from its block", "0 e0"},
    {"classes of a user, deleted", "0"},
    {"failed start", "is as before"},
    {"link to a path in quotes", "1 c:\\Scratch\\a b"},
    {"names left", "App\\ App\\b App\\x NAME.txt a file\\"},
};

// The keys that the system changes by itself, and why.
constexpr struct {
    const char* part;
    const char* why;
} kLeftOut[] = {
    {"\\Explorer\\Shell Folders", "the shell writes it whenever a program asks for a folder"},
    {"\\Explorer\\User Shell Folders", "the shell adds the folders that a program asks for"},
    {"\\Wow6432Node\\", "64-bit Windows shows some keys to 32-bit programs a second time"},
    {"\\Software\\Wine\\", "Wine's windows leave keys of Wine"},
};

}  // namespace

bool UnderWine() {
    static const bool is = [] {
        const HMODULE system = GetModuleHandleW(TEXT("ntdll.dll"));
        return system && GetProcAddress(system, "wine_get_version");
    }();
    return is;
}

std::string Expected(const std::string& fact, const std::string& windows) {
    const auto found = std::find_if(std::begin(kFacts), std::end(kFacts),
                                    [&](const auto& deviation) { return fact == deviation.fact; });
    return found != std::end(kFacts) && UnderWine() ? found->answer : windows;
}

bool IsLeftOut(const std::string& name) {
    constexpr bool isEmbedded = std::is_same_v<WCHAR, char16_t>;
    return !isEmbedded && std::any_of(std::begin(kLeftOut), std::end(kLeftOut),
                                      [&](const auto& item) { return name.find(item.part) != name.npos; });
}

}  // namespace lab
