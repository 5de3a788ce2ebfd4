// Child windows, controls and dialogs, as the program relies on them.
#include "harness/driver.h"

namespace {

constexpr WORD kButton = 0x80;
constexpr WORD kEdit = 0x81;
constexpr WORD kStatic = 0x82;
constexpr DWORD kTab = WS_VISIBLE | WS_TABSTOP;
constexpr WCHAR kTitle[] = TEXT("Dialog of the tests");
constexpr DWORD kPage = WS_CHILD | DS_CONTROL | DS_SETFONT;
constexpr DWORD kFrame = WS_POPUP | WS_CAPTION | WS_VISIBLE | DS_MODALFRAME | DS_SETFONT;

struct Item {
    WORD kind;
    DWORD style;
    WORD id;
    LPCWSTR text;
};

// A template in memory. The controls are one below the other.
class Template {
  public:
    Template(DWORD style, const std::vector<Item>& items) {
        AddStyle(style);
        Add({static_cast<WORD>(items.size()), 0, 0, 200, 150, 0, 0});  // place, no menu, no class
        AddText(kTitle);
        Add({8});
        AddText(TEXT("MS Sans Serif"));
        for (const Item& item : items) {
            if (m_words.size() % 2) Add({0});
            AddStyle(item.style);
            Add({7, static_cast<WORD>(10 * (&item - items.data())), 90, 9, item.id, 0xFFFF, item.kind});
            AddText(item.text);
            Add({0});
        }
    }
    LPCDLGTEMPLATEW get() const { return reinterpret_cast<LPCDLGTEMPLATEW>(m_words.data()); }

  private:
    void Add(std::initializer_list<WORD> words) { m_words.insert(m_words.end(), words); }
    void AddStyle(DWORD style) { Add({LOWORD(style), HIWORD(style), 0, 0}); }
    void AddText(const Text& text) {
        m_words.insert(m_words.end(), text.c_str(), text.c_str() + text.size() + 1);
    }

    std::vector<WORD> m_words;
};

using Ends = std::vector<std::pair<HWND, UINT>>;

std::vector<int> commands;  // ids of pressed buttons
Ends ends;
std::string heard;  // what the dialog procedure got, in order
int asked = 0;      // for the default button

// Button 50 ends the dialog with 500.
INT_PTR CALLBACK Procedure(HWND dialog, UINT message, WPARAM wParam, LPARAM lParam) {
    const int id = LOWORD(wParam), notification = HIWORD(wParam);
    asked += message == DM_GETDEFID;
    const std::pair<UINT, const char*> names[] = {
        {WM_SETFONT, "font"},    {WM_INITDIALOG, "init"}, {WM_ACTIVATE, "activate"},
        {WM_SHOWWINDOW, "show"}, {WM_NEXTDLGCTL, "next"}, {WM_PARENTNOTIFY, "parentnotify"},
        {WM_CLOSE, "close"},     {WM_DESTROY, "destroy"}, {WM_NCDESTROY, "ncdestroy"},
    };
    for (const auto& [number, name] : names)
        if (message == number) heard += std::string(name) + " ";
    if (message == WM_COMMAND && notification >= EN_CHANGE) heard += std::to_string(notification) + " ";
    switch (message) {
        case WM_INITDIALOG:
        case WM_CLOSE:
            return TRUE;
        case WM_COMMAND:
            if (notification == BN_CLICKED) commands.push_back(id);
            return id == 50 && notification == BN_CLICKED && EndDialog(dialog, 500);
        case WM_DESTROY:
        case WM_NCDESTROY:
            ends.emplace_back(dialog, message);
            return FALSE;
        case WM_APP:
            (void)SetWindowLongPtrW(dialog, DWLP_MSGRESULT, static_cast<LONG_PTR>(wParam) + lParam);
            return TRUE;
        default:
            return FALSE;
    }
}

HWND MakeDialog(const Template& dialog, HWND parent = nullptr) {
    return CreateDialogIndirectParamW(nullptr, dialog.get(), parent, Procedure, 0);
}

void Pump(HWND dialog) {
    for (MSG message; PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);)
        if (!IsDialogMessageW(dialog, &message)) DispatchMessageW(&message);
}

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
        UINT message;
        WPARAM key;
        int focus;
        int command;  // the last one; 0 if none
    } rows[] = {{20, WM_KEYDOWN, VK_DOWN, 21, 21},
                {11, WM_SYSCHAR, 'k', 30, 30},
                {3, WM_SYSCHAR, 'N', 11, 0},
                {3, WM_CHAR, 't', 21, 21},
                {3, WM_SYSCHAR, 'h', 3, 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::Message() << row.from << " by " << row.message << " " << row.key);
        (void)CheckRadioButton(dialog, 20, 22, 20);
        (void)SendMessageW(dialog, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(control(row.from)), TRUE);
        commands.clear();
        EXPECT_TRUE(PostMessageW(control(row.from), row.message, row.key, 0));
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
    (void)SendMessageW(lines, EM_SETLIMITTEXT, 0, 0);
    EXPECT_EQ(static_cast<DWORD>(SendMessageW(lines, EM_GETLIMITTEXT, 0, 0)), 0xFFFFFFFF);
    for (const HWND edit : {line, lines}) {
        (void)SendMessageW(edit, EM_SETSEL, 0, -1);
        (void)SendMessageW(edit, EM_SETLIMITTEXT, 2, 0);
        heard.clear();
        (void)SendMessageW(edit, EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(TEXT("abc")));
        EXPECT_EQ(Narrow(TextOf(edit)) + " " + heard, "ab 1281 1024 768 ") << "the limit, update and change";
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

TEST_F(Dialogs, EditsFollowTheKeyboard) {
    const HWND dialog = MakeDialog({kFrame,
                                    {{kEdit, kTab | ES_AUTOHSCROLL, 11, TEXT("")},
                                     {kEdit, kTab | ES_AUTOHSCROLL | ES_READONLY, 12, TEXT("")},
                                     {kEdit, kTab | ES_MULTILINE | ES_AUTOVSCROLL, 13, TEXT("")},
                                     {kButton, kTab | BS_DEFPUSHBUTTON, IDOK, TEXT("OK")}}});
    enum { Plain, Shift, Control };
    const struct {
        int edit, start, end;
        UINT message;
        WPARAM value;
        int with;
        const char* windows;  // the text and the selection
    } rows[] = {
        {11, 1, 3, WM_KEYDOWN, VK_DELETE, Plain, "ad ef 1-1"},
        {11, 0, 0, WM_KEYDOWN, VK_DELETE, Plain, "bcd ef 0-0"},
        {11, 7, 7, WM_KEYDOWN, VK_DELETE, Plain, "abcd ef 7-7"},
        {11, 2, 2, WM_KEYDOWN, VK_DELETE, Shift, "acd ef 1-1"},
        {11, 2, 2, WM_KEYDOWN, VK_DELETE, Control, "ab 2-2"},
        {12, 1, 3, WM_KEYDOWN, VK_DELETE, Plain, "abcd ef 1-3"},
        {13, 2, 2, WM_KEYDOWN, VK_DELETE, Plain, "abef 2-2"},
        {13, 4, 4, WM_CHAR, VK_BACK, Plain, "abef 2-2"},
        {13, 2, 2, WM_KEYDOWN, VK_RIGHT, Plain, "ab|ef 4-4"},
        {13, 4, 4, WM_KEYDOWN, VK_LEFT, Plain, "ab|ef 2-2"},
        {13, 1, 1, WM_KEYDOWN, VK_END, Control, "ab|ef 6-6"},
        {11, 2, 2, WM_KEYDOWN, VK_END, Plain, "abcd ef 7-7"},
        {11, 2, 3, WM_KEYDOWN, VK_END, Shift, "abcd ef 2-7"},
        {11, 2, 3, WM_KEYDOWN, VK_HOME, Plain, "abcd ef 0-0"},
        {11, 2, 3, WM_KEYDOWN, VK_HOME, Shift, "abcd ef 0-2"},
        {11, 2, 2, WM_KEYDOWN, VK_LEFT, Plain, "abcd ef 1-1"},
        {11, 0, 0, WM_KEYDOWN, VK_LEFT, Plain, "abcd ef 0-0"},
        {11, 2, 2, WM_KEYDOWN, VK_UP, Plain, "abcd ef 1-1"},
        {11, 7, 7, WM_KEYDOWN, VK_LEFT, Control, "abcd ef 5-5"},
        {11, 5, 5, WM_KEYDOWN, VK_LEFT, Control, "abcd ef 0-0"},
        {11, 2, 2, WM_KEYDOWN, VK_RIGHT, Plain, "abcd ef 3-3"},
        {11, 7, 7, WM_KEYDOWN, VK_RIGHT, Plain, "abcd ef 7-7"},
        {11, 2, 3, WM_KEYDOWN, VK_RIGHT, Shift, "abcd ef 2-4"},
        {11, 1, 1, WM_KEYDOWN, VK_RIGHT, Control, "abcd ef 5-5"},
        {11, 2, 2, WM_KEYDOWN, VK_DOWN, Plain, "abcd ef 3-3"},
        {11, 2, 2, WM_KEYDOWN, VK_PRIOR, Plain, "abcd ef 2-2"},
        {11, 1, 3, WM_CLEAR, 0, Plain, "ad ef 1-1"},
        {12, 1, 3, WM_CUT, 0, Plain, "abcd ef 1-3"},
        {11, 1, 3, WM_COPY, 0, Plain, "abcd ef 1-3"},
        {11, 4, 5, WM_PASTE, 0, Plain, "abcdbcef 6-6"},
        {12, 0, 0, WM_PASTE, 0, Plain, "abcd ef 0-0"},
        {11, 3, 7, WM_CHAR, 24, Plain, "abc 3-3"},
        {11, 0, 0, WM_CHAR, 22, Plain, "d efabcd ef 4-4"},
        {12, 0, 1, WM_CHAR, 3, Plain, "abcd ef 0-1"},
        {11, 0, 0, WM_KEYDOWN, VK_INSERT, Shift, "aabcd ef 1-1"},
        {11, 1, 2, WM_KEYDOWN, VK_INSERT, Control, "abcd ef 1-2"},
        {11, 1, 3, WM_KEYDOWN, VK_DELETE, Shift, "ad ef 1-1"},
        {11, 0, 0, WM_PASTE, 0, Plain, "bcabcd ef 2-2"},
        {11, 0, 0, WM_CHAR, 127, Plain, "abcd ef 0-0"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::Message() << &row - rows << ": " << row.message << " " << row.value);
        const HWND edit = GetDlgItem(dialog, row.edit);
        const Text text = row.edit == 13 ? TEXT("ab\r\nef") : TEXT("abcd ef");
        BYTE keys[256] = {};
        keys[VK_SHIFT] = row.with == Shift ? 0x80 : 0;
        keys[VK_CONTROL] = row.with == Control ? 0x80 : 0;
        EXPECT_TRUE(SetKeyboardState(keys));
        (void)SendMessageW(edit, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(text.c_str()));
        (void)SendMessageW(edit, EM_SETSEL, static_cast<WPARAM>(row.start), row.end);
        const bool isKey = row.message == WM_KEYDOWN || row.message == WM_CHAR;
        EXPECT_EQ(SendMessageW(edit, row.message, row.value, 0), isKey);
        const auto selection = static_cast<DWORD>(SendMessageW(edit, EM_GETSEL, 0, 0));
        std::string now = Narrow(TextOf(edit)) + " " + std::to_string(LOWORD(selection)) + "-" +
                          std::to_string(HIWORD(selection));
        if (const auto at = now.find("\r\n"); at != now.npos) now.replace(at, 2, "|");
        EXPECT_EQ(now, row.windows);
    }
    BYTE keys[256] = {};
    EXPECT_TRUE(SetKeyboardState(keys));
    EXPECT_TRUE(DestroyWindow(dialog));
}

TEST_F(Dialogs, EditsOfManyLinesActForTheirDialogOnceItAsksThem) {
    const HWND dialog =
        MakeDialog({kFrame,
                    {{kEdit, kTab | ES_AUTOHSCROLL, 11, TEXT("")},
                     {kEdit, kTab | ES_MULTILINE | ES_AUTOVSCROLL | ES_AUTOHSCROLL, 13, TEXT("")},
                     {kButton, kTab | BS_DEFPUSHBUTTON, IDOK, TEXT("OK")}}});
    const struct {
        bool asks;
        int edit;
        WPARAM key;
        const char* windows;
    } rows[] = {{false, 11, VK_TAB, ""},        {false, 11, VK_RETURN, ""},      {false, 13, VK_TAB, ""},
                {false, 13, VK_RETURN, ""},     {false, 13, VK_ESCAPE, ""},      {true, 13, VK_TAB, "next "},
                {true, 13, VK_RETURN, "next "}, {true, 13, VK_ESCAPE, "close "}, {true, 11, VK_TAB, ""},
                {true, 11, VK_ESCAPE, ""}};
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::Message() << &row - rows);
        const HWND edit = GetDlgItem(dialog, row.edit);
        MSG message = {edit, WM_KEYDOWN, row.key, 0, 0, {}};
        (void)SendMessageW(edit, WM_GETDLGCODE, row.key, row.asks ? reinterpret_cast<LPARAM>(&message) : 0);
        heard.clear();
        EXPECT_EQ(SendMessageW(edit, WM_KEYDOWN, row.key, 0), 1);
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE))
            (void)DispatchMessageW(&message);
        EXPECT_EQ(heard, row.windows);
        EXPECT_TRUE(!row.asks || SendMessageW(edit, WM_CHAR, row.key, 0));
        EXPECT_EQ(TextOf(edit), TEXT(""));
    }
    EXPECT_TRUE(DestroyWindow(dialog));
}

TEST_F(Dialogs, EditsUndoTheLastChange) {
    const HWND dialog = MakeDialog({kFrame, {{kEdit, kTab | ES_AUTOHSCROLL, 11, TEXT("abcdef")}}});
    const HWND edit = GetDlgItem(dialog, 11);
    const auto type = [&](std::initializer_list<WPARAM> units) {
        for (const WPARAM unit : units)
            (void)SendMessageW(edit, WM_CHAR, unit, 0);
        return TextOf(edit);
    };
    constexpr WPARAM kUndo = 26;
    EXPECT_FALSE(SendMessageW(edit, EM_CANUNDO, 0, 0));
    (void)SendMessageW(edit, EM_SETSEL, 1, 3);
    EXPECT_EQ(type({'x', 'y'}), TEXT("axydef"));
    EXPECT_EQ(type({kUndo}), TEXT("abcdef")) << "what is typed in a row is one change";
    for (const LPCWSTR then : {TEXT("axydef"), TEXT("abcdef"), TEXT("axydef")})
        EXPECT_EQ(type({kUndo}), then) << "the next time it takes back the one before";
    EXPECT_EQ(type({VK_BACK, VK_BACK}), TEXT("def"));
    EXPECT_EQ(type({kUndo}), TEXT("axydef")) << "so is what is deleted in a row";
    (void)SendMessageW(edit, EM_SETSEL, 0, 0);
    for (int i = 0; i < 2; ++i)
        (void)SendMessageW(edit, WM_KEYDOWN, VK_DELETE, 0);
    EXPECT_EQ(TextOf(edit), TEXT("ydef"));
    EXPECT_TRUE(SendMessageW(edit, EM_CANUNDO, 0, 0));
    EXPECT_EQ(SendMessageW(edit, WM_UNDO, 0, 0), 1);
    EXPECT_EQ(TextOf(edit), TEXT("axydef"));
    constexpr LPARAM kAltDown = 0x20000000;
    for (const LPARAM with : {LPARAM{0}, kAltDown})
        (void)SendMessageW(edit, WM_SYSKEYDOWN, VK_BACK, with);
    EXPECT_EQ(Narrow(TextOf(edit)), Expected("Alt+Backspace", "ydef"));
    (void)SendMessageW(edit, EM_SETSEL, 0, 1);
    (void)SendMessageW(edit, EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(TEXT("z")));
    EXPECT_FALSE(SendMessageW(edit, EM_CANUNDO, 0, 0));
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

TEST_F(Dialogs, TellThatTheyAreActiveNoMoreEvenIfHidden) {
    const HWND dialog = MakeDialog({kFrame & ~WS_VISIBLE, kModalItems});
    EXPECT_TRUE(SetForegroundWindow(dialog) && GetActiveWindow() == dialog);
    heard.clear();
    EXPECT_TRUE(EndDialog(dialog, 1));
    EXPECT_EQ(heard, "activate ");
    EXPECT_EQ(GetActiveWindow(), nullptr);
    EXPECT_TRUE(DestroyWindow(dialog));
}

TEST_F(Dialogs, OfMessagesHaveTheirDefaultButtonAndKeys) {
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
