#include "package_check/name_rules.h"

#include <algorithm>

#include "short_names.h"

namespace package_check {

namespace {

template <class Test>
bool AnyLevel(const CString& name, Test test) {
    Wide level;
    for (const WCHAR character : name.Text() + TEXT("\\")) {
        if (character != '\\' && character != '/') {
            level += character;
            continue;
        }
        if (level != TEXT(".") && level != TEXT("..") && test(level)) return true;
        level.clear();
    }
    return false;
}

bool EndsInBlankOrDot(const Wide& level) {
    return level.ends_with(' ') || (level.ends_with('.') && !HasWildcard(level.c_str()));
}

bool IsDevice(const Wide& level) {
    CString name = level.substr(0, level.find('.')).c_str();
    name = name.TrimRight().MakeUpper();
    for (const LPCWSTR device : {TEXT("CON"), TEXT("PRN"), TEXT("AUX"), TEXT("NUL")})
        if (name == device) return true;
    const CString port = name.Left(3);
    return name.GetLength() == 4 && (port == TEXT("COM") || port == TEXT("LPT")) && name[3] >= '1' &&
           name[3] <= '9';
}

bool IsTooLong(const Wide& level) {
    constexpr std::size_t kMostBytes = 255;
    return tools::Utf8(level).size() > kMostBytes;
}

}  // namespace

bool HasForbidden(const CString& name) {
    return std::any_of(name.Text().begin(), name.Text().end(), [](WCHAR character) {
        return character < 0x20 || character == '<' || character == '>' || character == ':' ||
               character == '"' || character == '|';
    });
}

bool HasBlankOrDotEnd(const CString& path) {
    return AnyLevel(path, EndsInBlankOrDot);
}

bool HasDevice(const CString& path) {
    return AnyLevel(path, IsDevice);
}

bool HasTooLong(const CString& path) {
    return AnyLevel(path, IsTooLong);
}

bool MatchesByShortName(const names::Text& expression, const Wide& name) {
    if (names::IsShort(name) || names::Matches(expression, name)) return false;
    const names::ShortNames shortNames(name, name);
    for (unsigned number = 1; number <= shortNames.firstSummed(); ++number)
        if (names::Matches(expression, shortNames.Candidate(number))) return true;
    return false;
}

}  // namespace package_check
