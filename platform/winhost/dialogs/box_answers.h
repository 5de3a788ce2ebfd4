// How a test answers message boxes.
#pragma once

#include <vector>

namespace winhost {

struct Answer {
    int button = 0;
    bool given = false;  // answered by a test or a person
};
// In a test's list this entry leaves the box open; the test presses its buttons itself.
inline constexpr int kLeftOpen = 0;

// Whether a test answers the boxes instead of a person.
bool IsAnsweredByTest();
// Takes the next answer of the test's list for a box with these buttons, the safe one last.
Answer NextAnswer(const std::vector<int>& buttons);

}  // namespace winhost
