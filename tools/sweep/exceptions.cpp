#include "sweep/exceptions.h"

#include <fnmatch.h>

#include <sstream>

// Places of the machine, to be put together with patterns.
#define TARGET "C:\\Program Files\\Qantivo 8\\"
#define LOG TARGET "QtvUnInst.log"
#define GROUP "C:\\ProgramData\\Microsoft\\Windows\\Start Menu\\Programs\\Qantivo 8\\"
#define PROBE "C:\\ProgramData\\Microsoft\\Windows\\Start Menu\\Programs\\Startup\\q8t.tmp: *"
#define LINKS \
    GROUP     \
    "*|C:\\Users\\Public\\Desktop\\Qantivo 8.lnk: *|log: Made Dir: *|log: Shell Link: *"
#define COPY "C:\\Users\\Ann\\AppData\\Local\\Temp\\uni.tmp: *"
// All that differs between an installation for all users and one for the current user.
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

const std::vector<Exception>& Exceptions() {
    static const std::vector<Exception> exceptions = {
        // ---- put right by another run and a restart ----
        {Stage::AtOnce, "update", "CopyFileW|kill:CopyFileW|kill:DeleteFileW|kill:MoveFileExW",
         TARGET "*: gone", "The old file goes before the new one is copied."},
        {Stage::AtOnce, "update",
         "kill:*|CoInitialize|CoCreateInstance|IUnknown::QueryInterface|IPersistFile::Save|LoadStringW|"
         "CreateDirectoryW|_waccess|WriteFile|_wfopen",
         GROUP "*: gone|C:\\Users\\Public\\Desktop\\Qantivo 8.lnk: gone|log: *: gone",
         "Shortcuts and group of the earlier installation go first, and are made again last."},
        {Stage::AtOnce, "install|update", "GetModuleHandleW|GetProcAddress|RtlGetVersion",
         "HKLM\\SOFTWARE\\Lorvanta\\Qantivo 8\\Capabilities\\FileAssociations\\ : *",
         "A system of unknown version is taken for an old one, whose associations go by the application's "
         "name."},
        {Stage::AtOnce, "install|update",
         "IShellLinkW::SetPath|IShellLinkW::SetWorkingDirectory|SHGetFolderPathW", "*.lnk: shortcut to *",
         "A shortcut is saved without what could not be set."},
        {Stage::AtOnce, "install|update", "LoadStringW",
         "*\\.lnk: shortcut to *|log: Shell Link: *\\.lnk: *|*DisplayName: REG_SZ \"\"",
         "A text of the program that can't be read is empty; the log names the shortcut all the same."},
        {Stage::AtOnce, "install|update", "CopyFileW|FindFirstFileW|_waccess|_wfopen|WriteFile",
         LOG ": a log of manifest *|log: *: once|log: *: 2 times",
         "Records go behind whatever log stands there, an old one or none."},
        {Stage::AtOnce, "install|update",
         "MoveFileW|kill:MoveFileW|kill:LoadLibraryW|kill:GetEnvironmentVariableW",
         "C:\\Package\\runtime9.dll*",
         "A library of the package is hidden while another one is looked for; the next run gives its name "
         "back."},
        {Stage::AtOnce, "update", "DeleteFileW|MoveFileW", TARGET "*.old: *|" TARGET "*.new: *|mark: *",
         "What can't be deleted is moved aside; what can't be moved waits for the next start beside it."},
        {Stage::AtOnce, "uninstall", "DeleteFileW|WaitForSingleObject", "mark: delete " TARGET "*",
         "What can't be deleted is marked for the next start."},
        {Stage::AtOnce, "uninstall", "DeleteFileW|RemoveDirectoryW|_wfopen|ReadFile",
         "mark: delete C:\\ProgramData\\Microsoft\\Windows\\Start Menu\\Programs*",
         "A group that is left is swept by a pattern that takes the folder's own entries; only an empty "
         "folder goes."},
        {Stage::AtOnce, "update|uninstall", "GetFileAttributesW", TARGET "*: file S *",
         "Attributes that can't be read are written back all the same."},
        {Stage::AtOnce, "uninstall", "GetEnvironmentVariableW", "*C:\\Windows\\uni.tmp: *",
         "Without its variables the system's temporary folder is the Windows folder."},

        // ---- put right by a restart, another run and a restart ----
        {Stage::Second, "update", "CopyFileW|MoveFileExW|kill:CopyFileW|kill:DeleteFileW|kill:MoveFileExW",
         TARGET "presets.dat: gone",
         "The delete mark of a held file is carried out at the restart, on the file that the second run put "
         "there."},

        // ---- put right by installing and uninstalling once more ----
        {Stage::Lasting, "uninstall", "FindFirstFileW|FindNextFileW|_wfopen|ReadFile", TARGET "*",
         "The log goes, whatever came of reading it, and with it the names of the files left."},
        {Stage::Lasting, "uninstall", "CreateProcessW|GetModuleHandleW|GetProcAddress|RtlGetVersion",
         "HKLM\\SOFTWARE\\Classes\\CLSID\\*",
         "The handler that didn't unregister itself has gone by the second run."},
        {Stage::Lasting, "uninstall", "MoveFileExW", TARGET "*",
         "A held file stays when its mark is refused, and the log that names it goes."},

        // ---- for good ----
        {Stage::ForGood, "install", "RegCreateKeyW|RegSetValueExW", OTHER_SCOPE,
         "A folder without `AllUsers` beside it reads as an installation for the current user."},
        {Stage::ForGood, "update", "RegOpenKeyExW|RegQueryValueExW", OTHER_SCOPE,
         "An `AllUsers` that can't be read stands for the current user, and is written so."},
        {Stage::AtOnce, "update", "RegOpenKeyExW|RegQueryValueExW", OTHER_SCOPE, "As above."},
        {Stage::ForGood, "update", "MoveFileExW|kill:MoveFileExW",
         TARGET "*.old: file *|" TARGET "*.new: file *",
         "A file moved aside or waiting whose mark isn't placed is known to nobody."},
        {Stage::ForGood, "update", "_wfopen|DeleteFileW|kill:_wfopen|kill:DeleteFileW", PROBE,
         "The file that tries whether a folder can be written is not looked for again."},
        {Stage::AtOnce, "update", "_wfopen|DeleteFileW|kill:_wfopen|kill:DeleteFileW", PROBE, "As above."},
        {Stage::ForGood, "uninstall", "GetModuleFileNameW|CopyFileW|_wexecl|MoveFileExW|kill:*", COPY,
         "The uninstaller's temporary copy goes by the mark that it places as its first act."},
        {Stage::AtOnce, "uninstall", "GetModuleFileNameW|CopyFileW|kill:CopyFileW|kill:GetModuleFileNameW",
         COPY, "As above."},
        {Stage::ForGood, "update|uninstall", "MoveFileExW", "C:\\Windows\\WININIT.INI: *",
         "A refused mark goes into the older list of them, which the system leaves as it is."},

        // ---- the power goes in the midst of a call ----
        {Stage::AtOnce, "install|update", "power:CopyFileW", TARGET "*: file *|" LOG ": *|log: *",
         "A copy has its whole size from the start, and zeros where it was not yet written."},
        {Stage::AtOnce, "install|update", "power:WriteFile", "log: *: once", "A record is cut."},
        {Stage::AtOnce, "install|update", "power:IPersistFile::Save", LINKS, "A shortcut is cut."},
        {Stage::AtOnce, "install|update", "power:MoveFileW", "C:\\Package\\runtime9.dll*",
         "The library of the package is hidden while another one is looked for."},
        {Stage::AtOnce, "update", "power:*", LINKS,
         "Shortcuts and group of the earlier installation go first, and are made again last."},
        {Stage::AtOnce, "update", "power:*", TARGET "*: gone",
         "The old file goes before the new one is copied; and the delete mark of a held file is carried out "
         "a "
         "second time, on the file that has taken its place, when the restart is cut as well."},
        {Stage::AtOnce, "update", "power:_wfopen|power:DeleteFileW", PROBE, "Nobody looks for it again."},
        {Stage::ForGood, "update", "power:_wfopen|power:DeleteFileW", PROBE, "As above."},
        {Stage::ForGood, "update", "power:CopyFileW|power:MoveFileExW",
         TARGET "*.old: file *|" TARGET "*.new: file *",
         "A file moved aside or waiting whose mark isn't placed is known to nobody."},
        {Stage::ForGood, "update", "power:WriteFile", "*Start Menu\\Programs*|log: *",
         "An update takes the group's name from the log; where its record is cut, the shortcuts go into "
         "another "
         "group, or right into the Programs folder. The uninstall finds them by the log."},
        {Stage::AtOnce, "uninstall", "power:CopyFileW", COPY,
         "The temporary copy goes by the mark that it places as its first act."},
        {Stage::ForGood, "uninstall", "power:*", COPY, "As above."},

        // ---- the disc is full ----
        {Stage::AtOnce, "install|update", "full:*", TARGET "*: gone|" LOG ": *|log: *|" LINKS,
         "What finds no room is left out."},
        {Stage::AtOnce, "update", "full:*",
         TARGET "*.old: *|" TARGET "*.new: *|C:\\Windows\\wininit.*|C:\\Windows\\WININIT.INI*",
         "Without room for a mark, what was moved aside stays, and an empty list of the older kind is made."},
        {Stage::ForGood, "update", "full:*",
         TARGET "*.old: file *|" TARGET "*.new: file *|C:\\Windows\\wininit.bak: *", "As above."},

        // ---- two at once: each may be closed by the other one, anywhere ----
        {Stage::ForGood, "install", "two:*", OTHER_SCOPE "|" GROUP "*",
         "A folder without `AllUsers` beside it reads as an installation for the current user."},
        {Stage::ForGood, "uninstall", "two:*", COPY,
         "The uninstaller's temporary copy goes by the mark that it places as its first act."},

        // ---- no matter of the machine ----
        {Stage::Run, "uninstall", "kill:EnumWindows|kill:PostMessageW",
         "the run: the call to be killed at was not reached",
         "The copy tells of itself to the first process, if that one is still there."},
    };
    return exceptions;
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
    for (const Exception& exception : Exceptions())
        if (exception.stage == problem.stage && Matches(exception.scenarios, scenario) &&
            Matches(exception.calls, call) && Matches(exception.items, problem.item + ": " + problem.what))
            return &exception;
    return nullptr;
}

const Exception* FindException(const Scenario& scenario, const Disturbance& disturbance,
                               const Problem& problem) {
    return FindException(scenario.name, (disturbance.kills ? "kill:" : "") + disturbance.call, problem);
}

}  // namespace sweep
