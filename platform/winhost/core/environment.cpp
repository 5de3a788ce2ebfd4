// Environment variables of the machine. They are stored in the host's environment under a prefix, so that started
// programs inherit them.
#include "core/environment.h"

#include <unistd.h>

#include <algorithm>

#include "core/faults.h"
#include "core/machine.h"
#include "core/new_machine.h"
#include "core/text.h"

namespace winhost {

namespace {

constexpr char kPrefix[] = "WINHOST_VAR_";
// Set when the variables already have their first values: in a program that another program of the machine started.
constexpr char kFilled[] = "WINHOST_VARIABLES";

void Forget() {
    for (char** entry = environ; *entry;) {
        const std::string_view text = *entry;
        if (text.starts_with(kPrefix))
            unsetenv(std::string(text.substr(0, text.find('='))).c_str());
        else
            ++entry;
    }
    unsetenv(kFilled);
}

void Fill() {
    static const bool forgets = (OnEnter(Forget), true);
    (void)forgets;
    if (std::getenv(kFilled)) return;
    for (const Variable& variable : kNewVariables)
        setenv((std::string(kPrefix) + variable.name).c_str(), variable.value, 0);
    setenv(kFilled, "1", 1);
}

std::string HostName(std::u16string_view name) {
    if (name.starts_with(u'=')) NotModelled("environment", "the current folder of a drive: " + Utf8(name));
    return kPrefix + Utf8(Upper(name));
}

}  // namespace

std::optional<std::u16string> ValueOfVariable(std::u16string_view name) {
    Fill();
    const char* stored = std::getenv(HostName(name).c_str());
    return stored ? std::optional(Utf16(stored)) : std::nullopt;
}

std::u16string ExpandVariables(std::u16string_view text) {
    std::u16string expanded;
    for (;;) {
        const auto open = text.find(u'%');
        const auto close = open == text.npos ? text.npos : text.find(u'%', open + 1);
        if (close == text.npos) return expanded += text;
        const auto value = ValueOfVariable(text.substr(open + 1, close - open - 1));
        expanded += text.substr(0, open);
        expanded += value ? *value : std::u16string(text.substr(open, close - open));
        // If the name has no value, its second % may begin another name.
        text.remove_prefix(value ? close + 1 : close);
    }
}

}  // namespace winhost

DWORD GetEnvironmentVariableW(LPCWSTR name, LPWSTR buffer, DWORD cchBuffer) {
    if (winhost::Fails("GetEnvironmentVariableW")) return 0;
    const auto value = name ? winhost::ValueOfVariable(name) : std::nullopt;
    if (!value) {
        SetLastError(ERROR_ENVVAR_NOT_FOUND);
        return 0;
    }
    const auto length = static_cast<DWORD>(value->size());
    if (cchBuffer <= length) return length + 1;
    wcscpy(buffer, value->c_str());
    return length;
}

BOOL SetEnvironmentVariableW(LPCWSTR name, LPCWSTR value) {
    if (winhost::Fails("SetEnvironmentVariableW")) return FALSE;
    if (!name || !*name || wcschr(name + 1, u'=')) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    winhost::Fill();
    const std::string host = winhost::HostName(name);
    if (value) return setenv(host.c_str(), winhost::Utf8(value).c_str(), 1) == 0;
    if (!std::getenv(host.c_str())) {
        SetLastError(ERROR_ENVVAR_NOT_FOUND);
        return FALSE;
    }
    return unsetenv(host.c_str()) == 0;
}
