#include "name_patterns.h"

#include <utility>
#include <vector>

namespace names {

namespace {

// Windows turns some of a caller's `*`, `?` and `.` into these, so that old patterns work: "*." finds names
// without a dot, and "a???" also finds "a".
constexpr WCHAR kAnyToLastDot = '<';
constexpr WCHAR kOneOrEnd = '>';
constexpr WCHAR kDotOrEnd = '"';

// Follows all positions in the expression at once, so that no pattern takes long.
bool MatchesWhole(const Text& expression, TextView name) {
    const std::size_t lastDot = name.rfind('.');
    std::vector<bool> places(expression.size() + 1);
    places[0] = true;
    for (std::size_t i = 0; i <= name.size(); ++i) {
        const bool atEnd = i == name.size();
        const WCHAR unit = atEnd ? WCHAR{0} : name[i];
        std::vector<bool> next(places.size());
        for (std::size_t place = 0; place < expression.size(); ++place) {
            if (!places[place]) continue;
            switch (expression[place]) {
                case '*':
                case kAnyToLastDot:
                    places[place + 1] = true;
                    next[place] = expression[place] == '*' || i != lastDot;
                    break;
                case kOneOrEnd:
                    (atEnd || unit == '.' ? places : next)[place + 1] = true;
                    break;
                case kDotOrEnd:
                    if (atEnd) places[place + 1] = true;
                    if (unit == '.') next[place + 1] = true;
                    break;
                default:
                    if (!atEnd && unit == expression[place]) next[place + 1] = true;
            }
        }
        if (atEnd) break;
        places = std::move(next);
    }
    return places.back();
}

}  // namespace

bool IsPattern(TextView name) {
    constexpr WCHAR kWildcards[] = {'*', '?', kAnyToLastDot, kOneOrEnd, kDotOrEnd, 0};
    return name.find_first_of(kWildcards) != name.npos;
}

Text Expression(TextView typed) {
    constexpr WCHAR kCut[] = {'.', ' ', 0};
    const std::size_t last = typed.find_last_not_of(kCut);
    Text expression(typed.substr(0, last == typed.npos ? 0 : last + 1));
    if (expression == TEXT("*.*")) return TEXT("*");
    for (std::size_t i = 0; i < expression.size(); ++i) {
        if (i > 0 && expression[i] == '.' && expression[i - 1] == '*') expression[i - 1] = kAnyToLastDot;
        if (expression[i] != '?' && expression[i] != '*') continue;
        if (expression[i] == '?') expression[i] = kOneOrEnd;
        if (i > 0 && expression[i - 1] == '.') expression[i - 1] = kDotOrEnd;
    }
    // The closing dot was cut, but it had a meaning after a star.
    if (typed.ends_with('.') && expression.ends_with('*')) expression.back() = kAnyToLastDot;
    return expression;
}

bool Matches(const Text& expression, TextView name) {
    if (MatchesWhole(expression, name)) return true;
    // These two names also match a pattern that matches them without some of their dots.
    if (name != TEXT(".") && name != TEXT("..")) return false;
    return Matches(expression, name.substr(1));
}

}  // namespace names
