// The machine of a rehearsal: on the host an embedded machine that the process has entered, under Wine the prefix.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

namespace rehearse {

// A message box of a program, and the button that answered it or what happened instead.
struct Message {
    std::string caption;
    std::string text;
    std::string answer;
};

struct Outcome {
    bool started = false;
    bool finished = true;               // whether all programs ended before they were ended as hanging
    DWORD exitCode = 0;                 // of the program; the error of the system if it did not start
    std::vector<std::string> programs;  // command lines of all programs that were started by it or by these
    std::vector<Message> messages;
};

// Runs a program and everything that it starts, to the end. Nobody uses the machine: a message box gets its safest
// answer (No, else Cancel, else OK). A program that shows a page to a person is ended. Programs that hang are ended after
// tools::kHangMs, and again so long after the end of the first one. Texts are UTF-8.
Outcome RunToEnd(const std::string& commandLine, const std::string& folder);

// The next start of the machine: carries out the boot-time marks. Returns false if it hangs.
bool Restart();

// The exit code with which Windows ends the programs of a user who logs off.
inline constexpr DWORD kSessionEnded = 0x40010004;
inline const Message kPageForAPerson = {"", "a page that waits for a person", "the program was ended"};
inline const Message kStillRunning = {"", "programs were still running", "they were ended"};

// Returns the name of a button id, such as "OK".
std::string ButtonName(int button);

}  // namespace rehearse
