// Message boxes, answered by a test's list or at the terminal, and the thread's queue of messages.
#include <unistd.h>

#include <algorithm>
#include <deque>
#include <fstream>
#include <iostream>

#include "internal.h"
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
    if (fs::exists(AnswerFile())) return NextOfList(buttons);
    if (isatty(STDIN_FILENO)) return AskAtTerminal(buttons, caption, text);
    std::cerr << "[" << caption << "] " << text << "\n(nobody to ask: " << LabelOf(buttons.back()) << ")\n";
    return {buttons.back(), false};
}

struct Queue {
    std::deque<MSG> posted;
    bool quits = false;
    int exitCode = 0;
};
thread_local Queue queue;

}  // namespace

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
    if (owner) {
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
        return 0;
    }
    const std::u16string shownText = text ? text : u"";
    const std::u16string shownCaption = caption ? caption : u"Error";
    const auto answer =
        winhost::AnswerBox(winhost::ButtonsOf(style), winhost::Utf8(shownCaption), winhost::Utf8(shownText));
    winhost::Record(answer.given ? "message-box" : "unanswered-box",
                    {shownCaption, shownText, winhost::Utf16(std::to_string(style)),
                     winhost::Utf16(std::to_string(answer.button))});
    return answer.button;
}

BOOL PostMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (winhost::Fails("PostMessageW")) return FALSE;
    if (window) {
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
        return FALSE;
    }
    // Without a window it goes to the thread itself.
    winhost::queue.posted.push_back({nullptr, message, wParam, lParam, GetTickCount(), {}});
    return TRUE;
}

BOOL GetMessageW(MSG* message, HWND window, UINT first, UINT last) {
    if (winhost::Fails("GetMessageW")) return -1;
    if (window || first || last) winhost::NotModelled("GetMessageW", "a choice of messages");
    auto& queue = winhost::queue;
    if (!queue.posted.empty()) {
        *message = queue.posted.front();
        queue.posted.pop_front();
        return message->message != WM_QUIT;
    }
    // The end of the queue comes behind all that was posted.
    if (!queue.quits) winhost::NotModelled("GetMessageW", "an empty queue that nobody can fill");
    queue.quits = false;
    *message = {nullptr, WM_QUIT, static_cast<WPARAM>(queue.exitCode), 0, GetTickCount(), {}};
    return FALSE;
}

BOOL TranslateMessage(const MSG*) {
    (void)winhost::FaultOf("TranslateMessage");
    return FALSE;
}

LRESULT DispatchMessageW(const MSG*) {
    (void)winhost::FaultOf("DispatchMessageW");
    return 0;
}

void PostQuitMessage(int exitCode) {
    (void)winhost::FaultOf("PostQuitMessage");
    winhost::queue.quits = true;
    winhost::queue.exitCode = exitCode;
}
