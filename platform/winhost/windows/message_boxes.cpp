// Message boxes, answered by a test's list or at the terminal.
#include "windows/message_boxes.h"

#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iostream>

#include "core/events.h"
#include "core/faults.h"
#include "core/host_io.h"
#include "core/machine.h"
#include "core/machine_lock.h"
#include "core/text.h"
#include "files/paths.h"
#include "registry/registry_store.h"
#include "windows/own_windows.h"
#include "windows/window_table.h"
#include "winhost.h"

namespace fs = std::filesystem;

namespace winhost {

namespace {

constexpr UINT kTypeBits = 0xF;
constexpr UINT kIconBits = 0xF0;
constexpr UINT kDefaultBits = 0x300;

fs::path AnswerFile() {
    return StateFolder() / "answers";
}

// The buttons of a box, the safe one last.
std::vector<int> ButtonsOf(UINT style) {
    if ((style & ~(kTypeBits | kIconBits | kDefaultBits)) == 0) {
        switch (style & kTypeBits) {
            case MB_OK:
                return {IDOK};
            case MB_OKCANCEL:
                return {IDOK, IDCANCEL};
            case MB_YESNO:
                return {IDYES, IDNO};
            case MB_YESNOCANCEL:
                return {IDYES, IDCANCEL, IDNO};
            default:
                break;
        }
    }
    NotModelled("MessageBoxW", "style " + std::to_string(style));
}

const char* LabelOf(int button) {
    switch (button) {
        case IDYES:
            return "yes";
        case IDNO:
            return "no";
        case IDCANCEL:
            return "cancel";
        default:
            return "ok";
    }
}

void WriteAnswers(const std::vector<int>& buttons) {
    std::ofstream file(AnswerFile());
    for (const int button : buttons)
        file << button << '\n';
}

struct Answer {
    int button = 0;
    bool given = false;  // by a test or a person
};

Answer NextOfList(const std::vector<int>& buttons) {
    const MachineLock lock("answers.lock");
    std::ifstream file(AnswerFile());
    std::vector<int> answers;
    for (int button; file >> button;)
        answers.push_back(button);
    if (answers.empty()) return {buttons.back(), false};
    const int button = answers.front();
    answers.erase(answers.begin());
    WriteAnswers(answers);
    const bool fits = std::find(buttons.begin(), buttons.end(), button) != buttons.end();
    return {fits ? button : buttons.back(), fits};
}

Answer AskAtTerminal(const std::vector<int>& buttons, const std::string& caption, const std::string& text) {
    std::cout << "\n[" << caption << "]\n" << text << "\n";
    for (;;) {
        for (const int button : buttons)
            std::cout << (button == buttons.front() ? "" : " / ") << LabelOf(button);
        std::cout << "? " << std::flush;
        std::string line;
        if (!std::getline(std::cin, line)) return {buttons.back(), false};
        // A single button is pressed by any line; the others by the start of their label.
        if (buttons.size() == 1) return {buttons.front(), true};
        for (const int button : buttons)
            if (!line.empty() && std::string(LabelOf(button)).starts_with(line)) return {button, true};
    }
}

Answer AnswerBox(const std::vector<int>& buttons, const std::string& caption, const std::string& text) {
    if (IsAnsweredByTest()) return NextOfList(buttons);
    if (isatty(STDIN_FILENO)) return AskAtTerminal(buttons, caption, text);
    std::cerr << "[" << caption << "] " << text << "\n(nobody to ask: " << LabelOf(buttons.back()) << ")\n";
    return {buttons.back(), false};
}

}  // namespace

bool IsAnsweredByTest() {
    return fs::exists(AnswerFile());
}

void SetBoxAnswers(const std::vector<int>& buttons) {
    const MachineLock lock("answers.lock");
    WriteAnswers(buttons);
}

void EndBoxAnswers() {
    const MachineLock lock("answers.lock");
    fs::remove(AnswerFile());
}

}  // namespace winhost

int MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR caption, UINT style) {
    if (winhost::Fails("MessageBoxW")) return 0;
    const HWND root = owner ? winhost::RootOf(owner) : nullptr;
    if (owner && !root) return 0;
    const std::u16string shownText = text ? text : u"";
    const std::u16string shownCaption = caption ? caption : u"Error";
    const std::vector<int> buttons = winhost::ButtonsOf(style);
    // While the box is up its owner takes no input.
    const auto record = root ? winhost::Look(root) : std::nullopt;
    const bool disables = record && !(record->style & WS_DISABLED);
    if (disables) winhost::ChangeStyle(root, 0, WS_DISABLED);
    const auto answer = winhost::AnswerBox(buttons, winhost::Utf8(shownCaption), winhost::Utf8(shownText));
    if (disables) winhost::ChangeStyle(root, WS_DISABLED, 0);
    winhost::Record(answer.given ? "message-box" : "unanswered-box",
                    {shownCaption, shownText, winhost::Utf16(std::to_string(style)),
                     winhost::Utf16(std::to_string(answer.button))});
    return answer.button;
}
