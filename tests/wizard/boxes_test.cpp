// What reaches the wizard while one of its boxes is open.
#include "wizard/wizard_run.h"

namespace {

class OpenBoxes : public WizardTest {};

TEST_F(OpenBoxes, StayAloneWhateverComes) {
    const struct {
        int step, button, answer;
        Text text;  // none for the browser
    } rows[] = {{0, IDCANCEL, IDNO, Resource(IDS_CONFIRM_CANCEL)},
                {2, IDC_BROWSE, IDCANCEL, {}},
                {2, IDOK, IDOK, Resource(IDS_BROWSE_FIRST)},
                {2, IDC_BACK, IDOK, Resource(IDS_BROWSE_FIRST)},
                {3, IDOK, IDOK, Resource(IDS_GROUP_TOO_SHORT)}};
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        g_installType = 0;
        RunAt(row.step, [&](const Driver& wizard) {
            if (row.answer == IDOK && row.step == 2) wizard.PressInPage(IDC_PORTABLE);
            if (row.step == 3) wizard.Type(wizard.PageControl(IDC_GROUP), TEXT("ab"));
            const BoxAnswers answers(row.text.empty() ? std::vector<int>{} : std::vector{kLeftOpen});
            const Text title = row.text.empty() ? TEXT("Browse For Folder") : kProductName;
            const HWND page = wizard.Page();
            const Driver box = wizard.Open(
                row.button == IDC_BROWSE ? wizard.PageControl(IDC_BROWSE) : wizard.Control(row.button),
                title);
            constexpr int kBrowserTitle = 0x3742;
            if (row.text.empty()) {
                EXPECT_EQ(TextOf(GetDlgItem(box.Window(), kBrowserTitle)), Resource(IDS_SELECT_FOLDER));
            }
            Disturb(wizard);
            EXPECT_TRUE(IsWindow(box.Window()) && IsWindow(page) && !IsWindowEnabled(wizard.Window()));
            EXPECT_EQ(FindWindowExW(nullptr, box.Window(), nullptr, title.c_str()), nullptr)
                << "a second one";
            box.Press(row.answer);
            wizard.Await("the frame", [&] { return IsWindowEnabled(wizard.Window()) != 0; });
            wizard.Settle();
            EXPECT_TRUE(wizard.Page() == page && IsWindowEnabled(wizard.Window()));
            std::vector<Text> shown;
            for (const ShownBox& shownBox : answers.Shown())
                shown.push_back(shownBox.text);
            EXPECT_EQ(shown, row.text.empty() ? std::vector<Text>{} : std::vector{row.text});
        });
    }
}

}  // namespace
