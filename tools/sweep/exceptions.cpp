#include "sweep/exceptions.h"

#include <fnmatch.h>

#include <sstream>

// Places of the machine that patterns are made of.
#define TARGET "C:\\Program Files\\Qantivo 8\\"
#define LOG TARGET "QtvUnInst.log"
#define GROUP "C:\\ProgramData\\Microsoft\\Windows\\Start Menu\\Programs\\Qantivo 8\\"
#define PROBE "C:\\ProgramData\\Microsoft\\Windows\\Start Menu\\Programs\\Startup\\q8t.tmp: *"
#define LINKS \
    GROUP     \
    "*|C:\\Users\\Public\\Desktop\\Qantivo 8.lnk: *|log: Made Dir: *|log: Shell Link: *"
#define HIDDEN_LIBRARY "C:\\Package\\runtime9.dll*"
#define COPY "C:\\Users\\Ann\\AppData\\Local\\Temp\\uni.tmp: *"
// Everything that differs between an installation for all users and one for the current user.
#define OTHER_SCOPE                                                                                      \
    GROUP                                                                                                \
    "*: gone|C:\\Users\\Public\\Desktop\\Qantivo 8.lnk: gone|C:\\Users\\Ann\\Desktop\\Qantivo 8.lnk: *|" \
    "C:\\Users\\Ann\\*\\Programs\\Qantivo 8\\*|log: *|* : AllUsers: REG_SZ \"A\""

namespace sweep {

namespace {

bool Matches(std::string_view patterns, const std::string& text) {
    while (!patterns.empty()) {
        const auto end = std::min(patterns.find('|'), patterns.size());
        if (fnmatch(std::string(patterns.substr(0, end)).c_str(), text.c_str(), FNM_NOESCAPE) == 0)
            return true;
        patterns.remove_prefix(std::min(end + 1, patterns.size()));
    }
    return false;
}

}  // namespace

const std::vector<Case>& Cases() {
    static const std::vector<Case> cases = {
        // ---- repaired by another run and a restart ----
        {"Update: a product file is missing",
         "copying it fails, or the process is killed just before",
         "the old file is deleted before the new one is copied",
         {{Stage::AtOnce, "update", "CopyFileW|kill:CopyFileW|kill:DeleteFileW|kill:MoveFileExW",
           TARGET "*: gone"}}},
        {"Update: shortcuts, their group or their records in the log are missing",
         "making them fails, or the process is killed before",
         "those of the earlier installation are deleted first, and made again last",
         {{Stage::AtOnce, "update",
           "kill:*|CoInitialize|CoCreateInstance|IUnknown::QueryInterface|IPersistFile::Save|LoadStringW|"
           "CreateDirectoryW|_waccess|WriteFile|_wfopen",
           GROUP "*: gone|C:\\Users\\Public\\Desktop\\Qantivo 8.lnk: gone|log: *: gone"}}},
        {"Capabilities name the application instead of `Qantivo.8`",
         "the version of the system can't be read",
         "a system of unknown version is treated as an old one",
         {{Stage::AtOnce, "install*|update", "GetModuleHandleW|GetProcAddress|RtlGetVersion",
           "HKLM\\SOFTWARE\\Lorvanta\\Qantivo 8\\Capabilities\\FileAssociations\\ : *"}}},
        {"A shortcut without its target or working folder",
         "the shell refuses it, or returns no folder",
         "the shortcut is saved without it",
         {{Stage::AtOnce, "install*|update",
           "IShellLinkW::SetPath|IShellLinkW::SetWorkingDirectory|SHGetFolderPathW",
           "*.lnk: shortcut to *"}}},
        {"A shortcut without a name (`.lnk`), an empty `DisplayName`",
         "a text of the program can't be read",
         "the text is empty; the log names the shortcut nevertheless",
         {{Stage::AtOnce, "install*|update", "LoadStringW",
           "*\\.lnk: shortcut to *|log: Shell Link: *\\.lnk: *|*DisplayName: REG_SZ \"\""}}},
        {"A log without the manifest, or an old log with further records",
         "copying or opening it fails",
         "records are appended to the log that is there",
         {{Stage::AtOnce, "install*|update", "CopyFileW|FindFirstFileW|_waccess|_wfopen|WriteFile",
           LOG ": a log of manifest *|log: *: once|log: *: 2 times"}}},
        {"A library of the package is named `.toinst`",
         "renaming it back fails, or the process is killed before",
         "it is hidden while setup looks for another one; the next run restores its name",
         {{Stage::AtOnce, "install*|update", "MoveFileW|kill:MoveFileW|kill:LoadLibraryW",
           "C:\\Package\\runtime9.dll*"}}},
        {"Files `.old` and `.new`, and more marks",
         "a delete or a rename fails",
         "a file that can't be deleted is moved aside; if it can't be moved, the new file waits next to "
         "it for the next start",
         {{Stage::AtOnce, "update", "DeleteFileW|MoveFileW", TARGET "*.old: *|" TARGET "*.new: *|mark: *"}}},
        {"Uninstall: marks for files, and for the program group and the Programs folder",
         "a delete fails, or the log can't be read",
         "a file that can't be deleted is marked. The pattern for the group also matches the folder "
         "itself and its parent, but only an empty folder is deleted",
         {{Stage::AtOnce, "uninstall", "DeleteFileW|WaitForSingleObject", "mark: delete " TARGET "*"},
          {Stage::AtOnce, "uninstall", "DeleteFileW|RemoveDirectoryW|_wfopen|ReadFile",
           "mark: delete C:\\ProgramData\\Microsoft\\Windows\\Start Menu\\Programs*"}}},
        {"A product file in use has the system attribute",
         "its attributes can't be read",
         "they are written back nevertheless",
         {{Stage::AtOnce, "update|uninstall", "GetFileAttributesW", TARGET "*: file S *"}}},
        {"The uninstaller's copy runs in the Windows folder",
         "the environment can't be read",
         "the Windows folder is then the temporary folder",
         {{Stage::AtOnce, "uninstall", "GetEnvironmentVariableW", "*C:\\Windows\\uni.tmp: *"}}},

        // ---- repaired by a restart, another run and a restart ----
        {"Update: a file that was held is missing",
         "its replacement could not be stored next to it or marked, or the process was killed before",
         "its old delete mark deletes the file that the second run put there",
         {{Stage::Second, "update", "CopyFileW|MoveFileExW|kill:CopyFileW|kill:DeleteFileW|kill:MoveFileExW",
           TARGET "presets.dat: gone"}}},

        // ---- repaired by installing and uninstalling once more ----
        {"Uninstall: files of the product",
         "the log or a folder can't be read",
         "the log is deleted nevertheless, and their names are lost",
         {{Stage::Lasting, "uninstall", "FindFirstFileW|FindNextFileW|_wfopen|ReadFile", TARGET "*"}}},
        {"Uninstall: a product file that was in use",
         "its mark is refused",
         "the log that names it is deleted nevertheless",
         {{Stage::Lasting, "uninstall", "MoveFileExW", TARGET "*"}}},
        {"Uninstall: the thumbnail handler's registration",
         "`regsvr32.exe` can't be started or waited for, or the version of the system can't be read",
         "the handler no longer exists at the second run",
         {{Stage::Lasting, "uninstall",
           "CreateProcessW|GetModuleHandleW|GetProcAddress|RtlGetVersion|WaitForSingleObject",
           "HKLM\\SOFTWARE\\Classes\\CLSID\\*"}}},
        {"A library of the package is named `.toinst`; the thumbnail handler's registration",
         "an uninstaller ends a setup that has hidden the library, or whose registrar still runs",
         "the next install restores the name; the uninstaller no longer finds the handler",
         {{Stage::Lasting, "uninstall", "two:*", HIDDEN_LIBRARY "|HKLM\\SOFTWARE\\Classes\\CLSID\\*"},
          {Stage::AtOnce, "install|uninstall", "two:*", HIDDEN_LIBRARY}}},

        // ---- never repaired ----
        {"An installation for the current user instead of all users",
         "`AllUsers` can't be written by a first install, or read by an update",
         "without `AllUsers` a folder counts as one for the current user; uninstall and install again",
         {{Stage::ForGood, "install*", "RegCreateKeyW|RegSetValueExW", OTHER_SCOPE},
          {Stage::ForGood, "update", "RegOpenKeyExW|RegQueryValueExW", OTHER_SCOPE},
          {Stage::AtOnce, "update", "RegOpenKeyExW|RegQueryValueExW", OTHER_SCOPE}}},
        {"The wizard's install: shortcuts for the current user, or in a folder `\\Qantivo 8`",
         "the wizard's fields can't be read",
         "what can't be read counts as empty or as not chosen; uninstall and install again",
         {{Stage::ForGood, "install-wizard", "GetWindow|SendMessageW", OTHER_SCOPE "|" GROUP "*"},
          {Stage::AtOnce, "install-wizard", "GetWindow|SendMessageW", OTHER_SCOPE "|C:\\Qantivo 8\\*"}}},
        {"Update: a file `.old` or `.new`",
         "its mark is refused, or the process is killed after putting it aside and before marking it",
         "no record of it is left; you may delete it",
         {{Stage::ForGood, "update", "MoveFileExW|kill:MoveFileExW",
           TARGET "*.old: file *|" TARGET "*.new: file *"}}},
        {"Update: `q8t*.tmp` in the Startup folder of all users",
         "the test whether a file can be created there fails half-way",
         "nothing looks for it again",
         {{Stage::ForGood, "update", "_wfopen|DeleteFileW|kill:_wfopen|kill:DeleteFileW", PROBE},
          {Stage::AtOnce, "update", "_wfopen|DeleteFileW|kill:_wfopen|kill:DeleteFileW", PROBE}}},
        {"Uninstall: `uni*.tmp` in the temporary folder",
         "the copy can't be made, started or marked, or the process is killed before the copy has marked "
         "itself",
         "the copy is deleted by a mark that it places first",
         {{Stage::ForGood, "uninstall", "GetModuleFileNameW|CopyFileW|_wexecl|MoveFileExW|kill:*", COPY},
          {Stage::AtOnce, "uninstall", "GetModuleFileNameW|CopyFileW|kill:CopyFileW|kill:GetModuleFileNameW",
           COPY}}},
        {"`WININIT.INI` in the Windows folder",
         "a mark is refused",
         "the mark is added to this older list, which only Windows 95, 98 and Me carry out",
         {{Stage::ForGood, "update|uninstall", "MoveFileExW", "C:\\Windows\\WININIT.INI: *"},
          {Stage::AtOnce, "update|uninstall", "MoveFileExW", "C:\\Windows\\WININIT.INI: *"}}},

        // ---- the power goes during a call ----
        {"",
         "",
         "A copy has its whole size from the start, and zeros where it was not yet written",
         {{Stage::AtOnce, "install|update", "power:CopyFileW", TARGET "*: file *|" LOG ": *|log: *"}}},
        {"", "", "A record is cut", {{Stage::AtOnce, "install|update", "power:WriteFile", "log: *: once"}}},
        {"", "", "A shortcut is cut", {{Stage::AtOnce, "install|update", "power:IPersistFile::Save", LINKS}}},
        {"",
         "",
         "The library of the package is hidden while setup looks for another one",
         {{Stage::AtOnce, "install|update", "power:MoveFileW", HIDDEN_LIBRARY}}},
        {"",
         "",
         "Shortcuts and group of the earlier installation are deleted first, and made again last",
         {{Stage::AtOnce, "update", "power:*", LINKS}}},
        {"",
         "",
         "The old file is deleted before the new one is copied. If the restart is cut too, the delete mark "
         "of "
         "a held file is carried out a second time and deletes the file that has replaced it",
         {{Stage::AtOnce, "update", "power:*", TARGET "*: gone"}}},
        {"",
         "",
         "Nobody looks for it again",
         {{Stage::AtOnce, "update", "power:_wfopen|power:DeleteFileW", PROBE},
          {Stage::ForGood, "update", "power:_wfopen|power:DeleteFileW", PROBE}}},
        {"",
         "",
         "If a file was moved aside or waits, and its mark isn't placed, nothing knows about it",
         {{Stage::ForGood, "update", "power:CopyFileW|power:MoveFileExW",
           TARGET "*.old: file *|" TARGET "*.new: file *"}}},
        {"",
         "",
         "An update takes the group's name from the log. If its record is cut, the shortcuts are made in "
         "another group, or directly in the Programs folder. The uninstall finds them in the log",
         {{Stage::ForGood, "update", "power:WriteFile", "*Start Menu\\Programs*|log: *"}}},
        {"",
         "",
         "The temporary copy is deleted by the mark that it places first",
         {{Stage::AtOnce, "uninstall", "power:CopyFileW", COPY},
          {Stage::ForGood, "uninstall", "power:*", COPY}}},

        // ---- the disc is full ----
        {"",
         "",
         "A file or record without room is left out",
         {{Stage::AtOnce, "install|update", "full:*", TARGET "*: gone|" LOG ": *|log: *|" LINKS}}},
        {"",
         "",
         "Without its mark, what was moved aside or copied to run stays; the older list is made",
         {{Stage::AtOnce, "update|uninstall", "full:*",
           TARGET "*.old: *|" TARGET "*.new: *|C:\\Windows\\WININIT.INI: *"},
          {Stage::ForGood, "update|uninstall", "full:*",
           TARGET "*.old: file *|" TARGET "*.new: file *|C:\\Windows\\WININIT.INI: file *|" COPY}}},
        {"",
         "",
         "The second run puts the file where the delete mark of the first one deletes it",
         {{Stage::Second, "update", "full:*", TARGET "*: gone"}}},

        // ---- two at once: each may close the other one at any time ----
        {"",
         "",
         "Without `AllUsers`, a folder counts as an installation for the current user",
         {{Stage::ForGood, "install", "two:*", OTHER_SCOPE "|" GROUP "*"}}},
        {"",
         "",
         "Nobody looks again for a copy, a file that was put aside or a test file without a mark",
         {{Stage::ForGood, "install|uninstall", "two:*",
           COPY "|" PROBE "|" TARGET "*.old: file *|" TARGET "*.new: file *"}}},

        // ---- not about the machine: how often the copy makes these calls is a matter of chance. If the first process
        // still runs, the copy sends it a message. If not, the copy makes the list anew, which is one more access. ----
        {"",
         "",
         "",
         {{Stage::Run, "uninstall",
           "kill:EnumWindows|kill:PostMessageW|kill:MapViewOfFile|kill:WaitForSingleObject|kill:ReleaseMutex|"
           "kill:UnmapViewOfFile",
           "the run: the call to be killed at was not reached"}}},
    };
    return cases;
}

std::string CaseTable(Stage stage) {
    std::string table = "| what is left | when | why |\n|---|---|---|\n";
    for (const Case& each : Cases())
        if (*each.left && each.exceptions[0].stage == stage)
            table += std::string("| ") + each.left + " | " + each.when + " | " + each.why + " |\n";
    return table;
}

bool IsOf(const Exception& exception, const std::string& prefix) {
    std::istringstream calls(exception.calls);
    for (std::string call; std::getline(calls, call, '|');) {
        const bool others =
            call.starts_with("power:") || call.starts_with("full:") || call.starts_with("two:");
        if (prefix.empty() ? !others : call.starts_with(prefix)) return true;
    }
    return false;
}

const Exception* FindException(const std::string& scenario, const std::string& call, const Problem& problem) {
    for (const Case& each : Cases())
        for (const Exception& exception : each.exceptions)
            if (exception.stage == problem.stage && Matches(exception.scenarios, scenario) &&
                Matches(exception.calls, call) &&
                Matches(exception.items, problem.item + ": " + problem.what))
                return &exception;
    return nullptr;
}

const Exception* FindException(const Scenario& scenario, const Disturbance& disturbance,
                               const Problem& problem) {
    return FindException(scenario.name, (disturbance.kills ? "kill:" : "") + disturbance.call, problem);
}

}  // namespace sweep
