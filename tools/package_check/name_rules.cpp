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
    for (const LPCWSTR device :
         {TEXT("CON"), TEXT("PRN"), TEXT("AUX"), TEXT("NUL"), TEXT("CONIN$"), TEXT("CONOUT$")})
        if (name == device) return true;
    const CString port = name.Left(3);
    return name.GetLength() == 4 && (port == TEXT("COM") || port == TEXT("LPT")) &&
           wcschr(TEXT("123456789\xB9\xB2\xB3"), name[3]) != nullptr;
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

std::vector<Wide> ShortNamesOf(const Wide& name) {
    std::vector<Wide> candidates;
    if (names::IsShort(name)) return candidates;
    const names::ShortNames shortNames(name, name);
    for (unsigned number = 1; number <= shortNames.firstSummed(); ++number)
        candidates.push_back(shortNames.Candidate(number));
    return candidates;
}

bool MatchesByShortName(const names::Text& expression, const Wide& name) {
    if (names::Matches(expression, name)) return false;
    const std::vector<Wide> candidates = ShortNamesOf(name);
    return std::any_of(candidates.begin(), candidates.end(),
                       [&](const Wide& candidate) { return names::Matches(expression, candidate); });
}

}  // namespace package_check
