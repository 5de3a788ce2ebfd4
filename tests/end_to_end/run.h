// End-to-end runs: the built programs run from a real package folder, and the whole machine is compared before and after.
#pragma once

#include "harness/driver.h"
#include "lab/lab.h"

// Everything on the machine, by its neutral name. A file that equals one of the package names that one: "= QtvApp8.exe".
using lab::Neutral;
using lab::State;

class EndToEndTest : public ScratchTest {
  protected:
    // Copies the sample package to C:\Scratch\package and stores the state before.
    EndToEndTest();

    // Runs setup.exe of the package with the arguments, waits for everything that it starts, and returns its exit code.
    // Meanwhile a person uses its wizard.
    using Person = std::function<void(const Driver& wizard)>;
    DWORD Setup(const Text& arguments, const Person& person = {});
    // Runs the uninstaller of the folder, with its temporary copy, until both have ended. Returns the exit code of the first.
    DWORD Uninstall(const Text& folder);
    // The present state of the machine becomes the state before.
    void Rebase();
    // Returns what is new, gone ("gone") or different since the state before.
    State Changes() const;

    static const Text package;
    static const Text target;

  private:
    lab::State m_before;
};

// The choices of an install that decide what it leaves.
struct Plan {
    std::string target = "C:\\Scratch\\Qantivo";
    bool allUsers = false;
    std::string group = "Qantivo 8";
    bool desktopIcon = true;
    bool autoStart = false;
};
// Everything together: files, group, shortcuts, registry, and what the application and the handler register.
State Installed(const Plan& plan);
State PortableFiles(const std::string& target);

// The boot-time marks with these texts, in order.
State Marks(const std::vector<std::string>& what);
// If the command line names the folder, setup cleans it first, as for an update: the folders of "Make Dir: " records
// that don't exist yet are marked. When the marks are carried out, these folders are in use.
State FolderMarks(const std::string& target);

// Returns `base` with the items of `more` added. An item "" in `more` is removed.
State With(State base, const State& more);

// Compares item by item, and prints only the differences.
::testing::AssertionResult Same(const State& expected, const State& actual);

// Starts the application of the folder, and waits until it is in the list and shows its window.
RunningProgram StartCopy(const Text& folder, LPCWSTR option = TEXT(" -show"));

// The path on this machine of something with a neutral name.
Text Where(std::string name);
