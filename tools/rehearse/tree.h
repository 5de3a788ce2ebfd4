// Names with separators as a tree of lines.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "lab/lab.h"

namespace rehearse {

struct TreeLine {
    std::size_t depth;
    char kind;  // '+' new, '-' gone, '*' changed, a blank for a step on the way
    std::string name;
    std::string note;
};

class Tree {
  public:
    // `note` is printed after the name.
    void Add(const lab::Change& change, const std::string& note);
    bool IsEmpty() const { return m_children.empty(); }
    // Returns a line for each item. Steps that lead to only one thing share its line. If a whole folder or key is gone,
    // that is one line.
    std::vector<TreeLine> Lines() const;

  private:
    void AddLines(std::vector<TreeLine>& lines, std::size_t depth) const;
    std::size_t Count() const;
    bool IsPassedOver() const;

    std::map<std::string, Tree> m_children;
    char m_kind = ' ';  // of the item itself; a blank for a parent that did not change
    std::string m_note;
};

}  // namespace rehearse
