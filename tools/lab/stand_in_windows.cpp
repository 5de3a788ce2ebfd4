#include "lab/stand_in.h"

#include <map>

#include "common/message_boxes.h"

namespace lab {

namespace {

constexpr DWORD kWatchMs = 10;
constexpr DWORD kPageMs = 1500;  // a page that is shown this long waits for a person

void AnswerIt(HWND window, const Habits& habits) {
    const int button =
        habits.answer({window, tools::TextOf(window), tools::TextOf(GetDlgItem(window, tools::kBoxText)),
                       tools::SafestButton(window)});
    if (button != kLeaveOpen) tools::AnswerBox(window, button);
}

}  // namespace

std::jthread StandIn(Habits habits) {
    return std::jthread([habits = std::move(habits)](const std::stop_token& stop) {
        std::map<HWND, DWORD> pages;
        for (; !stop.stop_requested(); Sleep(kWatchMs)) {
            for (HWND window = nullptr; (window = FindWindowExW(nullptr, window, L"#32770", nullptr));) {
                DWORD process = 0;
                GetWindowThreadProcessId(window, &process);
                if (!IsWindowVisible(window) || !habits.isOwn(process)) continue;
                if (tools::IsMessageBox(window))
                    AnswerIt(window, habits);
                else if (habits.leave &&
                         GetTickCount() - pages.emplace(window, GetTickCount()).first->second > kPageMs)
                    habits.leave(process);
            }
        }
    });
}

}  // namespace lab
