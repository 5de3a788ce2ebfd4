// Starts a program of the machine: its file is found by Windows' rules and runs as a host program.
#include "processes/start.h"

#include <elf.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "core/events.h"
#include "core/host_io.h"
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

// What the child needs. It is made before the fork.
struct ChildPlan {
    std::string program;
    std::string folder;
    std::string table;
    std::string commandLine;
    std::vector<std::string> arguments;
    std::vector<char*> argumentPointers;
    std::optional<VirtualTimes> begin;
    int report = -1;  // receives the error if the program can't be started
    int image = -1;
};

std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

// The child, up to the start of its program. The program inherits the entry in the table and the running image.
[[noreturn]] void RunChild(const ChildPlan& plan) {
    Descriptor entry = EnterTable(plan.table.c_str());
    const int table = entry.Release();
    if (plan.begin) RecordTimes(table, *plan.begin);
    if (table >= 0 && chdir(plan.folder.c_str()) == 0) {
        fcntl(table, F_SETFD, 0);
        fcntl(plan.image, F_SETFD, 0);
        HandOver(table, plan.image);
        setenv(kCommandLineVariable, plan.commandLine.c_str(), 1);
        execv(plan.program.c_str(), plan.argumentPointers.data());
    }
    const int error = errno;
    (void)!write(plan.report, &error, sizeof error);
    _exit(127);
}

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

    ChildPlan plan;
    plan.program = file.host;
    plan.folder = working.host;
    plan.table = TableFolder();
    plan.commandLine = Utf8(commandLine);
    for (const auto& argument : SplitArguments(commandLine))
        plan.arguments.push_back(Utf8(argument));
    plan.argumentPointers = Pointers(plan.arguments);
    plan.begin = TimesOfStarted();
    plan.image = image->descriptor();
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return std::nullopt;
    }
    const Descriptor report(ends[0]);
    Descriptor childReport(ends[1]);
    plan.report = childReport.get();

    Record("start-process", {commandLine, working.windows});
    const TableLock lock;
    PruneTable();
    const pid_t child = fork();
    if (child < 0) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return std::nullopt;
    }
    if (child == 0) RunChild(plan);
    childReport = Descriptor();
    // When the program runs, the pipe ends without data.
    int error = 0;
    ssize_t count;
    while ((count = read(report.get(), &error, sizeof error)) < 0 && errno == EINTR) {
    }
    std::optional<StartedProcess> started(std::in_place);
    started->id = child;
    started->files = OpenProcessFiles(static_cast<DWORD>(child));
    if (count == 0) return started;
    waitpid(child, nullptr, 0);
    SetLastError(error == ENOEXEC ? ERROR_BAD_EXE_FORMAT : ErrorOf(error));
    return std::nullopt;
}

}  // namespace winhost
