// The rule for 8.3 names, which a drive assigns to entries whose own names are longer. It works on text only:
// the caller knows which names are in use.
#pragma once

#include "name_patterns.h"

namespace names {

// Whether an entry of that name has no other name: it has up to 8 characters and 3 after a dot, all of them
// plain. "." and ".." have no other name, either.
bool IsShort(TextView name);

// The short names that a name may get, in the order in which they are tried. The entry gets the first one
// that no other entry of the folder has. `name` is the name as stored, `upper` the same in upper case.
class ShortNames {
  public:
    ShortNames(TextView name, TextView upper);
    // They are numbered from 1. From `firstSummed` on they hold a sum of the name, so that hardly
    // any other name has the same.
    Text Candidate(unsigned number) const;
    unsigned firstSummed() const { return m_firstSummed; }

  private:
    Text m_base;       // up to 6 characters
    Text m_summed;     // the base with the sum
    Text m_extension;  // empty, or up to 3 characters after its dot
    unsigned m_firstSummed;
};

}  // namespace names
