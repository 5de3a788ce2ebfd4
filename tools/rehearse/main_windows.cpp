// The rehearsal in a Wine prefix. The host's program has put the packages there, and starts this one:
//   rehearse.exe PACKAGE text|coloured|json OPTION...
// PACKAGE is the name to show. The variable QTV_HTML names the file of the page; without it there is no page.
#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <exception>

#include "rehearse/report.h"
#include "support/handles.h"
#include "common/help.h"
#include "common/text.h"

namespace {

void Print(const std::string& text) {
    (void)std::fwrite(text.data(), 1, text.size(), stdout);
    (void)std::fflush(stdout);
}

bool WritePage(const wchar_t* path, const std::string& text) {
    const FileStream file(_wfopen(path, L"wb"));
    if (file && std::fwrite(text.data(), 1, text.size(), file.get()) == text.size() &&
        std::fflush(file.get()) == 0)
        return true;
    std::fputs("rehearse: the page can't be written\n", stderr);
    return false;
}

// Every Windows has this list, but not every new Wine prefix.
void MakeListOfApplications() {
    HKEY key = nullptr;
    (void)RegCreateKeyW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\RegisteredApplications", &key);
    (void)RegCloseKey(key);
}

}  // namespace

int wmain(int count, wchar_t** values);

int wmain(int count, wchar_t** values) try {
    // It installs and uninstalls on the running system, so that system must exist only for this purpose.
    if (!GetEnvironmentVariableW(L"QTV_REHEARSAL", nullptr, 0) || count < 3) {
        Print(
            "rehearse: this program does its work in a throwaway prefix of Wine; use the host's: rehearse "
            "--wine\n");
        return 2;
    }
    // The host reads the output and has no carriage returns.
    (void)_setmode(_fileno(stdout), _O_BINARY);
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i)
        arguments.push_back(tools::Utf8(values[i]));
    const bool json = arguments[1] == "json", coloured = arguments[1] == "coloured";
    MakeListOfApplications();
    const rehearse::Rehearsal rehearsal =
        rehearse::Rehearse({arguments.begin() + 2, arguments.end()}, [&](const rehearse::Step& step) {
            if (!json) Print(rehearse::ToText(step, coloured));
        });
    Print(json ? rehearse::ToJson(rehearsal, arguments[0], "Wine")
               : rehearse::LeftToText(rehearsal, coloured));
    if (const wchar_t* const page = _wgetenv(L"QTV_HTML");
        page && !WritePage(page, rehearse::ToHtml(rehearsal, arguments[0], "Wine")))
        return 2;
    return rehearsal.ExitCode();
} catch (const std::exception& error) {
    tools::PrintFailure("rehearse", error);
    return 2;
}
