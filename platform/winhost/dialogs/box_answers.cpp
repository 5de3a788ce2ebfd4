// The list of a test: the buttons that answer the next message boxes. It is the file .state/answers.
#include "dialogs/box_answers.h"

#include <algorithm>
#include <fstream>

#include "core/machine_lock.h"
#include <winhost.h>

namespace fs = std::filesystem;

namespace winhost {

namespace {

fs::path AnswerFile() {
    return StateFolder() / "answers";
}

void WriteAnswers(const std::vector<int>& buttons) {
    std::ofstream file(AnswerFile());
    for (const int button : buttons)
        file << button << '\n';
}

}  // namespace

Answer NextAnswer(const std::vector<int>& buttons) {
    const MachineLock lock("answers.lock");
    std::ifstream file(AnswerFile());
    std::vector<int> answers;
    for (int button; file >> button;)
        answers.push_back(button);
    if (answers.empty()) return {buttons.back(), false};
    const int button = answers.front();
    answers.erase(answers.begin());
    WriteAnswers(answers);
    if (button == kLeftOpen) return {kLeftOpen, true};
    const bool fits = std::find(buttons.begin(), buttons.end(), button) != buttons.end();
    return {fits ? button : buttons.back(), fits};
}

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
