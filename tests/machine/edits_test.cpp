// Edits, as the program relies on them.
#include "machine/answers.h"
#include "machine/made_dialog.h"

namespace {

class Edits : public ScratchTest {};

// A key, a character or another message, with a key that is held meanwhile.
struct Stroke {
    UINT message;
    WPARAM value;
    int held = 0;
};

void Hold(int key) {
    BYTE keys[256] = {};
    keys[key] = key ? 0x80 : 0;
    EXPECT_TRUE(SetKeyboardState(keys));
}

// A text with its selection in brackets. A slash is the end of a line.
void SetMarked(HWND edit, std::string text) {
    text = tools::Replaced(std::move(text), "/", "\r\n");
    const std::size_t start = text.find('['), end = text.find(']') - 1;
    text.erase(end + 1, 1).erase(start, 1);
    (void)SendMessageW(edit, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(Wide(text).c_str()));
    (void)SendMessageW(edit, EM_SETSEL, start, static_cast<LPARAM>(end));
}

std::string Marked(HWND edit) {
    const auto selection = static_cast<DWORD>(SendMessageW(edit, EM_GETSEL, 0, 0));
    return tools::Replaced(Narrow(TextOf(edit)).insert(HIWORD(selection), "]").insert(LOWORD(selection), "["),
                           "\r\n", "/");
}

TEST_F(Edits, FollowTheKeyboard) {
    constexpr int kReadOnly = 12, Shift = VK_SHIFT, Control = VK_CONTROL;
    const HWND dialog = MakeDialog({kFrame,
                                    {{kEdit, kTab | ES_AUTOHSCROLL, 11, TEXT("")},
                                     {kEdit, kTab | ES_AUTOHSCROLL | ES_READONLY, kReadOnly, TEXT("")},
                                     {kEdit, kTab | ES_MULTILINE | ES_AUTOVSCROLL, 13, TEXT("")},
                                     {kButton, kTab | BS_DEFPUSHBUTTON, IDOK, TEXT("OK")}}});
    const struct {
        std::string before;
        Stroke stroke;
        const char* windows;
        int edit = before.find('/') == before.npos ? 11 : 13;
    } rows[] = {
        {"a[bc]d ef", {WM_KEYDOWN, VK_DELETE}, "a[]d ef"},
        {"[]abcd ef", {WM_KEYDOWN, VK_DELETE}, "[]bcd ef"},
        {"abcd ef[]", {WM_KEYDOWN, VK_DELETE}, "abcd ef[]"},
        {"ab[]cd ef", {WM_KEYDOWN, VK_DELETE, Shift}, "a[]cd ef"},
        {"ab[]cd ef", {WM_KEYDOWN, VK_DELETE, Control}, "ab[]"},
        {"a[bc]d ef", {WM_KEYDOWN, VK_DELETE}, "a[bc]d ef", kReadOnly},
        {"ab[]/ef", {WM_KEYDOWN, VK_DELETE}, "ab[]ef"},
        {"ab/[]ef", {WM_CHAR, VK_BACK}, "ab[]ef"},
        {"ab[]/ef", {WM_KEYDOWN, VK_RIGHT}, "ab/[]ef"},
        {"ab/[]ef", {WM_KEYDOWN, VK_LEFT}, "ab[]/ef"},
        {"a[]b/ef", {WM_KEYDOWN, VK_END, Control}, "ab/ef[]"},
        {"ab[]cd ef", {WM_KEYDOWN, VK_END}, "abcd ef[]"},
        {"ab[c]d ef", {WM_KEYDOWN, VK_END, Shift}, "ab[cd ef]"},
        {"ab[c]d ef", {WM_KEYDOWN, VK_HOME}, "[]abcd ef"},
        {"ab[c]d ef", {WM_KEYDOWN, VK_HOME, Shift}, "[ab]cd ef"},
        {"ab[]cd ef", {WM_KEYDOWN, VK_LEFT}, "a[]bcd ef"},
        {"[]abcd ef", {WM_KEYDOWN, VK_LEFT}, "[]abcd ef"},
        {"ab[]cd ef", {WM_KEYDOWN, VK_UP}, "a[]bcd ef"},
        {"abcd ef[]", {WM_KEYDOWN, VK_LEFT, Control}, "abcd []ef"},
        {"abcd []ef", {WM_KEYDOWN, VK_LEFT, Control}, "[]abcd ef"},
        {"ab[]cd ef", {WM_KEYDOWN, VK_RIGHT}, "abc[]d ef"},
        {"abcd ef[]", {WM_KEYDOWN, VK_RIGHT}, "abcd ef[]"},
        {"ab[c]d ef", {WM_KEYDOWN, VK_RIGHT, Shift}, "ab[cd] ef"},
        {"a[]bcd ef", {WM_KEYDOWN, VK_RIGHT, Control}, "abcd []ef"},
        {"ab[]cd ef", {WM_KEYDOWN, VK_DOWN}, "abc[]d ef"},
        {"ab[]cd ef", {WM_KEYDOWN, VK_PRIOR}, "ab[]cd ef"},
        {"a[bc]d ef", {WM_CLEAR, 0}, "a[]d ef"},
        {"a[bc]d ef", {WM_CUT, 0}, "a[bc]d ef", kReadOnly},
        {"a[bc]d ef", {WM_COPY, 0}, "a[bc]d ef"},
        {"abcd[ ]ef", {WM_PASTE, 0}, "abcdbc[]ef"},
        {"[]abcd ef", {WM_PASTE, 0}, "[]abcd ef", kReadOnly},
        {"abc[d ef]", {WM_CHAR, 24}, "abc[]"},
        {"[]abcd ef", {WM_CHAR, 22}, "d ef[]abcd ef"},
        {"[a]bcd ef", {WM_CHAR, 3}, "[a]bcd ef", kReadOnly},
        {"[]abcd ef", {WM_KEYDOWN, VK_INSERT, Shift}, "a[]abcd ef"},
        {"a[b]cd ef", {WM_KEYDOWN, VK_INSERT, Control}, "a[b]cd ef"},
        {"a[bc]d ef", {WM_KEYDOWN, VK_DELETE, Shift}, "a[]d ef"},
        {"[]abcd ef", {WM_PASTE, 0}, "bc[]abcd ef"},
        {"[]abcd ef", {WM_CHAR, 127}, "[]abcd ef"},
    };
    for (const auto& row : rows) {
        const auto& [message, value, held] = row.stroke;
        SCOPED_TRACE(::testing::Message() << &row - rows << ": " << message << " " << value);
        const HWND edit = GetDlgItem(dialog, row.edit);
        SetMarked(edit, row.before);
        Hold(held);
        EXPECT_EQ(SendMessageW(edit, message, value, 0), message == WM_KEYDOWN || message == WM_CHAR);
        EXPECT_EQ(Marked(edit), row.windows);
    }
    Hold(0);
    EXPECT_TRUE(DestroyWindow(dialog));
}

TEST_F(Edits, TakeNoMoreThanTheirLimit) {
    const HWND dialog =
        MakeDialog({kFrame, {{kEdit, kTab, 11, TEXT("")}, {kEdit, kTab | ES_MULTILINE, 13, TEXT("")}}});
    const HWND line = GetDlgItem(dialog, 11), lines = GetDlgItem(dialog, 13);
    (void)SendMessageW(lines, EM_SETLIMITTEXT, 0, 0);
    EXPECT_EQ(static_cast<DWORD>(SendMessageW(lines, EM_GETLIMITTEXT, 0, 0)), 0xFFFFFFFF);
    for (const HWND edit : {line, lines}) {
        (void)SendMessageW(edit, EM_SETLIMITTEXT, 2, 0);
        heard.clear();
        (void)SendMessageW(edit, EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(TEXT("abc")));
        EXPECT_EQ(Narrow(TextOf(edit)) + " " + heard, "ab 1281 1024 768 ") << "the limit, update and change";
    }
    EXPECT_TRUE(DestroyWindow(dialog));
}

TEST_F(Edits, OfManyLinesActForTheirDialogOnceItAsksThem) {
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

TEST_F(Edits, UndoTheLastChange) {
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
    ExpectAnswers({{"Alt+Backspace", Narrow(TextOf(edit)), "ydef"}});
    (void)SendMessageW(edit, EM_SETSEL, 0, 1);
    (void)SendMessageW(edit, EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(TEXT("z")));
    EXPECT_FALSE(SendMessageW(edit, EM_CANUNDO, 0, 0));
    EXPECT_TRUE(DestroyWindow(dialog));
}

}  // namespace
