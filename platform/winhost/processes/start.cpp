// Starts a program of the machine: its file is found by Windows' rules and runs as a host program.
#include "processes/start.h"

#include <elf.h>
#include <spawn.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "core/events.h"
#include "core/host_io.h"
#include "core/machine.h"
#include "files/paths.h"
#include "files/sharing.h"
#include "processes/arguments.h"
#include "processes/clock.h"
#include "processes/process_table.h"
#include "processes/search.h"

namespace winhost {

namespace {

// Whether the host can run the file: a 64-bit ELF program.
bool IsHostProgram(int descriptor) {
    unsigned char start[EI_NIDENT + sizeof(Elf64_Half)];
    if (pread(descriptor, start, sizeof start, 0) != sizeof start) return false;
    return std::memcmp(start, ELFMAG, SELFMAG) == 0 && start[EI_CLASS] == ELFCLASS64;
}

// The pointers to the texts and a null pointer after them: the host takes a program's arguments and environment so.
std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

// The environment of this process, with these variables instead of its own of the same names.
std::vector<std::string> EnvironmentWith(std::vector<std::string> variables) {
    const std::size_t count = variables.size();
    for (char** entry = environ; *entry; ++entry) {
        const std::string_view text = *entry;
        const std::string_view name = text.substr(0, text.find('=') + 1);
        if (std::none_of(variables.begin(), variables.begin() + static_cast<std::ptrdiff_t>(count),
                         [&](const std::string& each) { return each.starts_with(name); }))
            variables.emplace_back(text);
    }
    return variables;
}

// What the host does in a child before its program runs.
class ChildActions {
  public:
    ChildActions() { posix_spawn_file_actions_init(&m_actions); }
    ~ChildActions() { posix_spawn_file_actions_destroy(&m_actions); }
    ChildActions(const ChildActions&) = delete;
    void Enter(const std::string& folder) {
        posix_spawn_file_actions_addchdir_np(&m_actions, folder.c_str());
    }
    void Keep(int descriptor) { posix_spawn_file_actions_adddup2(&m_actions, descriptor, descriptor); }
    const posix_spawn_file_actions_t* get() const { return &m_actions; }

  private:
    posix_spawn_file_actions_t m_actions;
};

}  // namespace

std::u16string FindCommand(std::u16string_view line) {
    Place place;
    place.error = ERROR_FILE_NOT_FOUND;
    if (!line.empty() && line.front() == u'"') {
        line.remove_prefix(1);
        place = SearchFile(line.substr(0, line.find(u'"')), u".exe", Wanted::Program);
    } else {
        // The name itself may have blanks: for "C:\Program Files\x.exe", "C:\Program" is tried first.
        DWORD firstError = 0;
        for (std::size_t end = 0; end <= line.size(); ++end) {
            if (end < line.size() && !IsBlank(line[end])) continue;
            place = SearchFile(line.substr(0, end), u".exe", Wanted::Program);
            if (place.exists()) break;
            if (firstError == 0) firstError = place.error;
        }
        if (!place.exists()) place.error = firstError;
    }
    if (place.exists()) return place.windows;
    SetLastError(place.error);
    return {};
}

std::optional<StartedProcess> StartProgram(const std::u16string& program, const std::u16string& commandLine,
                                           LPCWSTR folder) {
    const Place file = Locate(program);
    if (!file.exists()) {
        SetLastError(file.error);
        return std::nullopt;
    }
    const Place working = Locate(folder ? folder : u".");
    if (!working.exists() || !working.isFolder) {
        SetLastError(ERROR_DIRECTORY);
        return std::nullopt;
    }
    const auto image = OpenFile::OpenImage(file.host);
    if (!image) return std::nullopt;
    if (!IsHostProgram(image->descriptor())) {
        SetLastError(ERROR_BAD_EXE_FORMAT);
        return std::nullopt;
    }

    Record("start-process", {commandLine, working.windows});
    const TableLock lock;
    PruneTable();
    NewEntry entry;
    if (!entry) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return std::nullopt;
    }
    if (const auto begin = TimesOfStarted()) RecordTimes(entry.table(), *begin);
    ChildActions actions;
    actions.Enter(working.host);
    actions.Keep(entry.table());
    actions.Keep(image->descriptor());
    std::vector<std::string> arguments;
    for (const auto& argument : SplitArguments(commandLine))
        arguments.push_back(Utf8(argument));
    std::vector<std::string> environment =
        EnvironmentWith({std::string(kCommandLineVariable) + "=" + Utf8(commandLine),
                         std::string(kHandedOver) + "=" + std::to_string(entry.table()) + "," +
                             std::to_string(image->descriptor())});
    pid_t child;
    // It makes no copy of this process, which costs more than the start where much memory is in use.
    const int error = posix_spawn(&child, file.host.c_str(), actions.get(), nullptr,
                                  Pointers(arguments).data(), Pointers(environment).data());
    if (error != 0) {
        SetLastError(error == ENOEXEC ? ERROR_BAD_EXE_FORMAT : ErrorOf(error));
        return std::nullopt;
    }
    if (!entry.Name(static_cast<DWORD>(child)))
        NotModelled("CreateProcessW", "a machine whose table of processes can't be written");
    std::optional<StartedProcess> started(std::in_place);
    started->id = child;
    started->files = OpenProcessFiles(static_cast<DWORD>(child));
    return started;
}

}  // namespace winhost
