#include "rehearse/blocks.h"

#include <algorithm>

#include "rehearse/outcomes.h"

namespace rehearse {

namespace {

constexpr char kRegistryText[] = "REG_SZ ", kRegistryNumber[] = "REG_DWORD ";

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

// What a reader can see from the name and the sign is left out.
std::string Brief(const std::string& what) {
    if (what == "folder" || what == "key" || what == "as in the package") return {};
    for (const std::string type : {kRegistryText, kRegistryNumber})
        if (what.starts_with(type)) return what.substr(type.size());
    const std::string shortcut = "shortcut ";
    return what.starts_with(shortcut) ? what.substr(shortcut.size()) : what;
}

std::string Note(const lab::Change& change) {
    if (change.kind == '-') return {};
    const std::string after = Brief(change.after);
    return change.kind == '*' ? Brief(change.before) + "  ->  " + (after.empty() ? change.after : after)
                              : after;
}

void AddList(std::vector<Block>& blocks, const char* title, const std::vector<std::string>& texts,
             bool isWrong = false) {
    if (texts.empty()) return;
    Block block = {title, {}, isWrong};
    for (const std::string& text : texts)
        block.lines.push_back({0, kPlain, text, ""});
    blocks.push_back(block);
}

void AddTrees(std::vector<Block>& blocks, const std::string& prefix, const Changes& changes,
              bool isWrong = false) {
    for (const Section& section : kSections) {
        Tree tree;
        for (const auto& change : changes)
            if (KindOf(change.name) == section.kind) tree.Add(change, Note(change));
        if (!tree.IsEmpty()) blocks.push_back({prefix + section.title, tree.Lines(), isWrong});
    }
}

}  // namespace

std::vector<Block> BlocksOf(const Step& step) {
    std::vector<Block> blocks;
    AddTrees(blocks, "", step.changes);
    if (step.changes.empty()) AddList(blocks, "", {"nothing changed"});
    AddList(blocks, "in the log, after the manifest", step.logLines);
    AddList(blocks, "at the next start", step.marks);
    AddList(blocks, "programs started", step.outcome.programs);
    AddList(blocks, "messages", LinesOf(step.outcome.messages));
    AddTrees(blocks, "until the next start, of ", step.remains);
    return blocks;
}

std::vector<Block> BlocksOfLeft(const Rehearsal& rehearsal) {
    Tree mayStay;
    Changes wrong;
    for (const Leftover& left : rehearsal.left) {
        if (left.reason.empty())
            wrong.push_back(left.change);
        else
            mayStay.Add(left.change, left.reason);
    }
    std::vector<Block> blocks;
    std::vector<std::string> faults;
    for (const Fault& fault : rehearsal.faults)
        faults.push_back(fault.step + ": " + fault.what);
    AddList(blocks, "what went wrong", faults, true);
    if (!mayStay.IsEmpty()) blocks.push_back({"and may stay", mayStay.Lines(), false});
    AddTrees(blocks, "and should have gone: ", wrong, true);
    return blocks;
}

std::string VerdictOf(const Rehearsal& rehearsal) {
    if (!rehearsal.finished) return "not finished: the last step hung and was ended";
    const auto count = std::count_if(rehearsal.left.begin(), rehearsal.left.end(),
                                     [](const Leftover& left) { return left.reason.empty(); });
    const auto things = [](std::size_t number) {
        return std::to_string(number) + (number == 1 ? " thing" : " things");
    };
    std::string verdict = count == 0 ? "nothing that should have gone"
                                     : things(static_cast<std::size_t>(count)) +
                                           (count == 1 ? " is" : " are") + " left that should have gone";
    if (!rehearsal.faults.empty()) verdict += ", but " + things(rehearsal.faults.size()) + " went wrong";
    return verdict;
}

}  // namespace rehearse
