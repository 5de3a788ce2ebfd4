#include "rehearse/report.h"

#include <algorithm>

#include "common/json.h"
#include "common/text.h"
#include "rehearse/blocks.h"
#include "rehearse/outcomes.h"

namespace rehearse {

namespace {

constexpr std::size_t kNoteColumn = 48;
constexpr int kBold = 1, kRed = 31, kGreen = 32, kYellow = 33;

std::string Coloured(const std::string& text, int colour, bool coloured) {
    return coloured ? "\x1B[" + std::to_string(colour) + "m" + text + "\x1B[0m" : text;
}

int ColourOf(char kind) {
    return kind == '+' ? kGreen : kind == '-' ? kRed : kYellow;
}

std::string Title(const std::string& title, bool coloured) {
    return Coloured(title, kBold, coloured) + '\n';
}

std::string LineToText(const TreeLine& item, bool coloured) {
    if (item.kind == kPlain) return "    " + tools::Shown(item.name) + '\n';
    std::string line = std::string(2 + 2 * item.depth, ' ') + item.kind + ' ' + tools::Shown(item.name);
    if (!item.note.empty()) line.resize(std::max(line.size() + 3, kNoteColumn), ' ');
    return (item.kind == ' ' ? line : Coloured(line, ColourOf(item.kind), coloured)) +
           tools::Shown(item.note) + '\n';
}

std::string BlocksToText(const std::vector<Block>& blocks, bool coloured) {
    std::string text;
    for (const Block& block : blocks) {
        text += block.title.empty() ? "" : Title(block.title, coloured);
        for (const TreeLine& line : block.lines)
            text += LineToText(line, coloured);
    }
    return text;
}

// ---- JSON ----

std::string Field(const char* name, const std::string& text) {
    return "\"" + std::string(name) + "\": " + tools::JsonString(text);
}

// One element for each line.
template <class List, class Element>
std::string Array(const char* name, const List& list, Element element) {
    std::string text = "\"" + std::string(name) + "\": [";
    const char* separator = "\n";
    for (const auto& item : list) {
        text += separator + element(item);
        separator = ",\n";
    }
    return text + "]";
}

std::string ChangeToJson(const lab::Change& change) {
    return Field("change", std::string(1, change.kind)) + ", " + Field("name", change.name) + ", " +
           Field("before", change.before) + ", " + Field("after", change.after);
}

std::string StepToJson(const Step& step) {
    const auto object = [](const lab::Change& change) { return "{" + ChangeToJson(change) + "}"; };
    std::string text = "{" + Field("step", step.name);
    if (!step.command.empty())
        text += ", " + Field("command", step.command) +
                ",\n\"started\": " + (step.outcome.started ? "true" : "false") +
                ", \"exitCode\": " + std::to_string(step.outcome.exitCode);
    text += ",\n" + Array("programs", step.outcome.programs, tools::JsonString);
    text += ",\n" + Array("messages", step.outcome.messages, [](const lab::Message& message) {
                return "{" + Field("caption", message.caption) + ", " + Field("text", message.text) + ", " +
                       Field("answer", message.answer) + "}";
            });
    text += ",\n" + Array("changes", step.changes, object);
    text += ",\n" + Array("log", step.logLines, tools::JsonString);
    text += ",\n" + Array("atNextStart", step.marks, tools::JsonString);
    return text + ",\n" + Array("remains", step.remains, object) + "}";
}

}  // namespace

std::string ToText(const Step& step, bool coloured) {
    std::string text = '\n' + Title("==== " + step.name + " ====", coloured);
    if (!step.command.empty()) text += tools::Shown(step.command) + "   " + EndOf(step.outcome) + '\n';
    return text + BlocksToText(BlocksOf(step), coloured);
}

std::string LeftToText(const Rehearsal& rehearsal, bool coloured) {
    const int colour = ColourOf(rehearsal.ExitCode() == 0 ? '+' : '-');
    return '\n' + Title("==== what is left ====", coloured) +
           BlocksToText(BlocksOfLeft(rehearsal), coloured) +
           Coloured(VerdictOf(rehearsal), colour, coloured) + '\n';
}

std::string ToJson(const Rehearsal& rehearsal, const std::string& package, const std::string& machine) {
    const auto fault = [](const Fault& each) {
        return "{" + Field("step", each.step) + ", " + Field("what", each.what) + "}";
    };
    const auto leftover = [](const Leftover& left) {
        return "{" + ChangeToJson(left.change) + ", " + Field("mayStay", left.reason) + "}";
    };
    return "{" + Field("package", package) + ", " + Field("machine", machine) + ",\n" +
           "\"exitCode\": " + std::to_string(rehearsal.ExitCode()) + ",\n" +
           Array("steps", rehearsal.steps, StepToJson) + ",\n" + Array("faults", rehearsal.faults, fault) +
           ",\n" + Array("left", rehearsal.left, leftover) + "}\n";
}

}  // namespace rehearse
