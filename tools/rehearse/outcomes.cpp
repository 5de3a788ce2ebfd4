#include "rehearse/outcomes.h"

#include <algorithm>

namespace rehearse {

std::string EndOf(const lab::Outcome& outcome) {
    return (outcome.started ? "ended with " : "can't be started: error ") + std::to_string(outcome.exitCode);
}

std::vector<std::string> LinesOf(const std::vector<lab::Message>& messages) {
    std::vector<std::string> lines;
    for (const lab::Message& message : messages) {
        std::string text = message.text;
        std::replace(text.begin(), text.end(), '\n', ' ');
        const std::string caption = message.caption.empty() ? "" : "[" + message.caption + "] ";
        lines.push_back(caption + text + "  ->  " + message.answer);
    }
    return lines;
}

std::vector<std::string> FaultsOf(const lab::Outcome& outcome, bool hasProgram) {
    std::vector<std::string> faults;
    if (hasProgram && !(outcome.started && outcome.exitCode == 0)) faults.push_back(EndOf(outcome));
    for (const std::string& line : LinesOf(outcome.messages))
        faults.push_back("showed: " + line);
    return faults;
}

}  // namespace rehearse
