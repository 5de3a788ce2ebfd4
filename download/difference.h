// Makes a new file of an earlier one and a difference.
#pragma once

#include "archive.h"

namespace download {

class Joiner {
  public:
    // `earlier` must outlive this object. `take` gets the bytes of the new file.
    Joiner(std::string_view earlier, const Take& take) : m_earlier(earlier), m_take(take) {}

    // Takes the next bytes of the difference. Damaged for a step that leads out of the earlier file; when `take` returns
    // another outcome than Right, so does this function.
    Outcome Add(const char* bytes, std::size_t cb);
    // Gives the last bytes. Damaged if the last step isn't complete.
    Outcome Finish();

  private:
    bool BeginStep();
    void AddToEarlier(const char* bytes, std::size_t cb);

    std::string_view m_earlier;
    const Take& m_take;
    std::array<char, cbStep> m_numbers = {};  // of the present step, the first m_cbNumbers
    std::size_t m_cbNumbers = 0;
    std::size_t m_place = 0;
    std::size_t m_cbAdded = 0, m_cbPlain = 0;  // what is left of the two runs
    std::string m_made;                        // most steps make a few bytes only, and each write takes time
};

}  // namespace download
