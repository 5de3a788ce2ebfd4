// The web page that an install in the wizard opens at its end. Only the embedded machine records it.
#include "install/closing_page.h"

#include "app/setup_state.h"
#include "harness/scratch.h"
#include <winhost.h>

namespace {

class ClosingPage : public ScratchTest {
  protected:
    ClosingPage() {
        g_silentMode = 0;
        g_freshInstall = 1;
        g_targetDir = kScratch.c_str();
    }
    static std::vector<std::string> Opened() {
        winhost::ClearEvents();
        OpenClosingPage();
        return winhost::Events();
    }
};

TEST_F(ClosingPage, CarriesQueryAndLanguageOfTheUrlFile) {
    const std::string filler(259 - 13, 'x');
    const struct {
        const char* name;
        std::optional<std::string> file;
        std::string query;
    } rows[] = {
        {"no file", std::nullopt, ""},
        {"both", "URL=http://host/x?a=1\r\nUpdate=http://host/y/de\r\n", "?a=1&Lang=DE"},
        {"two languages", " \tUpdate=http://h/de \nUpdate=http://h/fr\n", "?Lang=DE&Lang=FR"},
        {"digits", "Update=http://h/8.1\nUpdate=http://h/0b\nUpdate=http://h/b9\n", ""},
        {"no language at all", "Update=http://\n", "?Lang=//"},
        {"the last query", "URL=http://h/x?a=1\nURL=http://h/x?b=2?c\n", "?b=2?c"},
        {"no query", "URL=http://h/x?a=1\nURL=http://h/x\n", "?a=1"},
        {"other lines", "URL=http:/h?a\nurl=http://h/x?a=1\nX URL=http://h/x?b\nUpdate=http:/h/de\n", ""},
        {"the end of a text", "URL=http://h/x?a=1\n\x1a\nURL=http://h/x?b=2\n", "?a=1"},
        {"a long line's second piece", "URL=http://h?" + filler + "URL=http://h/?b=2", "?b=2"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        DeleteTree(TEXT("HomePage.url"));
        if (row.file) MakeFile(TEXT("HomePage.url"), *row.file);
        EXPECT_EQ(Opened(), std::vector<std::string>{
                                "shell-execute\topen\thttp://www.lorvanta.example/qvdx/InstScript.asp" +
                                row.query + "\t5"});
    }
}

TEST_F(ClosingPage, ComesOnlyWithSomethingNewer) {
    const struct {
        int silentMode = kInteractive, fresh = 0, upgrade = 0, settings = 0;
        bool opens = false;
    } rows[] = {{.fresh = 1, .opens = true},
                {.upgrade = 1, .opens = true},
                {},
                {.fresh = 1, .upgrade = 1, .settings = 1},
                {.silentMode = kSilent, .fresh = 1, .upgrade = 1},
                {.silentMode = kSilentWithLastPage, .fresh = 1, .upgrade = 1}};
    for (const auto& row : rows) {
        g_silentMode = row.silentMode;
        g_freshInstall = row.fresh;
        g_upgradeOlder = row.upgrade;
        g_settingsFromPackage = row.settings;
        EXPECT_EQ(Opened().size(), row.opens ? 1u : 0u) << &row - rows;
    }
}

}  // namespace
