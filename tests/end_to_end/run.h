// End-to-end runs: the built programs from a real package folder, and the whole machine looked at before and
// after.
#pragma once

#include <map>

#include "snapshot/snapshot.h"
#include "harness/driver.h"

// What is there, by name. Folders of the shell, the scratch folder and the user stand as <Programs>,
// <CommonDesktop>, <Scratch>, HKCU and the like; a file that equals one of the package says which: "=
// QtvApp8.exe".
using State = std::map<std::string, std::string>;

class EndToEndTest : public ScratchTest {
  protected:
    // Puts the sample package into C:\Scratch\package and takes the state before.
    EndToEndTest();

    // Runs setup.exe of the package with the arguments, waits for all that it starts, and returns its exit
    // code. Meanwhile a person goes through its wizard.
    using Person = std::function<void(const Driver& wizard)>;
    DWORD Setup(const Text& arguments, const Person& person = {}, const Text& folder = package);
    // Runs the uninstaller of the folder, with its temporary copy, to the end.
    void Uninstall(const Text& folder);
    // From now on, the state before is what is on the machine now.
    void Rebase();
    // What came, went ("gone") or became something else since the state before.
    State Changes() const;

    static const Text package;
    static const Text target;

  private:
    snapshot::Snapshot m_before;
};

// What an install leaves.
struct Plan {
    std::string target = "<Scratch>\\Qantivo";
    bool allUsers = false;
    std::string group = "Qantivo 8";
    bool desktopIcon = true;
    bool autoStart = false;
};
// All together: files, group, shortcuts, registry, with the application's own registration and the handler's.
State Installed(const Plan& plan);
State InstalledFiles(const std::string& target);
State PortableFiles(const std::string& target);

// `base` with the items of `more` put in; an item "" in `more` is taken out.
State With(State base, const State& more);

// Compares item by item, and prints only what differs.
::testing::AssertionResult Same(const State& expected, const State& actual);

// Paths of the machine in a text as the names above, and back.
std::string Neutral(std::string text);
std::string Narrow(const Text& text);
Text Where(std::string text);
