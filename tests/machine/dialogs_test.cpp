// Child windows, controls and dialogs, as the program relies on them.
#include "machine/made_dialog.h"

namespace {

class Dialogs : public ScratchTest {};

TEST_F(Dialogs, HoldTheControlsOfTheirTemplates) {
    const std::vector<Item> items = {{kStatic, WS_VISIBLE, 10, TEXT("&Name")},
                                     {kEdit, kTab, 11, TEXT("Ann")},
                                     {kButton, kTab, IDOK, TEXT("OK")}};
    const HWND dialog = MakeDialog({kFrame, items});
    const HWND page = MakeDialog({kPage, {{kButton, kTab, 40, TEXT("In page")}}}, dialog);
    ASSERT_TRUE(dialog && page);
    HWND child = GetWindow(dialog, GW_CHILD);
    for (const Item& item : items) {
        EXPECT_TRUE(child == GetDlgItem(dialog, item.id) && GetParent(child) == dialog);
        EXPECT_EQ(TextOf(child), item.text);
        child = GetWindow(child, GW_HWNDNEXT);
    }
    EXPECT_EQ(child, page) << "what comes later lies below";
    EXPECT_EQ(GetDlgItem(dialog, 40), nullptr);

    const HWND inPage = GetDlgItem(page, 40);
    EXPECT_EQ(GetFocus(), GetDlgItem(dialog, 11)) << "the first control that Tab goes to";
    EXPECT_TRUE(IsWindowVisible(dialog) && !IsWindowVisible(inPage));
    EXPECT_TRUE(SetWindowPos(page, HWND_TOP, 0, 0, 0, 0, SWP_NOSIZE | SWP_SHOWWINDOW));
    EXPECT_TRUE(IsWindowVisible(inPage) && GetWindow(dialog, GW_CHILD) == page);

    ends.clear();
    EXPECT_TRUE(DestroyWindow(dialog));
    EXPECT_EQ(ends,
              (Ends{{dialog, WM_DESTROY}, {page, WM_DESTROY}, {page, WM_NCDESTROY}, {dialog, WM_NCDESTROY}}));
    EXPECT_FALSE(IsWindow(inPage));
    EXPECT_EQ(DialogBoxParamW(nullptr, MAKEINTRESOURCEW(999), nullptr, Procedure, 0), -1);
}

void Pump(HWND dialog) {
    for (MSG message; PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);)
        if (!IsDialogMessageW(dialog, &message)) DispatchMessageW(&message);
}

TEST_F(Dialogs, FollowTheKeyboard) {
    const HWND dialog =
        MakeDialog({kFrame,
                    {{kStatic, WS_VISIBLE, 10, TEXT("&Name")},
                     {kEdit, kTab, 11, TEXT("")},
                     {kButton, kTab | WS_GROUP | BS_AUTORADIOBUTTON, 20, TEXT("&One")},
                     {kButton, WS_VISIBLE | BS_AUTORADIOBUTTON, 21, TEXT("&Two")},
                     {kButton, WS_VISIBLE | WS_DISABLED | BS_AUTORADIOBUTTON, 22, TEXT("T&hree")},
                     {kButton, kTab | WS_GROUP | BS_AUTOCHECKBOX, 30, TEXT("Chec&k")},
                     {kButton, kTab | BS_DEFPUSHBUTTON, IDOK, TEXT("OK")},
                     {kButton, kTab, 3, TEXT("&Back")}}});
    const auto control = [&](int id) { return GetDlgItem(dialog, id); };
    const struct {
        int from;
        std::pair<UINT, WPARAM> stroke;
        int focus, command;  // the last one; 0 if none
    } rows[] = {{20, {WM_KEYDOWN, VK_DOWN}, 21, 21},
                {11, {WM_SYSCHAR, 'k'}, 30, 30},
                {3, {WM_SYSCHAR, 'N'}, 11, 0},
                {3, {WM_CHAR, 't'}, 21, 21},
                {3, {WM_SYSCHAR, 'h'}, 3, 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        (void)CheckRadioButton(dialog, 20, 22, 20);
        (void)SendMessageW(dialog, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(control(row.from)), TRUE);
        commands.clear();
        EXPECT_TRUE(PostMessageW(control(row.from), row.stroke.first, row.stroke.second, 0));
        Pump(dialog);
        EXPECT_EQ(GetFocus(), control(row.focus));
        EXPECT_EQ(commands.empty() ? 0 : commands.back(), row.command);
        EXPECT_EQ(IsDlgButtonChecked(dialog, 21), row.command == 21);
    }
    commands.clear();
    for (const UINT message : {WM_KEYDOWN, WM_KEYUP})
        EXPECT_TRUE(PostMessageW(control(30), message, VK_SPACE, 0));
    Pump(dialog);
    EXPECT_EQ(commands, std::vector{30});
    EXPECT_FALSE(IsDlgButtonChecked(dialog, 30)) << "ticked by its access key, and not any more";
    (void)SetFocus(control(11));
    asked = 0;
    EXPECT_TRUE(PostMessageW(control(11), WM_KEYDOWN, VK_RETURN, 0));
    Pump(dialog);
    EXPECT_EQ(asked, 1) << "Enter doesn't get to an edit of one line";
    EXPECT_EQ(commands.back(), IDOK);
    EXPECT_TRUE(DestroyWindow(dialog));
}

TEST_F(Dialogs, AnswerAsWindowsDoes) {
    const HWND dialog = MakeDialog({kFrame,
                                    {{kEdit, kTab, 11, TEXT("Hello World")},
                                     {kStatic, WS_VISIBLE, 12, TEXT("upper")},
                                     {kStatic, WS_VISIBLE, 12, TEXT("lower")},
                                     {kEdit, kTab | ES_MULTILINE, 13, TEXT("")}}});
    const HWND line = GetDlgItem(dialog, 11), lines = GetDlgItem(dialog, 13), upper = GetDlgItem(dialog, 12);
    (void)SendMessageW(line, EM_SETSEL, 0, 0);
    (void)SetFocus(nullptr);
    (void)SendMessageW(dialog, WM_SETFOCUS, 0, 0);
    EXPECT_EQ(SendMessageW(line, EM_GETSEL, 0, 0), MAKELONG(0, 11)) << "all of its text is selected";
    for (const HWND from : {HWND{}, dialog}) {
        EXPECT_EQ(GetNextDlgTabItem(dialog, from, TRUE), nullptr) << "nothing is before the first one";
        EXPECT_EQ(GetNextDlgTabItem(dialog, from, FALSE), line);
    }
    EXPECT_EQ(SendMessageW(line, WM_CHAR, 'x', 0), 1);
    // A dialog that becomes inactive remembers which control has the focus, but not if it is minimized.
    for (const bool isMinimized : {false, true}) {
        (void)SetFocus(lines);
        (void)SendMessageW(dialog, WM_ACTIVATE, MAKEWPARAM(WA_INACTIVE, isMinimized), 0);
        (void)SetFocus(line);
        (void)SendMessageW(dialog, WM_ACTIVATE, WA_ACTIVE, 0);
        EXPECT_EQ(GetFocus(), isMinimized ? line : lines);
    }

    const auto order = [&](HWND after) {
        EXPECT_TRUE(SetWindowPos(upper, after, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOMOVE));
        return std::pair(TextOf(GetDlgItem(dialog, 12)), GetWindow(upper, GW_HWNDNEXT));
    };
    EXPECT_EQ(TextOf(upper), TEXT("upper"));
    EXPECT_EQ(order(GetWindow(upper, GW_HWNDNEXT)), std::pair(Text(TEXT("lower")), lines));
    EXPECT_EQ(order(HWND_BOTTOM), std::pair(Text(TEXT("lower")), HWND{}));
    EXPECT_EQ(order(line).first, TEXT("upper"));
    EXPECT_TRUE(DestroyWindow(dialog));
}

const std::vector<Item> kModalItems = {{kEdit, kTab | ES_MULTILINE | ES_AUTOHSCROLL, 11, TEXT("")},
                                       {kButton, kTab, 50, TEXT("End")}};

TEST_F(Dialogs, GetMessagesInTheOrderOfWindows) {
    const auto procedure = [](HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) -> INT_PTR {
        const INT_PTR handled = Procedure(dialog, message, wParam, lParam);
        if (message != WM_INITDIALOG) return handled;
        const LRESULT font = SendMessageW(dialog, WM_GETFONT, 0, 0);
        EXPECT_TRUE(font && SendMessageW(GetDlgItem(dialog, 50), WM_GETFONT, 0, 0) == font);
        return PostMessageW(dialog, WM_COMMAND, 50, 0) && lParam;
    };
    const Template modal(kFrame, kModalItems);
    for (const auto& [focusesFirst, windows] :
         {std::pair(TRUE, "font init activate show activate destroy ncdestroy "),
          std::pair(FALSE, "font init show activate activate destroy ncdestroy ")}) {
        heard.clear();
        EXPECT_EQ(DialogBoxIndirectParamW(nullptr, modal.get(), nullptr, procedure, focusesFirst), 500);
        EXPECT_EQ(heard, windows);
    }
}

TEST_F(Dialogs, AreDeactivatedEvenIfHidden) {
    const HWND dialog = MakeDialog({kFrame & ~WS_VISIBLE, kModalItems});
    EXPECT_TRUE(SetForegroundWindow(dialog) && GetActiveWindow() == dialog);
    heard.clear();
    EXPECT_TRUE(EndDialog(dialog, 1));
    EXPECT_EQ(heard, "activate ");
    EXPECT_EQ(GetActiveWindow(), nullptr);
    EXPECT_TRUE(DestroyWindow(dialog));
}

TEST_F(Dialogs, MessageBoxesHaveTheirDefaultButtonAndKeys) {
    constexpr WCHAR kBox[] = TEXT("Box of the tests");
    const struct {
        UINT style;
        WPARAM key;
        int button;
    } rows[] = {{MB_YESNO, VK_RETURN, IDYES},
                {MB_YESNO | MB_DEFBUTTON2, VK_RETURN, IDNO},
                {MB_YESNOCANCEL | MB_DEFBUTTON2, VK_RETURN, IDNO},
                {MB_OKCANCEL | MB_DEFBUTTON2, VK_RETURN, IDCANCEL},
                {MB_YESNO, 'N', IDNO},
                {MB_YESNO | MB_DEFBUTTON2, 'y', IDYES}};
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::Message() << &row - rows);
        const BoxAnswers answers({kLeftOpen});
        const auto drive = [&](const Driver& box) {
            box.Await("the answer", [&] { return !answers.Shown().empty(); });
            box.Key(row.key == VK_RETURN ? WM_KEYDOWN : WM_CHAR, row.key);
        };
        const auto show = [&] { return MessageBoxW(nullptr, TEXT("Text"), kBox, row.style); };
        EXPECT_EQ(RunDriven(kBox, show, drive), row.button);
    }
}

TEST_F(Dialogs, RunUntilTheyEnd) {
    const HWND owner = MakeDialog({kFrame, {{kEdit, kTab, 60, TEXT("")}}});
    (void)SetWindowTextW(owner, TEXT("Owner"));  // a title that the driver doesn't look for
    const Template modal(kFrame & ~WS_VISIBLE, kModalItems);
    const auto run = [&] { return DialogBoxIndirectParamW(nullptr, modal.get(), owner, Procedure, 0); };
    const auto drive = [&](const Driver& driver) {
        EXPECT_TRUE(GetWindow(driver.Window(), GW_OWNER) == owner && !IsWindowEnabled(owner));
        EXPECT_EQ(SendMessageW(driver.Window(), WM_APP, 3, 4), 7) << "carried out by the dialog's thread";
        driver.Press(50);
    };
    EXPECT_EQ(RunDriven(kTitle, run, drive), 500);
    EXPECT_TRUE(IsWindowEnabled(owner) && GetActiveWindow() == owner);
    EXPECT_EQ(GetFocus(), GetDlgItem(owner, 60)) << "it comes back to where it was";

    PostQuitMessage(9);
    (void)run();
    MSG message = {};
    EXPECT_FALSE(GetMessageW(&message, nullptr, 0, 0)) << "the end of the thread is passed on";
    EXPECT_EQ(message.wParam, 9u);
    EXPECT_TRUE(DestroyWindow(owner));
}

// The child ends with the result of its dialog. It is busy with one message for as long as somebody owns the mutex.
constexpr WCHAR kBusy[] = TEXT("Local\\Qantivo.Tests.Busy");
CHILD_PROGRAM(ShowsADialog) {
    const Template modal(kFrame, kModalItems);
    const auto procedure = [](HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) -> INT_PTR {
        if (message == WM_APP + 1) {
            CMutex busy(FALSE, kBusy);
            (void)CSingleLock(&busy).Lock();
        }
        if (message == WM_APP + 2) ExitProcess(7);
        if (message == WM_APP + 3)
            return SendMessageW(reinterpret_cast<HWND>(wParam), WM_APP, 30, 12) == 42 &&
                   EndDialog(dialog, 42);
        return Procedure(dialog, message, wParam, lParam);
    };
    return static_cast<int>(DialogBoxIndirectParamW(nullptr, modal.get(), nullptr, procedure, 0));
}

TEST_F(Dialogs, AreDrivenFromOtherProcesses) {
    for (const bool dies : {false, true}) {
        const RunningProgram program = StartChild("ShowsADialog");
        const Driver driver(program.Id(), kTitle);
        const HWND dialog = driver.Window(), edit = driver.Control(11);
        const Text text(500'000, TEXT('x'));
        EXPECT_TRUE(SendMessageW(edit, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text.c_str())));
        EXPECT_TRUE(TextOf(edit) == text);
        EXPECT_EQ(GetWindowTextLengthW(edit), 0) << "another process sees no more than titles";
        DWORD_PTR result;
        CMutex busy(TRUE, kBusy);
        EXPECT_FALSE(SendMessageTimeoutW(dialog, WM_APP + 1, 0, 0, SMTO_NORMAL, 20, &result));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_TIMEOUT});
        EXPECT_TRUE(busy.Unlock());
        EXPECT_EQ(SendMessageW(dialog, WM_APP, 3, 4), 7) << "the next answer is the next message's";
        const HWND own = MakeDialog({kFrame, {}});
        if (dies)
            EXPECT_EQ(SendMessageW(dialog, WM_APP + 2, 0, 0), 0) << "nobody is left to answer";
        else  // the child sends a message back before it answers
            (void)SendMessageW(dialog, WM_APP + 3, reinterpret_cast<WPARAM>(own), 0);
        EXPECT_EQ(program.ExitCode(), dies ? 7u : 42u);
        EXPECT_TRUE(DestroyWindow(own));
    }
}

}  // namespace
