// Runs the wizard in this program, and drives it as a person does.
#pragma once

#include "app/setup_state.h"
#include "resource.h"
#include "harness/driver.h"
#include "harness/target.h"
#include "support/path_text.h"
#include "wizard/setup_dlg.h"

inline Text Resource(UINT id) {
    return LoadResString(id).Text();
}

class WizardTest : public ScratchTest {
  protected:
    WizardTest() {
        g_silentMode = 0;
        g_installType = 0;
        g_targetDir = TEXT("C:\\Scratch\\Qantivo 8");
        g_groupName = kProductName;
        g_version = {8, 5, 2, 0};
    }
    using Person = std::function<void(const Driver& wizard)>;
    // Runs the wizard from the step after `step` on, and returns its result.
    static INT_PTR Run(const Person& person, int step = -1) {
        CSetupDlg wizard;
        wizard.m_page = step;
        theApp.m_pMainWnd = &wizard;
        const INT_PTR result = RunDriven(
            TEXT("Qantivo Setup"), [&] { return wizard.DoModal(); }, person);
        // The end of the main window must end the program's message loop.
        EXPECT_EQ(theApp.m_pMainWnd, nullptr);
        Await("the end of the message loop", [] {
            MSG message = {};
            return PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) && message.message == WM_QUIT;
        });
        return result;
    }
    // Goes from the first page to the page of `step`, lets the person act there, and cancels the wizard.
    static void RunAt(int step, const Person& person) {
        const auto visit = [&](const Driver& wizard) {
            wizard.PressOk(step);
            person(wizard);
            Press(wizard, IDCANCEL, {Resource(IDS_CONFIRM_CANCEL)}, IDYES);
        };
        EXPECT_EQ(Run(visit), IDCANCEL);
    }
    // Shows only the last page, as "-sconf" does. The person must finish it.
    static void RunLastPage(const Person& person) {
        g_silentMode = 2;
        EXPECT_EQ(Run(person, 4), IDOK);
    }

    // Expects that these messages of the program were shown. One that isn't answered by OK must be the question whose default is No.
    static void ExpectShown(const BoxAnswers& answers, const std::vector<Text>& messages, int button = IDOK) {
        const UINT style = button == IDOK ? MB_OK : MB_YESNO | MB_ICONQUESTION | MB_DEFBUTTON2;
        std::vector<Text> texts;
        for (const ShownBox& box : answers.Shown()) {
            texts.push_back(box.text);
            EXPECT_TRUE(box.caption == kProductName && box.HasStyle(style));
        }
        EXPECT_EQ(texts, messages);
    }
    // Presses a button, expects these messages of the program, and answers all of them with `button`.
    static void Press(const Driver& wizard, int control, const std::vector<Text>& messages,
                      int button = IDOK) {
        const BoxAnswers answers(std::vector<int>(messages.size(), button));
        wizard.Press(control);
        ExpectShown(answers, messages, button);
    }
    // Presses the button that opens the folder browser, chooses the folder there, and expects these messages.
    static void Browse(const Driver& wizard, const std::optional<Text>& folder,
                       const std::vector<Text>& messages = {}) {
        const BoxAnswers answers(std::vector<int>(messages.size(), IDOK));
        HoldAccessTimes(folder.value_or(TEXT("")).empty() ? kScratch : *folder);
        wizard.Browse(wizard.PageControl(IDC_BROWSE), folder);
        // A message comes after the browser, and disables the frame as long as it is open.
        wizard.Await("messages after the browser", [&] {
            return answers.Shown().size() >= messages.size() && IsWindowEnabled(wizard.Window());
        });
        ExpectShown(answers, messages);
    }
    // While a box is open somebody closes the wizard, setup closes running copies, other programs press buttons, and the session ends.
    static void Disturb(const Driver& wizard) {
        for (const HWND window : {wizard.Window(), wizard.Page()}) {
            for (const WPARAM closing : {0, 1001})
                EXPECT_TRUE(PostMessageW(window, WM_CLOSE, closing, 0));
            for (const WPARAM command : {IDOK, IDCANCEL, IDC_BACK, IDC_BROWSE})
                EXPECT_TRUE(PostMessageW(window, WM_COMMAND, command, 0));
            EXPECT_EQ(SendMessageW(window, WM_QUERYENDSESSION, 0, 0), 1);
            EXPECT_EQ(SendMessageW(window, WM_ENDSESSION, TRUE, 0), 0);
        }
        for (const HWND button : {wizard.Control(IDOK), wizard.Control(IDC_BACK), wizard.Control(IDCANCEL),
                                  wizard.PageControl(IDC_BROWSE)})
            EXPECT_TRUE(!button || PostMessageW(button, BM_CLICK, 0, 0));
        wizard.Settle();
    }
    // The number of the step that the wizard shows, by what is on its page.
    static int StepOn(const Driver& wizard) {
        if (wizard.PageControl(IDC_BROWSE)) return 2;
        if (wizard.PageControl(IDC_VERSION)) return 0;
        if (wizard.PageControl(IDC_AUTOSTART)) return 3;
        if (wizard.PageControl(IDC_HEADLINE)) return IsWindowEnabled(wizard.Control(IDCANCEL)) ? 4 : 5;
        return wizard.PageControl(IDC_AGREEMENT) ? 1 : -1;
    }
};
