// The laboratory: runs a program on a machine, disturbed or not, and says what happened and what the machine holds. On
// the host the machine is an embedded one that this process has entered, under Windows it is the running system, which
// is a Wine prefix. All texts are UTF-8.
#pragma once

#include <windows.h>

#include <functional>
#include <map>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "common/text.h"

namespace lab {

// ---- what a machine holds ----

// The name of an item, and what it is:
//   "C:\Folder\"               "folder"
//   "C:\Folder\file.txt"       "file RHS 123 bytes 0123456789abcdef" (attributes that are set, size, digest; without a
//                              digest for a program of the system under Windows; "held" for a file that is not shared)
//   "C:\Folder\link.lnk"       "shortcut to C:\target.exe in C:\working folder"
//   "HKLM\SOFTWARE\Key\"       "key"
//   "HKLM\SOFTWARE\Key\ : name"    "REG_SZ "text"" (the default value is named (default))
//   "mark 001"                 "delete C:\path" or "move C:\a to C:\b"
//   "shared memory NAME"       "there" (the list of running copies, when no program that uses it runs any more)
using State = std::map<std::string, std::string>;

// Reads drives C and D, all keys of the machine and of every user, and the marks, except for what IsLeftOut names. Throws
// std::runtime_error if anything else can't be read.
State Take();

// The machine as the proof compares it. Names are neutral, and in addition:
//   - a mark is named by what it does ("mark: delete C:\x"), and its value is its places in the list
//   - the product's log is one item for the manifest in it ("a log of manifest ..."), and one for each record after that
//   - the number of starts that the sample application counts is left out
State Look();

// The boot-time marks, in order: source, and target, which is empty for a delete; "!" before a target that may be
// replaced.
using Mark = std::pair<tools::WideText, tools::WideText>;
std::vector<Mark> Marks();

// One item that differs, by name.
struct Change {
    char kind;  // '+' new, '-' gone, '*' changed
    std::string name;
    std::string before;  // empty for '+'
    std::string after;   // empty for '-'
};
std::vector<Change> Differences(const State& before, const State& after);

// Whether nothing has changed in the key, or below it, since the last call with this name. Under Wine each value is read by another
// process, and reading all of them takes longer than an install. False for the first call, and on an embedded machine.
bool IsUnchanged(HKEY key, const std::string& name);

// Texts that differ between machines, each with a name. If one path contains another, the inner one is first. The first
// call makes missing shell folders.
const std::vector<std::pair<std::string, std::string>>& Names();

// The text with names instead of what differs from machine to machine: <Desktop>, <CommonDesktop>, <Programs>,
// <Startup> and so on for folders of the shell, <Temp>, HKCU for the user's own key below HKEY_USERS, and uni*.tmp and
// q8t*.tmp for temporary files of the product.
std::string Neutral(std::string text);

// ---- what is known to differ from Windows ----

// On the host, the system is an embedded machine.
inline constexpr bool kIsEmbedded = std::is_same_v<WCHAR, char16_t>;
// Whether the running system is Wine. As root, Wine overwrites read-only files. Its 8.3 names are different ones. A
// box of Yes and No ends when it is told to close.
bool UnderWine();
// Returns what the running system must answer to a fact. This is `windows`, or under Wine the answer for the fact in the
// table in deviations.cpp.
std::string Expected(const std::string& fact, const std::string& windows);
std::string WinesAnswer(const std::string& fact, const std::string& windows);
// Whether the item is in the table of what no state holds, in deviations.cpp.
bool IsLeftOut(const std::string& name);

// ---- a machine that is somebody's ----

// Whether the machine also holds what isn't the tests' concern: where the kit runs, which sets QTV_KIT. Others change a
// Windows at any time, and their names are nobody's business. States then hold only what is touched.
bool IsSomebodys();
// What setup and the tests may change, by the beginnings of the names of items of Take: the table in touched.cpp. HKU\* are the
// keys of every user, *.dl is the private folder of a download.
const std::vector<std::string>& Touched();
// Whether this item is among them.
bool IsTouched(const std::string& name);
// Whether such items may lie below this folder or key.
bool LeadsToTouched(const std::string& name);
// The name of an item with HKU\* for a user.
std::string OfEveryUser(std::string name);

// ---- what a machine does ----

// A message box of a program, and the button that answered it or what happened instead.
struct Message {
    std::string caption;
    std::string text;
    std::string answer;
};

enum class End {
    ByItself,
    NobodyThere,  // a program showed a page and nobody used it
    GivenUp,      // a page did not end, however often its default button was pressed, and then Cancel
    Late,         // it still ran when the time was over
};

struct Outcome {
    bool started = false;
    DWORD exitCode = 0;                 // of the program; the error of the system if it did not start
    End end = End::ByItself;            // of everything that was started
    std::vector<std::string> programs;  // command lines of all programs that were started by it or by these
    std::vector<std::string> pages;     // what the shell opened; on the host only
    std::vector<Message> messages;      // boxes, and what else a person would have seen
    std::string errors;                 // what the programs wrote to standard error; on the host only
};

struct Conditions {
    std::string folder = "C:\\";
    // The rest is for embedded machines only. If somebody uses the machine, boxes get these answers (button ids, in
    // order), and the default button of each page is pressed. Without a person, a program that shows a page is ended.
    bool isAttended = false;
    std::vector<int> answers = {};
    std::function<void()> meanwhile = {};  // called when the program has started
    // What the person does to pages instead, again and again, until all programs have ended. Returns whether a button was pressed.
    std::function<bool()> press = {};
};

// Runs a program and everything that it starts, to the end. A program that hangs is ended after tools::kHangMs, and what
// it started as long after its end. A message box gets its safest answer (No, else Cancel, else OK).
Outcome Run(const std::string& commandLine, const Conditions& conditions);

// The next start of the machine: carries out the boot-time marks. Returns false if it failed.
bool Restart();
// A Windows that isn't Wine can't do it beneath a running program.
inline bool CanRestart() {
    return kIsEmbedded || UnderWine();
}

// The exit code with which Windows ends the programs of a user who logs off.
inline constexpr DWORD kSessionEnded = 0x40010004;
inline const Message kPageForAPerson = {"", "a page that waits for a person", "the program was ended"};
inline const Message kStillRunning = {"", "programs were still running", "they were ended"};

// Returns the name of a button id, such as "OK".
std::string ButtonName(int button);

}  // namespace lab
