// The rule for 8.3 names, which a drive gives to entries whose own names are longer. It works on text only:
// the caller says which names are in use.
#pragma once

#include "name_patterns.h"

namespace names {

// Whether an entry of that name has no other: up to 8 characters and 3 after a dot, all of them plain. "."
// and
// ".." are so, too.
bool IsShort(TextView name);

// The short names that a name may get, in the order in which they are tried: the first one that no entry of
// the folder has. `name` is as stored; `upper` is it in upper case.
class ShortNames {
  public:
    ShortNames(TextView name, TextView upper);
    // Numbered from 1. From `firstSummed` on they hold a sum of the name, so that hardly any other name has
    // them.
    Text Candidate(unsigned number) const;
    unsigned firstSummed() const { return m_firstSummed; }

  private:
    Text m_base;       // up to 6 characters
    Text m_summed;     // the base with the sum
    Text m_extension;  // empty, or up to 3 characters after its dot
    unsigned m_firstSummed;
};

}  // namespace names
