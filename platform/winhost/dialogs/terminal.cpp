// A dialog at the terminal. A person sees its texts and controls, and uses the controls by their numbers.
#include "dialogs/terminal.h"

#include <unistd.h>

#include <iostream>
#include <vector>

#include "core/text.h"
#include "dialogs/box_answers.h"
#include "messages/own_windows.h"
#include <winhost.h>

namespace winhost {

namespace {

constexpr std::size_t kLinesAtOnce = 16;
// The exit code of a program that Windows ends because its user logs off.
constexpr UINT kSessionEnded = 0x40010004;

std::u16string TextOfControl(HWND control) {
    std::u16string text(static_cast<std::size_t>(CallProcedure(control, WM_GETTEXTLENGTH, 0, 0)) + 1, 0);
    text.resize(static_cast<std::size_t>(
        CallProcedure(control, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()))));
    return text;
}

// Returns a label without the "&" of its access key.
std::string LabelOf(HWND control) {
    std::u16string text = TextOfControl(control);
    const bool marked = !(GetWindowLongW(control, GWL_STYLE) & SS_NOPREFIX);
    for (std::size_t at = 0; marked && (at = text.find(u'&', at)) != text.npos; ++at)
        text.erase(at, 1);
    return Utf8(text);
}

bool IsKind(HWND control, std::u16string_view kind) {
    WCHAR name[32] = {};
    return GetClassNameW(control, name, 32) > 0 && SameName(name, kind);
}

DWORD TypeOf(HWND button) {
    return static_cast<DWORD>(GetWindowLongW(button, GWL_STYLE)) & BS_TYPEMASK;
}

bool IsPushButton(HWND control) {
    return IsKind(control, u"Button") &&
           (TypeOf(control) == BS_PUSHBUTTON || TypeOf(control) == BS_DEFPUSHBUTTON);
}

bool IsReadOnlyEdit(HWND control) {
    return IsKind(control, u"Edit") && (GetWindowLongW(control, GWL_STYLE) & ES_READONLY);
}

// Collects the shown controls. Those of a page come before those of its frame.
void Collect(HWND dialog, std::vector<HWND>& controls) {
    for (HWND child = GetWindow(dialog, GW_CHILD); child; child = GetWindow(child, GW_HWNDNEXT)) {
        if (!IsWindowVisible(child)) continue;
        if (IsKind(child, u"#32770"))
            Collect(child, controls);
        else
            controls.push_back(child);
    }
}

class Screen {
  public:
    explicit Screen(HWND dialog) : m_dialog(dialog) {
        std::vector<HWND> controls;
        Collect(dialog, controls);
        for (const HWND control : controls)
            Show(control);
        // The push buttons are shown last, in one line, wherever they are in the dialog.
        for (const HWND control : controls)
            if (IsPushButton(control)) m_buttons += " " + Number(control) + "[" + LabelOf(control) + "]";
    }

    void Print() const {
        std::cout << "\n==== " << Utf8(TextOfControl(m_dialog)) << " ====\n"
                  << m_text << '\n'
                  << m_buttons << '\n';
    }

    void Use(std::size_t number) const {
        if (number < 1 || number > m_numbered.size()) return;
        const HWND control = m_numbered[number - 1];
        if (IsReadOnlyEdit(control))
            std::cout << Utf8(TextOfControl(control)) << '\n';
        else if (IsKind(control, u"Edit"))
            Type(control);
        else
            (void)CallProcedure(control, BM_CLICK, 0, 0);
    }

  private:
    // A disabled control has no number.
    std::string Number(HWND control) {
        if (!IsWindowEnabled(control)) return "    ";
        m_numbered.push_back(control);
        return std::to_string(m_numbered.size()) + " ";
    }

    void Show(HWND control) {
        if (IsPushButton(control)) return;
        if (IsReadOnlyEdit(control)) {
            ShowBeginning(control);
        } else if (IsKind(control, u"Edit")) {
            m_text += "  " + Number(control) + "[" + Utf8(TextOfControl(control)) + "]\n";
        } else if (IsKind(control, u"Button") && TypeOf(control) != BS_GROUPBOX) {
            const bool ticked = CallProcedure(control, BM_GETCHECK, 0, 0) == BST_CHECKED;
            const bool round = TypeOf(control) == BS_RADIOBUTTON || TypeOf(control) == BS_AUTORADIOBUTTON;
            m_text += "  " + Number(control) +
                      (round    ? ticked ? "(o) " : "( ) "
                       : ticked ? "[x] "
                                : "[ ] ") +
                      LabelOf(control) + '\n';
        } else if (const std::string label = LabelOf(control); !label.empty()) {
            m_text += label + "\n";
        }
    }

    void ShowBeginning(HWND edit) {
        const std::string text = Utf8(TextOfControl(edit));
        std::size_t end = 0;
        for (std::size_t lines = 0; lines < kLinesAtOnce && end != text.npos; ++lines)
            end = text.find('\n', end == 0 ? 0 : end + 1);
        m_text += text.substr(0, end) + '\n';
        if (end != text.npos) m_text += "  " + Number(edit) + "(the whole text)\n";
    }

    static void Type(HWND edit) {
        std::cout << "new text: " << std::flush;
        std::string line;
        if (std::getline(std::cin, line))
            (void)CallProcedure(edit, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(Utf16(line).c_str()));
    }

    const HWND m_dialog;
    std::string m_text;
    std::string m_buttons;
    std::vector<HWND> m_numbered;
};

[[noreturn]] void EndSession() {
    std::cout << "\n(nobody at the terminal: the program is ended)\n" << std::flush;
    (void)TerminateProcess(GetCurrentProcess(), kSessionEnded);
    std::abort();
}

}  // namespace

bool AskPerson(HWND dialog) {
    if (IsAnsweredByTest()) return false;
    Screen screen(dialog);
    screen.Print();
    if (!isatty(STDIN_FILENO)) EndSession();
    std::cout << "A number, or Enter for the default button: " << std::flush;
    std::string line;
    if (!std::getline(std::cin, line)) EndSession();
    if (line.empty())
        (void)CallProcedure(dialog, WM_COMMAND, LOWORD(CallProcedure(dialog, DM_GETDEFID, 0, 0)), 0);
    else
        screen.Use(std::strtoul(line.c_str(), nullptr, 10));
    return true;
}

}  // namespace winhost
