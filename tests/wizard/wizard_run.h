// Runs the wizard in this program, and drives it as a person does.
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
    // Runs the wizard from the step after `step` on, and returns its result.
    static INT_PTR Run(const Person& person, int step = -1);
    // Goes from the first page to the page of `step`, lets the person act there, and cancels the wizard.
    static void RunAt(int step, const Person& person);
    // Shows only the last page, as "-sconf" does. The person must finish it.
    static void RunLastPage(const Person& person);

    // Expects that these messages of the program were shown. One that isn't answered by OK must be the question whose
    // default is No.
    static void ExpectShown(const BoxAnswers& answers, const std::vector<Text>& messages, int button = IDOK);
    // Presses a button, expects these messages of the program, and answers all of them with `button`.
    static void Press(const Driver& wizard, int control, const std::vector<Text>& messages,
                      int button = IDOK);
    // Presses the button that opens the folder browser, chooses the folder there, and expects these messages.
    static void Browse(const Driver& wizard, const std::optional<Text>& folder,
                       const std::vector<Text>& messages = {});
    // While a box is open somebody closes the wizard, setup closes running copies, other programs press buttons,
    // and the session ends.
    static void Disturb(const Driver& wizard);
    // The number of the step that the wizard shows, by what is on its page.
    static int StepOn(const Driver& wizard);
};
