// Edits, as the program relies on them.
#include "machine/answers.h"
#include "machine/made_dialog.h"

namespace {

// The number of an edit is the sign by which a row's text asks for it.
class Edits : public ScratchTest {
  protected:
    ~Edits() override { EXPECT_TRUE(DestroyWindow(m_dialog)); }
    HWND Edit(int id) const { return GetDlgItem(m_dialog, id); }

    const HWND m_dialog =
        MakeDialog({kFrame,
                    {{kEdit, kTab | ES_AUTOHSCROLL, 11, TEXT("")},
                     {kEdit, kTab | ES_AUTOHSCROLL | ES_READONLY, '!', TEXT("")},
                     {kEdit, kTab | ES_MULTILINE | ES_AUTOVSCROLL | ES_AUTOHSCROLL, '/', TEXT("")},
                     {kButton, kTab | BS_DEFPUSHBUTTON, IDOK, TEXT("OK")}}});
};

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
    constexpr UINT Key = WM_KEYDOWN, Char = WM_CHAR;
    constexpr int Shift = VK_SHIFT, Control = VK_CONTROL;
    // A text with "!" is for the read-only edit, one with "/" for that of many lines. Later rows paste what earlier ones copied.
    const struct {
        std::string before;
        UINT message;
        WPARAM value;
        const char* windows;
        int held = 0;
    } rows[] = {
        {"a[bc]d ef", Key, VK_DELETE, "a[]d ef"},     {"ab[]cd ef", Key, VK_DELETE, "a[]cd ef", Shift},
        {"[]abcd ef", Key, VK_DELETE, "[]bcd ef"},    {"ab[]cd ef", Key, VK_DELETE, "ab[]", Control},
        {"ab[]/ef", Key, VK_RIGHT, "ab/[]ef"},        {"ab[c]d ef", Key, VK_RIGHT, "ab[cd] ef", Shift},
        {"ab/[]ef", Key, VK_LEFT, "ab[]/ef"},         {"abcd ef[]", Key, VK_LEFT, "abcd []ef", Control},
        {"ab[]cd ef", Key, VK_END, "abcd ef[]"},      {"a[]b/ef", Key, VK_END, "ab/ef[]", Control},
        {"ab[c]d ef", Key, VK_HOME, "[]abcd ef"},     {"ab[c]d ef", Key, VK_HOME, "[ab]cd ef", Shift},
        {"ab[]cd ef", Key, VK_LEFT, "a[]bcd ef"},     {"abcd []ef", Key, VK_LEFT, "[]abcd ef", Control},
        {"ab[]cd ef", Key, VK_RIGHT, "abc[]d ef"},    {"a[]bcd ef", Key, VK_RIGHT, "abcd []ef", Control},
        {"abcd ef[]", Key, VK_DELETE, "abcd ef[]"},   {"ab[c]d ef", Key, VK_END, "ab[cd ef]", Shift},
        {"!a[bc]d ef", Key, VK_DELETE, "!a[bc]d ef"}, {"ab[]/ef", Key, VK_DELETE, "ab[]ef"},
        {"ab/[]ef", Char, VK_BACK, "ab[]ef"},         {"[]abcd ef", Key, VK_LEFT, "[]abcd ef"},
        {"ab[]cd ef", Key, VK_UP, "a[]bcd ef"},       {"abcd ef[]", Key, VK_RIGHT, "abcd ef[]"},
        {"a[bc]d ef", WM_CLEAR, 0, "a[]d ef"},        {"!a[bc]d ef", WM_CUT, 0, "!a[bc]d ef"},
        {"a[bc]d ef", WM_COPY, 0, "a[bc]d ef"},       {"abcd[ ]ef", WM_PASTE, 0, "abcdbc[]ef"},
        {"![]abcd ef", WM_PASTE, 0, "![]abcd ef"},    {"abc[d ef]", Char, 24, "abc[]"},
        {"[]abcd ef", Char, 22, "d ef[]abcd ef"},     {"![a]bcd ef", Char, 3, "![a]bcd ef"},
        {"ab[]cd ef", Key, VK_DOWN, "abc[]d ef"},     {"[]abcd ef", Key, VK_INSERT, "a[]abcd ef", Shift},
        {"ab[]cd ef", Key, VK_PRIOR, "ab[]cd ef"},    {"a[b]cd ef", Key, VK_INSERT, "a[b]cd ef", Control},
        {"[]abcd ef", Char, 127, "[]abcd ef"},        {"a[bc]d ef", Key, VK_DELETE, "a[]d ef", Shift},
        {"[]abcd ef", WM_PASTE, 0, "bc[]abcd ef"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::Message() << row.before << ": " << row.message << " " << row.value);
        const std::size_t sign = row.before.find_first_of("!/");
        const HWND edit = Edit(sign == row.before.npos ? 11 : row.before[sign]);
        SetMarked(edit, row.before);
        HoldKeys(row.held == Shift, row.held == Control);
        EXPECT_EQ(SendMessageW(edit, row.message, row.value, 0), row.message == Key || row.message == Char);
        EXPECT_EQ(Marked(edit), row.windows);
    }
    HoldKeys(false, false);
}

TEST_F(Edits, TakeNoMoreThanTheirLimit) {
    const HWND line = Edit(11), lines = Edit('/');
    (void)SendMessageW(lines, EM_SETLIMITTEXT, 0, 0);
    EXPECT_EQ(static_cast<DWORD>(SendMessageW(lines, EM_GETLIMITTEXT, 0, 0)), 0xFFFFFFFF);
    for (const HWND edit : {line, lines}) {
        (void)SendMessageW(edit, EM_SETLIMITTEXT, 2, 0);
        heard.clear();
        (void)SendMessageW(edit, EM_REPLACESEL, FALSE, reinterpret_cast<LPARAM>(TEXT("abc")));
        EXPECT_EQ(Narrow(TextOf(edit)) + " " + heard, "ab 1281 1024 768 ") << "the limit, update and change";
    }
}

TEST_F(Edits, OfManyLinesActForTheirDialogOnceItAsksThem) {
    const struct {
        bool asks;
        int edit;
        WPARAM key;
        const char* windows;
    } rows[] = {{false, 11, VK_TAB, ""},         {false, 11, VK_RETURN, ""},
                {false, '/', VK_TAB, ""},        {false, '/', VK_RETURN, ""},
                {false, '/', VK_ESCAPE, ""},     {true, '/', VK_TAB, "next "},
                {true, '/', VK_RETURN, "next "}, {true, '/', VK_ESCAPE, "close "},
                {true, 11, VK_TAB, ""},          {true, 11, VK_ESCAPE, ""}};
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::Message() << &row - rows);
        const HWND edit = Edit(row.edit);
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
}

TEST_F(Edits, UndoTheLastChange) {
    const HWND edit = Edit(11);
    (void)SetWindowTextW(edit, TEXT("abcdef"));
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
}

}  // namespace
