#include "rehearse/report.h"

#include <algorithm>

#include "common/json.h"
#include "common/text.h"
#include "rehearse/tree.h"

namespace rehearse {

namespace {

constexpr int kBold = 1;
constexpr char kRegistryText[] = "REG_SZ ", kRegistryNumber[] = "REG_DWORD ";

// ---- text ----

enum class Kind { File, Shortcut, Registry };
struct Section {
    Kind kind;
    const char* title;
};
constexpr Section kSections[] = {
    {Kind::File, "files"}, {Kind::Shortcut, "desktop and Start menu"}, {Kind::Registry, "registry"}};

// Folders of the shell hold shortcuts and their groups.
Kind KindOf(const std::string& name) {
    if (name.starts_with("HK")) return Kind::Registry;
    return name.starts_with("<") && !name.starts_with("<Temp>") ? Kind::Shortcut : Kind::File;
}

// What a reader can see from the name and the sign isn't told.
std::string Brief(const std::string& what) {
    if (what == "folder" || what == "key" || what == "as in the package") return {};
    for (const std::string type : {kRegistryText, kRegistryNumber})
        if (what.starts_with(type)) return what.substr(type.size());
    const std::string shortcut = "shortcut ";
    return what.starts_with(shortcut) ? what.substr(shortcut.size()) : what;
}

std::string Note(const snapshot::Change& change) {
    if (change.kind == '-') return {};
    const std::string after = Brief(change.after);
    return change.kind == '*' ? Brief(change.before) + "  ->  " + (after.empty() ? change.after : after)
                              : after;
}

std::string Title(const std::string& title, bool coloured) {
    return Coloured(title, kBold, coloured) + '\n';
}

std::string List(const std::string& title, const std::vector<std::string>& lines, bool coloured) {
    if (lines.empty()) return {};
    std::string text = Title(title, coloured);
    for (const std::string& line : lines)
        text += "    " + tools::Shown(line) + '\n';
    return text;
}

std::string Trees(const std::string& prefix, const Changes& changes, bool coloured) {
    std::string text;
    for (const Section& section : kSections) {
        Tree tree;
        for (const auto& change : changes)
            if (KindOf(change.name) == section.kind) tree.Add(change, Note(change));
        if (!tree.IsEmpty()) text += Title(prefix + section.title, coloured) + tree.ToText(coloured);
    }
    return text;
}

std::string End(const Step& step) {
    if (step.command.empty()) return {};
    const std::string number = std::to_string(step.outcome.exitCode);
    return (step.outcome.started ? "ended with " : "can't be started: error ") + number;
}

std::vector<std::string> MessageLines(const std::vector<Message>& messages) {
    std::vector<std::string> lines;
    for (const Message& message : messages) {
        std::string text = message.text;
        std::replace(text.begin(), text.end(), '\n', ' ');
        const std::string caption = message.caption.empty() ? "" : "[" + message.caption + "] ";
        lines.push_back(caption + text + "  ->  " + message.answer);
    }
    return lines;
}

// ---- JSON ----

std::string Field(const char* name, const std::string& text) {
    return "\"" + std::string(name) + "\": " + tools::JsonString(text);
}

// One element a line.
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

std::string ChangeToJson(const snapshot::Change& change) {
    return Field("change", std::string(1, change.kind)) + ", " + Field("name", change.name) + ", " +
           Field("before", change.before) + ", " + Field("after", change.after);
}

std::string StepToJson(const Step& step) {
    const auto object = [](const snapshot::Change& change) { return "{" + ChangeToJson(change) + "}"; };
    std::string text = "{" + Field("step", step.name);
    if (!step.command.empty())
        text += ", " + Field("command", step.command) +
                ",\n\"started\": " + (step.outcome.started ? "true" : "false") +
                ", \"exitCode\": " + std::to_string(step.outcome.exitCode);
    text += ",\n" + Array("programs", step.outcome.programs, tools::JsonString);
    text += ",\n" + Array("messages", step.outcome.messages, [](const Message& message) {
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
    if (!step.command.empty()) text += tools::Shown(step.command) + "   " + End(step) + '\n';
    text += step.changes.empty() ? "    nothing changed\n" : Trees("", step.changes, coloured);
    text += List("in the log, behind the manifest", step.logLines, coloured);
    text += List("at the next start", step.marks, coloured);
    text += List("programs started", step.outcome.programs, coloured);
    text += List("messages", MessageLines(step.outcome.messages), coloured);
    return text + Trees("until the next start, of ", step.remains, coloured);
}

std::string LeftToText(const Rehearsal& rehearsal, bool coloured) {
    Tree mayStay;
    Changes wrong;
    for (const Leftover& left : rehearsal.left) {
        if (left.reason.empty())
            wrong.push_back(left.change);
        else
            mayStay.Add(left.change, left.reason);
    }
    std::string text = '\n' + Title("==== what is left ====", coloured);
    if (!mayStay.IsEmpty()) text += Title("and may stay", coloured) + mayStay.ToText(coloured);
    text += Trees("and should have gone: ", wrong, coloured);
    const std::string count = wrong.size() == 1 ? "1 thing is" : std::to_string(wrong.size()) + " things are";
    return text +
           (wrong.empty() ? Coloured("nothing that should have gone", ColourOf('+'), coloured)
                          : Coloured(count + " left that should have gone", ColourOf('-'), coloured)) +
           '\n';
}

std::string ToJson(const Rehearsal& rehearsal, const std::string& package, const std::string& machine) {
    const auto leftover = [](const Leftover& left) {
        return "{" + ChangeToJson(left.change) + ", " + Field("mayStay", left.reason) + "}";
    };
    return "{" + Field("package", package) + ", " + Field("machine", machine) + ",\n" +
           "\"exitCode\": " + std::to_string(rehearsal.ExitCode()) + ",\n" +
           Array("steps", rehearsal.steps, StepToJson) + ",\n" + Array("left", rehearsal.left, leftover) +
           "}\n";
}

}  // namespace rehearse
