// The machine that a rehearsal acts on: on the host an embedded one, which the process has entered, under
// Wine the prefix.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace rehearse {

// What a program showed, with the button that it got for an answer, or what became of it instead.
struct Message {
    std::string caption;
    std::string text;
    std::string answer;
};

struct Outcome {
    bool started = false;
    DWORD exitCode = 0;                 // of the program named; the system's error when it didn't start
    std::vector<std::string> programs;  // command lines of those that it and they started
    std::vector<Message> messages;
};

// Runs a program with all that it starts to the end. Nobody sits at the machine: a message box gets its
// safest answer (No, else Cancel, else OK), a program that shows a page to a person is ended, and so is what
// still runs 30 seconds after the program itself, which has five minutes. Texts are UTF-8.
Outcome RunToEnd(const std::string& commandLine, const std::string& folder);

// The next start: carries out what was put off until then.
void Restart();

inline constexpr DWORD kProgramMs = 300000;
inline constexpr DWORD kRestMs = 30000;
// How Windows ends the programs of a user who logs off.
inline constexpr DWORD kSessionEnded = 0x40010004;
inline const Message kPageForAPerson = {"", "a page that waits for a person", "the program was ended"};
inline const Message kStillRunning = {"", "programs were still running", "they were ended"};

std::string ButtonName(int button);

}  // namespace rehearse
