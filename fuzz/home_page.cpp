// HomePage.url: with any content, one address is opened, on the maker's own server.
#include "app/setup_state.h"
#include "install/closing_page.h"
#include "fuzz_machine.h"
#include <winhost.h>

void TryInput(std::string_view input) {
    g_silentMode = 0;
    g_freshInstall = 1;
    g_targetDir = TEXT("C:\\Apps");
    winhost::ClearEvents();
    Put("C/Apps/HomePage.url", input);
    OpenClosingPage();

    const std::vector<std::string> events = winhost::Events();
    constexpr std::string_view kAddress = "\thttp://www.lorvanta.example/qvdx/InstScript.asp";
    Require(events.size() == 1, "one event");
    const std::size_t end = events[0].find(kAddress) + kAddress.size();
    Require(events[0].starts_with("shell-execute\topen\t") && end >= kAddress.size(), "the maker's page");
    Require(events[0][end] == '?' || events[0][end] == '\t', "a query or nothing");
}
