// What reaches the wizard while one of its boxes is open.
#include "wizard/wizard_run.h"

namespace {

class OpenBoxes : public WizardTest {};

TEST_F(OpenBoxes, AllowNoSecondBox) {
    const struct {
        int step, button, answer;
        std::vector<Text> messages;  // none for the browser
    } rows[] = {{0, IDCANCEL, IDNO, {Resource(IDS_CONFIRM_CANCEL)}},
                {2, IDC_BROWSE, IDCANCEL, {}},
                {2, IDOK, IDOK, {Resource(IDS_BROWSE_FIRST)}},
                {2, IDC_BACK, IDOK, {Resource(IDS_BROWSE_FIRST)}},
                {3, IDOK, IDOK, {Resource(IDS_GROUP_TOO_SHORT)}}};
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        g_installType = 0;
        RunAt(row.step, [&](const Driver& wizard) {
            if (row.answer == IDOK && row.step == 2) wizard.PressInPage(IDC_PORTABLE);
            if (row.step == 3) wizard.Type(wizard.PageControl(IDC_GROUP), TEXT("ab"));
            const bool browses = row.button == IDC_BROWSE;
            const BoxAnswers answers(std::vector<int>(row.messages.size(), kLeftOpen));
            const Text title = browses ? TEXT("Browse For Folder") : kProductName;
            const HWND page = wizard.Page();
            const Driver box =
                wizard.Open(browses ? wizard.PageControl(IDC_BROWSE) : wizard.Control(row.button), title);
            constexpr int kBrowserTitle = 0x3742;
            EXPECT_TRUE(!browses || TextOf(box.Control(kBrowserTitle)) == Resource(IDS_SELECT_FOLDER));
            Disturb(wizard);
            EXPECT_TRUE(IsWindow(box.Window()) && IsWindow(page) && !IsWindowEnabled(wizard.Window()));
            EXPECT_EQ(FindWindowExW(nullptr, box.Window(), nullptr, title.c_str()), nullptr)
                << "a second one";
            box.Await("the answer", [&] { return answers.Shown().size() == row.messages.size(); });
            box.Press(row.answer);
            wizard.Await("the frame", [&] { return IsWindowEnabled(wizard.Window()) != 0; });
            wizard.Settle();
            EXPECT_TRUE(wizard.Page() == page && IsWindowEnabled(wizard.Window()));
            ExpectShown(answers, row.messages, row.answer);
        });
    }
}

}  // namespace
