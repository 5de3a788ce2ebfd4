#include "wizard/wizard_run.h"

#include "app/setup_app.h"
#include "harness/target.h"
#include "wizard/setup_dlg.h"

WizardTest::WizardTest() {
    g_silentMode = 0;
    g_installType = 0;
    g_targetDir = TEXT("C:\\Scratch\\Qantivo 8");
    g_groupName = kProductName;
    g_version = {8, 5, 2, 0};
}

INT_PTR WizardTest::Run(const Person& person, int step) {
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

void WizardTest::RunAt(int step, const Person& person) {
    EXPECT_EQ(Run([&](const Driver& wizard) {
                  for (int passed = 0; passed < step; ++passed)
                      wizard.Press(IDOK);
                  person(wizard);
                  Press(wizard, IDCANCEL, {Resource(IDS_CONFIRM_CANCEL)}, IDYES);
              }),
              IDCANCEL);
}

void WizardTest::RunLastPage(const Person& person) {
    g_silentMode = 2;
    EXPECT_EQ(Run(person, 4), IDOK);
}

void WizardTest::ExpectShown(const BoxAnswers& answers, const std::vector<Text>& messages, int button) {
    const UINT style = button == IDOK ? MB_OK : MB_YESNO | MB_ICONQUESTION | MB_DEFBUTTON2;
    std::vector<Text> texts;
    for (const ShownBox& box : answers.Shown()) {
        texts.push_back(box.text);
        EXPECT_TRUE(box.caption == kProductName && box.HasStyle(style));
    }
    EXPECT_EQ(texts, messages);
}

void WizardTest::Press(const Driver& wizard, int control, const std::vector<Text>& messages, int button) {
    const BoxAnswers answers(std::vector<int>(messages.size(), button));
    wizard.Press(control);
    ExpectShown(answers, messages, button);
}

void WizardTest::Browse(const Driver& wizard, const std::optional<Text>& folder,
                        const std::vector<Text>& messages) {
    const BoxAnswers answers(std::vector<int>(messages.size(), IDOK));
    HoldAccessTimes(folder.value_or(TEXT("")).empty() ? kScratch : *folder);
    wizard.Browse(wizard.PageControl(IDC_BROWSE), folder);
    // A message comes after the browser, and disables the frame as long as it is open.
    wizard.Await("messages after the browser", [&] {
        return answers.Shown().size() >= messages.size() && IsWindowEnabled(wizard.Window());
    });
    ExpectShown(answers, messages);
}

void WizardTest::Disturb(const Driver& wizard) {
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

int WizardTest::StepOn(const Driver& wizard) {
    if (wizard.PageControl(IDC_VERSION) && !wizard.PageControl(IDC_BROWSE)) return 0;
    if (wizard.PageControl(IDC_BROWSE)) return 2;
    if (wizard.PageControl(IDC_AUTOSTART)) return 3;
    if (wizard.PageControl(IDC_HEADLINE)) return IsWindowEnabled(wizard.Control(IDCANCEL)) ? 4 : 5;
    return wizard.PageControl(IDC_AGREEMENT) ? 1 : -1;
}
