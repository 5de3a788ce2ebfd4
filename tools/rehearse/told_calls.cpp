#include "rehearse/told_calls.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>
#include <vector>

#include "lab/lab.h"

namespace rehearse {

namespace {

// One line of a trace. core/trace.h of the embedded machine describes it.
struct Call {
    std::string program, name, error;
    std::map<std::string, std::string> arguments;

    explicit Call(const std::string& line) {
        std::istringstream fields(line);
        std::string process;
        std::getline(fields, program, '\t');
        std::getline(fields, process, '\t');
        std::getline(fields, name, '\t');
        for (std::string field; std::getline(fields, field, '\t');) {
            const auto equals = field.find('=');
            if (field.starts_with("error "))
                error = field;
            else if (equals > 0 && equals != field.npos)
                arguments[field.substr(0, equals)] = field.substr(equals + 1);
        }
    }
    std::string operator[](const std::string& argument) const {
        const auto found = arguments.find(argument);
        return found == arguments.end() || found->second == "null" ? "" : found->second;
    }
};

// What a call does, and the names of its arguments that say to what.
struct Deed {
    const char* call;
    const char* done;
    const char* undone;
    const char* what;
    const char* between = "";
    const char* to = "";
};
constexpr Deed kDeeds[] = {
    {"CopyFileW", "copied", "not copied", "source", " to ", "target"},
    {"MoveFileW", "moved", "not moved", "source", " to ", "target"},
    {"MoveFileExW", "moved", "not moved", "source", " to ", "target"},
    {"DeleteFileW", "deleted", "not deleted", "path"},
    {"CreateDirectoryW", "made folder", "folder not made", "path"},
    {"RemoveDirectoryW", "deleted folder", "folder not deleted", "path"},
    {"WritePrivateProfileSectionW", "kept for the next start, in", "not kept for the next start, in", "file"},
    {"IPersistFile::Save", "made shortcut", "shortcut not made", "text"},
    {"RegSetValueExW", "registered", "not registered", "key", " : ", "name"},
    {"RegDeleteKeyW", "deleted key", "key not deleted", "key", "\\", "name"},
    {"RegDeleteValueW", "deleted value", "value not deleted", "key", " : ", "name"},
    {"CreateProcessW", "started", "not started", "commandLine"},
    {"_wexecl", "started", "not started", "commandLine"},
    {"ShellExecuteW", "opened", "not opened", "file"},
    {"MessageBoxW", "showed message", "message not shown", "text"},
};

// Setup removes what is there and makes what is missing. That there was nothing to do is no failure.
bool IsNothing(const Call& call) {
    constexpr const char* kErrors[] = {"error 2", "error 3", "error 183"};
    const bool isMade = call.name == "CopyFileW" || call.name == "CreateProcessW";
    return !isMade && std::any_of(std::begin(kErrors), std::end(kErrors),
                                  [&](const char* error) { return call.error == error; });
}

std::string Told(const Call& call, const Deed& deed) {
    constexpr unsigned long kAtNextStart = 4;
    const bool isKept =
        call.name == "MoveFileExW" && (std::stoul(call["flags"], nullptr, 0) & kAtNextStart) != 0;
    std::string done = call.error.empty() ? deed.done : deed.undone;
    if (isKept) done = call.error.empty() ? "kept for the next start:" : "not kept for the next start:";
    const std::string to = call[deed.to];
    if (isKept) done += to.empty() ? " delete" : " move";
    std::string line = call.program + "\t" + done + " " + call[deed.what];
    if (!to.empty()) line += deed.between + to;
    if (call.name == "RegSetValueExW") line += " = " + call["data"];
    // The name of a temporary file is known by the backslash before it. The program has none here.
    return lab::Neutral('\\' + line).substr(1) + (call.error.empty() ? "" : "  (" + call.error + ")") + "\n";
}

}  // namespace

std::string ToldByCalls(const std::filesystem::path& trace) {
    std::string told;
    std::ifstream file(trace);
    for (std::string line; std::getline(file, line);) {
        const Call call(line);
        const auto* const deed = std::find_if(std::begin(kDeeds), std::end(kDeeds),
                                              [&](const Deed& each) { return call.name == each.call; });
        if (deed != std::end(kDeeds) && !IsNothing(call)) told += Told(call, *deed);
    }
    return told;
}

}  // namespace rehearse
