#include "rehearse/tree.h"

namespace rehearse {

namespace {

constexpr char kValueSign[] = " : ";

// The steps of a name: up to each backslash; a registry value is one step.
std::vector<std::string> StepsOf(const std::string& name) {
    std::vector<std::string> steps;
    const auto value = name.starts_with("HK") ? name.find(kValueSign) : name.npos;
    const std::string path = name.substr(0, value);
    for (std::size_t at = 0, end; at < path.size(); at = end) {
        end = path.find('\\', at);
        end = end == path.npos ? path.size() : end + 1;
        steps.push_back(path.substr(at, end - at));
    }
    if (value != name.npos) steps.push_back(name.substr(value + sizeof kValueSign - 1));
    return steps;
}

}  // namespace

void Tree::Add(const lab::Change& change, const std::string& note) {
    Tree* place = this;
    for (const std::string& step : StepsOf(change.name))
        place = &place->m_children[step];
    place->m_kind = change.kind;
    place->m_note = note;
}

std::size_t Tree::Count() const {
    std::size_t count = 0;
    for (const auto& [name, child] : m_children)
        count += child.Count() + (child.m_kind != ' ');
    return count;
}

// Whether the only item in it is a folder or key too, and the line of that item says everything.
bool Tree::IsPassedOver() const {
    if (m_children.size() != 1) return false;
    const auto& [name, child] = *m_children.begin();
    return name.ends_with('\\') && (m_kind == ' ' || (m_note.empty() && m_kind == child.m_kind));
}

void Tree::AddLines(std::vector<TreeLine>& lines, std::size_t depth) const {
    for (const auto& [start, first] : m_children) {
        std::string name = start;
        const Tree* tree = &first;
        while (tree->IsPassedOver()) {
            const auto& [step, child] = *tree->m_children.begin();
            name += step;
            tree = &child;
        }
        const bool wentWhole = tree->m_kind == '-' && !tree->m_children.empty();
        lines.push_back({depth, tree->m_kind, name,
                         wentWhole ? "with " + std::to_string(tree->Count()) + " below" : tree->m_note});
        if (!wentWhole) tree->AddLines(lines, depth + 1);
    }
}

std::vector<TreeLine> Tree::Lines() const {
    std::vector<TreeLine> lines;
    AddLines(lines, 0);
    return lines;
}

}  // namespace rehearse
