// The program's arguments. They are taken from the host before anything of the program runs, and are split and quoted
// by the rules of Windows' runtime library.
#include "processes/arguments.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

#include "core/text.h"
#include "processes/process_table.h"

int __argc = 0;
char16_t** __wargv = nullptr;

namespace winhost {

namespace {

std::u16string_view WithoutBlanks(std::u16string_view text) {
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    return text;
}

// Takes the program's own name. Quotes keep blanks in it; backslashes are plain text.
std::u16string TakeProgram(std::u16string_view& rest) {
    std::u16string name;
    bool quoted = false;
    while (!rest.empty() && (quoted || !IsBlank(rest.front()))) {
        if (rest.front() == u'"')
            quoted = !quoted;
        else
            name += rest.front();
        rest.remove_prefix(1);
    }
    return name;
}

std::u16string TakeArgument(std::u16string_view& rest) {
    std::u16string argument;
    bool quoted = false;
    while (!rest.empty() && (quoted || !IsBlank(rest.front()))) {
        const auto slashes = std::min(rest.find_first_not_of(u'\\'), rest.size());
        rest.remove_prefix(slashes);
        const bool beforeQuote = !rest.empty() && rest.front() == u'"';
        argument.append(beforeQuote ? slashes / 2 : slashes, u'\\');
        if (!beforeQuote) {
            if (!rest.empty() && (quoted || !IsBlank(rest.front()))) {
                argument += rest.front();
                rest.remove_prefix(1);
            }
            continue;
        }
        rest.remove_prefix(1);
        if (slashes % 2 != 0) {
            argument += u'"';
        } else if (quoted && !rest.empty() && rest.front() == u'"') {
            // Two quotes inside quotes mean one quote, and the quoted part continues.
            argument += u'"';
            rest.remove_prefix(1);
        } else {
            quoted = !quoted;
        }
    }
    return argument;
}

// Runs before the constructors of the program's static objects, which may already ask for the arguments. For this
// reason, nothing here is a static object with a constructor.
__attribute__((constructor(101))) void TakeArguments(int count, char** values, char**) {
    // Never freed: static objects of the program may read them up to the end.
    __wargv = new char16_t*[static_cast<std::size_t>(count) + 1];
    for (int i = 0; i < count; ++i) {
        const std::u16string text = Utf16(values[i]);
        __wargv[i] = new char16_t[text.size() + 1];
        wcscpy(__wargv[i], text.c_str());
    }
    __wargv[count] = nullptr;
    __argc = count;
    BeginProcess();
}

}  // namespace

bool IsBlank(char16_t unit) {
    return unit == u' ' || unit == u'\t';
}

std::vector<std::u16string> SplitArguments(std::u16string_view rest) {
    std::vector<std::u16string> arguments{TakeProgram(rest)};
    for (rest = WithoutBlanks(rest); !rest.empty(); rest = WithoutBlanks(rest))
        arguments.push_back(TakeArgument(rest));
    return arguments;
}

std::u16string_view WithoutProgram(std::u16string_view commandLine) {
    (void)TakeProgram(commandLine);
    return WithoutBlanks(commandLine);
}

std::u16string QuoteArgument(std::u16string_view argument) {
    if (!argument.empty() && argument.find_first_of(u" \t\"") == argument.npos)
        return std::u16string(argument);
    std::u16string quoted = u"\"";
    std::size_t slashes = 0;
    for (const char16_t unit : argument) {
        // Backslashes are doubled only before a quote.
        if (unit == u'"') quoted.append(slashes + 1, u'\\');
        slashes = unit == u'\\' ? slashes + 1 : 0;
        quoted += unit;
    }
    quoted.append(slashes, u'\\');
    return quoted + u'"';
}

}  // namespace winhost

LPWSTR GetCommandLineW() {
    static std::u16string* line = [] {
        // A program that the host started may have inherited the command line of another one.
        const char* given = std::getenv(winhost::kCommandLineVariable);
        auto text = std::make_unique<std::u16string>(winhost::Utf16(given ? given : ""));
        const auto arguments = winhost::SplitArguments(*text);
        if (given && std::equal(arguments.begin(), arguments.end(), __wargv, __wargv + __argc))
            return text.release();
        auto* joined = new std::u16string;
        for (int i = 0; i < __argc; ++i)
            *joined += (i ? u" " : u"") + winhost::QuoteArgument(__wargv[i]);
        return joined;
    }();
    return line->data();
}
