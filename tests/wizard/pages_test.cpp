// The pages: what they show, what they refuse, and what they take over.
#include <shlobj.h>

#include <ctime>

#include "support/shell_folders.h"
#include "wizard/folder_dlg.h"
#include "wizard/wizard_run.h"

namespace {

class Pages : public WizardTest {
  protected:
    // The folder that the destination page shows, and its hint.
    static std::pair<Text, Text> Destination(const Driver& wizard) {
        return {TextOf(wizard.PageControl(IDC_FOLDER)), TextOf(wizard.PageControl(IDC_HINT))};
    }
};

const Text kOtherFolder = TEXT("To install into a different folder, click Browse, and select another one.");

TEST_F(Pages, WelcomeTellsTheVersion) {
    const std::time_t now = std::time(nullptr);
    const std::string year = std::to_string(std::localtime(&now)->tm_year + 1900);
    const Text rest = TEXT("\nCopyright 1999-") + Text(year.begin(), year.end()) +
                      TEXT(" Lorvanta Technology LLC.\nAll rights reserved.");
    const std::pair<VersionNumbers, Text> rows[] = {
        {{8, 5, 2, 0}, TEXT("Qantivo ver. 8.05.02 ")},
        {{8, 5, 2, 3}, TEXT("Qantivo ver. 8.05.02 Beta 3")},
        {{8, 5, 2, 65535}, TEXT("Qantivo ver. 8.05.02 Beta 65535")},
        {{0xFFFFFFFF, 0x80000000, 1, 0x80000000}, TEXT("Qantivo ver. -1.-2147483648.01 Beta -2147483648")}};
    for (const auto& row : rows) {
        g_version = row.first;
        RunAt(0, [&](const Driver& wizard) {
            EXPECT_EQ(TextOf(wizard.PageControl(IDC_VERSION)), row.second + rest);
        });
    }
}

TEST_F(Pages, AgreementShowsTheFileOfTheCurrentFolder) {
    std::string tenMegabytes;
    while (tenMegabytes.size() < 5'000'000)
        tenMegabytes += "A line of an agreement that nobody will read to its very end.\r\n";
    const struct {
        const char* name;
        std::optional<std::string> file;
        Text shown;
    } rows[] = {
        {"missing", std::nullopt, {}},
        {"empty", "", {}},
        {"odd", Utf16("Hello") + "!", TEXT("Hello")},
        {"marked", "\xFF\xFE" + Utf16("Hi"), Text(1, 0xFEFF) + TEXT("Hi")},
        {"narrow", "AB", Text(1, 0x4241)},
        {"the end of a text file inside a letter", Utf16("a") + "\x1A\x04" + Utf16("b"), {'a', 0x41A, 'b'}},
        {"ended early", Utf16(std::string("ab\0cd", 5)), TEXT("ab")},
        {"long", Utf16(tenMegabytes), Text(tenMegabytes.begin(), tenMegabytes.end())},
    };
    MakeFile(kScratch + TEXT("\\elsewhere\\agreement.txt"), Utf16("Not this one"));
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        DeleteTree(TEXT("agreement.txt"));
        if (row.file) MakeFile(TEXT("agreement.txt"), *row.file);
        RunAt(1, [&](const Driver& wizard) {
            const HWND edit = wizard.PageControl(IDC_AGREEMENT);
            EXPECT_TRUE(TextOf(edit) == row.shown);
            EXPECT_TRUE(GetWindowLongW(edit, GWL_STYLE) & ES_READONLY);
            EXPECT_EQ(SendMessageW(edit, EM_GETSEL, 0, 0), 0) << "the caret is at the start";
#ifdef _WIN32  // Nobody looks at the lines of the embedded machine.
            EXPECT_EQ(SendMessageW(edit, EM_GETFIRSTVISIBLELINE, 0, 0), 0);
#endif
        });
    }
}

TEST_F(Pages, GroupTakesANameOfThreeCharacters) {
    const Text startup = GetShellFolder(CSIDL_STARTUP).Text();
    const Text word = CString(startup.substr(startup.rfind('\\') + 1).c_str()).MakeUpper().Text();
    const struct {
        Text name, message, taken;
    } rows[] = {
        {TEXT(" ab "), Resource(IDS_GROUP_TOO_SHORT), {}},
        {TEXT("   "), Resource(IDS_GROUP_TOO_SHORT), {}},
        {word, Resource(IDS_GROUP_INVALID), {}},
        {TEXT(" ") + word, Resource(IDS_GROUP_INVALID), {}},
        {TEXT("\tabc "), {}, TEXT("abc")},
        {word + TEXT("s"), {}, word + TEXT("s")},
        {TEXT("abc\\") + word, {}, TEXT("abc\\") + word},
        {TEXT("a:*?\"<>|/"), {}, TEXT("a:*?\"<>|/")},
        {Text(3000, 'g'), {}, Text(3000, 'g')},
    };
    g_desktopIcon = 1;
    RunAt(3, [&](const Driver& wizard) {
        EXPECT_TRUE(IsTicked(wizard.PageControl(IDC_DESKTOP)) &&
                    !IsTicked(wizard.PageControl(IDC_AUTOSTART)));
        wizard.PressInPage(IDC_DESKTOP);
        wizard.PressInPage(IDC_AUTOSTART);
        for (const auto& row : rows) {
            wizard.Type(wizard.PageControl(IDC_GROUP), row.name);
            if (!row.message.empty()) {
                Press(wizard, IDOK, {row.message});
                EXPECT_TRUE(g_groupName == kProductName && g_desktopIcon == 1 && g_autoStart == 0)
                    << "nothing is stored";
                EXPECT_EQ(StepOn(wizard), 3);
                continue;
            }
            wizard.Press(IDOK);
            EXPECT_EQ(g_groupName.Text(), row.taken);
            EXPECT_TRUE(g_desktopIcon == 0 && g_autoStart == 1);
            wizard.Press(IDC_BACK);
            EXPECT_EQ(TextOf(wizard.PageControl(IDC_GROUP)), row.taken);
            EXPECT_FALSE(IsTicked(wizard.PageControl(IDC_DESKTOP)));
        }
        wizard.PressInPage(IDC_DESKTOP);
        wizard.Press(IDC_BACK);
        EXPECT_EQ(g_desktopIcon, 1) << "Back stores the choices, too";
    });
}

TEST_F(Pages, DestinationFollowsTheFolderThatIsChosen) {
    const Text old = g_targetDir.Text();
    const Text elsewhere = kScratch + TEXT("\\elsewhere");
    const Text own = TEXT("\\Qantivo 8");
    const struct {
        std::string content;  // none for an empty folder
        int type;
        Text target;
    } rows[] = {
        {"", 0, elsewhere},
        {"", 2, elsewhere + own},
        {"\\other.txt", 1, elsewhere + own},
        {"\\below\\other.txt", 0, elsewhere + own},
        {"\\QtvApp8.exe", 1, elsewhere},
        {"\\QtvApp8.exe", 2, elsewhere + own},
        {"\\QtvApp5.exe", 0, old},
        {"\\QtvApp6.exe", 2, old},
        {"\\QtvApp7.exe", 0, elsewhere + own},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.content + std::to_string(row.type));
        g_targetDir = old.c_str();
        g_installType = 0;
        DeleteTree(elsewhere);
        MakeFolder(elsewhere);
        if (!row.content.empty()) MakeFile(elsewhere + Wide(row.content));
        RunAt(2, [&](const Driver& wizard) {
            wizard.PressInPage(IDC_FOR_USER + row.type);
            const std::vector<Text> refusal = {Resource(IDS_OLDER_VERSION_FOLDER)};
            Browse(wizard, elsewhere, row.target == old ? refusal : std::vector<Text>());
            const Text shown = row.target == old && row.type == 2 ? Text() : row.target;
            const Text hint = row.type == 2                    ? Resource(IDS_BROWSE_PORTABLE)
                              : row.content == "\\QtvApp8.exe" ? Resource(IDS_PREVIOUS_COPY_FOLDER)
                                                               : kOtherFolder;
            EXPECT_EQ(Destination(wizard), std::pair(shown, hint));
            EXPECT_EQ(g_targetDir.Text(), row.target);
            EXPECT_EQ(Exists(elsewhere), !row.content.empty()) << "an empty folder goes";
            EXPECT_FALSE(Exists(old)) << "it exists only while the browser is open";
        });
    }
}

TEST_F(Pages, DestinationIsWhereTheBrowserLeavesIt) {
    RunAt(2, [](const Driver& wizard) {
        const Text before(static_cast<LPCWSTR>(g_targetDir));
        // The browser is cancelled, or takes the target at which it opens. The target exists only while it is open.
        for (const std::optional<Text>& folder : {std::optional<Text>(), std::optional<Text>(TEXT(""))}) {
            Browse(wizard, folder);
            EXPECT_EQ(g_targetDir.Text(), before);
            EXPECT_EQ(TextOf(wizard.PageControl(IDC_FOLDER)), before);
            EXPECT_TRUE(Tree().empty());
        }
        wizard.PressInPage(IDC_PORTABLE);
        Browse(wizard, TEXT(""));
        EXPECT_EQ(g_targetDir.Text(), before + TEXT("\\Qantivo 8")) << "it opens at the target";
        Browse(wizard, TEXT("C:\\"));
        EXPECT_EQ(g_targetDir.Text(), TEXT("C:\\Qantivo 8")) << "no doubled backslash";
    });
    const BoxAnswers answers({IDOK});
    EXPECT_EQ(BrowseCallbackProc(nullptr, BFFM_VALIDATEFAILEDW, 0, 0), 1) << "a typed name that is no folder";
    ExpectShown(answers, {Resource(IDS_INVALID_FOLDER)});
    EXPECT_EQ(BrowseCallbackProc(nullptr, BFFM_SELCHANGED, 0, 0), 0);
    EXPECT_EQ(CountFolderEntries(TEXT("*"), Text(600, 'x').c_str()), 0);
    MakeFolder(kScratch + TEXT("\\none"));
    EXPECT_EQ(CountFolderEntries(TEXT("*"), TEXT("C:\\Scratch\\none")), 0);
}

TEST_F(Pages, DestinationTellsWhatTheTypeNeeds) {
    const Text target = g_targetDir.Text();
    MakeFile(target + TEXT("\\QtvApp8.exe"));
    MakeFolder(kScratch + TEXT("\\usb"));
    g_installType = 2;
    RunAt(2, [&](const Driver& wizard) {
        EXPECT_TRUE(IsTicked(wizard.PageControl(IDC_PORTABLE)));
        EXPECT_EQ(Destination(wizard), std::pair(target, Resource(IDS_PREVIOUS_COPY_FOLDER)))
            << "until the user clicks, as for the other types";
        wizard.PressInPage(IDC_PORTABLE);
        EXPECT_EQ(Destination(wizard), std::pair(Text(), Resource(IDS_BROWSE_PORTABLE)));
        Press(wizard, IDOK, {Resource(IDS_BROWSE_FIRST)});
        EXPECT_EQ(StepOn(wizard), 2);
        Browse(wizard, kScratch + TEXT("\\usb"));
        const Text chosen = kScratch + TEXT("\\usb\\Qantivo 8");
        wizard.PressInPage(IDC_FOR_ALL);
        EXPECT_EQ(Destination(wizard), std::pair(chosen, kOtherFolder));
        wizard.PressInPage(IDC_PORTABLE);
        EXPECT_EQ(Destination(wizard).first, chosen) << "chosen for it before";
    });
    g_targetDir = target.c_str();
    g_installType = 0;
    g_freshInstall = 1;
    RunAt(2, [](const Driver& wizard) {
        EXPECT_EQ(Destination(wizard).second, kOtherFolder) << "a first install has no previous copy";
    });
}

}  // namespace
