// The wizard on a machine of the test's own, run by this program and driven by a person's hand.
#pragma once

#include "app/setup_state.h"
#include "resource.h"
#include "harness/driver.h"
#include "support/path_text.h"

inline Text Resource(UINT id) {
    return LoadResString(id).Text();
}

class WizardTest : public ScratchTest {
  protected:
    WizardTest();
    using Person = std::function<void(const Driver& wizard)>;
    // Runs the wizard behind `step` and gives what it gives.
    static INT_PTR Run(const Person& person, int step = -1);
    // Runs it to the page of a step from its first one, lets the person act there, and cancels the wizard.
    static void RunAt(int step, const Person& person);

    // Presses a button, and expects these messages of the program, all answered with `button`.
    static void Press(const Driver& wizard, int control, const std::vector<Text>& messages,
                      int button = IDOK);
    // The same for a button that opens the folder browser, and the folder chosen there.
    static void Browse(const Driver& wizard, const std::optional<Text>& folder,
                       const std::vector<Text>& messages = {});
    static void Cancel(const Driver& wizard);
    // While a box is open somebody closes the wizard, setup closes running copies, other programs press buttons,
    // and the session ends.
    static void Disturb(const Driver& wizard);
    // The number of the step that the wizard shows, by what is on its page.
    static int StepOn(const Driver& wizard);
};
