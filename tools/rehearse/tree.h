// Names with separators as a tree of lines.
#pragma once

#include <map>
#include <string>

#include "snapshot/snapshot.h"

namespace rehearse {

class Tree {
  public:
    // `note` stands behind the name.
    void Add(const snapshot::Change& change, const std::string& note);
    bool IsEmpty() const { return m_children.empty(); }
    // A line an item: '+' came, '-' went, '*' changed. Steps that lead to one thing alone share its line;
    // what went as a whole is one line.
    std::string ToText(bool coloured, std::size_t indent = 2) const;

  private:
    std::size_t Count() const;
    bool IsPassedOver() const;

    std::map<std::string, Tree> m_children;
    char m_kind = ' ';  // of the item itself; blank for a step on the way
    std::string m_note;
};

// In a colour by its number; 1 is bold.
std::string Coloured(const std::string& text, int colour, bool coloured);
int ColourOf(char kind);

}  // namespace rehearse
