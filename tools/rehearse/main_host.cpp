// Rehearses a package on an embedded machine, or in a throwaway Wine prefix by the Windows program.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <optional>

#include "rehearse/child.h"
#include "rehearse/packages.h"
#include "rehearse/report.h"
#include "rehearse/told_calls.h"
#include "common/help.h"
#include "common/installed.h"
#include "common/plain_files.h"
#include "common/text.h"
#include "common/throwaway_folder.h"
#include <winhost.h>

namespace fs = std::filesystem;

namespace {

using rehearse::PackageFolder;
using rehearse::ProgramKind;
using rehearse::Unusable;

constexpr int kMisused = 2;

constexpr char kHelp[] =
    R"(usage: rehearse PACKAGE [--earlier PACKAGE [--update FILE]] [--wine | --trace FILE] [--json] [--html FILE] [-- OPTION OF SETUP...]

Installs a package on a throwaway machine, uninstalls it and restarts the machine. Shows what each step changed, and what is left
at the end. The options of setup are -s if none are given.

  --earlier PACKAGE  installs this package first, with the same options
  --update FILE      starts this update of the earlier package instead of the package's setup
  --wine             runs the package's own Windows program in a throwaway Wine prefix
  --trace FILE       writes what the programs did, in order; Wine can't tell it
  --json             prints the result as JSON
  --html FILE        also writes a page for a browser

The exit code is 0; 1 if something is left that should not be, if a program ended otherwise than with 0 or showed something, or if a
file isn't installed as the manifest says; 2 if there is nothing to rehearse, or if a step hangs.
)";

struct Request {
    std::string package;
    std::string earlier;
    std::string update;
    bool wine = false;
    bool json = false;
    std::string html;
    std::string trace;
    std::vector<std::string> options = {"-s"};
};

std::optional<Request> ReadArguments(const std::vector<std::string>& arguments) {
    Request request;
    bool misused = false;
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument == "--") {
            request.options.assign(arguments.begin() + static_cast<std::ptrdiff_t>(i) + 1, arguments.end());
            break;
        }
        if (argument == "--wine")
            request.wine = true;
        else if (argument == "--json")
            request.json = true;
        else if (argument == "--earlier" && i + 1 < arguments.size() && request.earlier.empty())
            request.earlier = arguments[++i];
        else if (argument == "--update" && i + 1 < arguments.size() && request.update.empty())
            request.update = arguments[++i];
        else if (argument == "--html" && i + 1 < arguments.size() && request.html.empty())
            request.html = arguments[++i];
        else if (argument == "--trace" && i + 1 < arguments.size() && request.trace.empty())
            request.trace = arguments[++i];
        else if (argument.starts_with("-") || !request.package.empty())
            misused = true;
        else
            request.package = argument;
    }
    misused = misused || (request.wine && !request.trace.empty()) ||
              (request.earlier.empty() && !request.update.empty());
    if (!misused && !request.package.empty()) return request;
    tools::PrintUsage(kHelp);
    return std::nullopt;
}

bool IsColoured() {
    return isatty(STDOUT_FILENO) && !std::getenv("NO_COLOR");
}

void Print(const std::string& text) {
    (void)std::fwrite(text.data(), 1, text.size(), stdout);
    (void)std::fflush(stdout);
}

void Introduce(const Request& request, const std::string& machine) {
    if (!request.json) Print(tools::Shown(request.package) + ", rehearsed on " + machine + "\n");
}

// Returns the packages with their folders on the machine.
std::vector<std::pair<PackageFolder, std::string>> Packages(const Request& request) {
    // Returns the name of a folder of the machine from its path.
    const auto name = [](const std::string& path) { return path.substr(3, path.size() - 4); };
    std::vector<std::pair<PackageFolder, std::string>> packages;
    packages.emplace_back(PackageFolder(request.package), name(rehearse::kPackage));
    if (!request.earlier.empty())
        packages.emplace_back(PackageFolder(request.earlier), name(rehearse::kEarlierPackage));
    return packages;
}

// Copies the update, if there is one, to the drive of the machine. `kind` is that of its programs.
void CopyUpdate(const Request& request, const fs::path& drive, ProgramKind kind) {
    if (request.update.empty()) return;
    tools::RequirePlainFile(request.update);
    if (rehearse::KindOf(request.update) != kind)
        throw Unusable(request.update + (kind == ProgramKind::Windows
                                             ? " is no Windows program"
                                             : " doesn't run on an embedded machine; --wine rehearses it"));
    const fs::path target = drive / "Update/update.exe";
    fs::create_directory(target.parent_path());
    fs::copy_file(request.update, target);
}

// ---- an embedded machine ----

void Write(const std::string& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary);
    file << text;
    file.close();
    if (!file) throw Unusable(path + " can't be written");
}

int RehearseHere(const Request& request, const fs::path& machine) {
    winhost::EnterMachine(machine);
    const fs::path calls = machine / "trace";
    if (!request.trace.empty()) winhost::SetProgramTrace(calls);
    std::string told;
    const rehearse::Rehearsal rehearsal =
        rehearse::Rehearse(request.options, [&](const rehearse::Step& step) {
            if (!request.json) Print(rehearse::ToText(step, IsColoured()));
            told += "==== " + step.name + " ====\n" + rehearse::ToldByCalls(calls);
            fs::remove(calls);
        });
    Print(request.json ? rehearse::ToJson(rehearsal, request.package, "embedded machine")
                       : rehearse::LeftToText(rehearsal, IsColoured()));
    if (!request.html.empty())
        Write(request.html, rehearse::ToHtml(rehearsal, request.package, "an embedded machine"));
    if (!request.trace.empty()) Write(request.trace, told);
    return rehearsal.ExitCode();
}

int RehearseEmbedded(const Request& request, const fs::path& folder) {
    const auto packages = Packages(request);
    const fs::path machine = folder / "machine";
    winhost::CreateMachine(machine);
    Introduce(request, "an embedded machine");
    CopyUpdate(request, machine / "C", ProgramKind::Host);
    for (const auto& [package, name] : packages) {
        if (package.SetupKind() == ProgramKind::Host) {
            package.CopyTo(machine / "C" / name);
            continue;
        }
        const fs::path own = tools::OwnFolder() / "setup.exe";
        package.CopyTo(machine / "C" / name, own);
        std::fprintf(stderr,
                     "C:\\%s: its setup.exe is no program of this host, so %s runs instead; other Windows "
                     "programs don't run\n",
                     name.c_str(), own.c_str());
    }
    return rehearse::RunChild([&] { return RehearseHere(request, machine); });
}

// ---- a prefix of Wine ----

[[noreturn]] void Become(std::vector<std::string> command) {
    std::vector<char*> pointers;
    for (std::string& argument : command)
        pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    (void)execvp(pointers[0], pointers.data());
    std::fprintf(stderr, "rehearse: %s can't be started\n", pointers[0]);
    std::_Exit(kMisused);
}

std::string Variable(const char* name, const char* otherwise) {
    const char* const value = std::getenv(name);
    return value ? value : otherwise;
}

// The services of the prefix still run after the programs have ended.
class WineServer {
  public:
    explicit WineServer(const fs::path& home) : m_home(home) {}
    ~WineServer() {
        (void)rehearse::RunChild(
            [&]() -> int {
                setenv("TMPDIR", m_home.c_str(), 1);
                setenv("WINEPREFIX", (m_home / "prefix").c_str(), 1);
                Become({"/bin/sh", "-c", "exec 2>/dev/null; wineserver -k || /usr/lib/wine/wineserver64 -k"});
            },
            rehearse::Until::Done);
    }
    WineServer(const WineServer&) = delete;
    WineServer& operator=(const WineServer&) = delete;

  private:
    const fs::path m_home;
};

// Returns the name by which a program of Wine opens a file of the host.
std::string WinePath(const std::string& path) {
    std::string name = "Z:" + fs::absolute(path).string();
    std::replace(name.begin(), name.end(), '/', '\\');
    return name;
}

int RehearseUnderWine(const Request& request, const fs::path& folder) {
    const auto packages = Packages(request);
    for (const auto& [package, name] : packages)
        if (package.SetupKind() != ProgramKind::Windows)
            throw Unusable((name == "Package" ? request.package : request.earlier) +
                           ": its setup.exe is no Windows program");
    const auto home = tools::InstalledHome();
    const std::string wine = home.value_or(QTV_SOURCE_FOLDER) / "scripts/wine.sh";
    const std::string programs = home ? *home / "windows" : QTV_SOURCE_FOLDER "/build/windows";
    const std::string program = Variable("QTV_WINDOWS_BUILD", programs.c_str()) + "/rehearse.exe";
    if (!fs::exists(program))
        throw Unusable(
            program +
            " is missing; cmake --preset windows && cmake --build --preset windows --target rehearse "
            "makes it");
    const fs::path wineHome = folder / "wine";
    setenv("QTV_WINE_HOME", wineHome.c_str(), 1);
    setenv("QTV_REHEARSAL", "1", 1);
    if (!request.html.empty()) setenv("QTV_HTML", WinePath(request.html).c_str(), 1);
    // Wine decodes the arguments by this setting.
    setenv("LC_ALL", "C.UTF-8", 1);
    Introduce(request, "Wine");
    const WineServer server(wineHome);
    // The first program that runs makes the prefix.
    const int made = rehearse::RunChild([&]() -> int { Become({wine, "cmd.exe", "/c", "exit"}); });
    if (made != 0) return made > 128 ? made : kMisused;
    for (const auto& [package, name] : packages)
        package.CopyTo(wineHome / "prefix/drive_c" / name);
    CopyUpdate(request, wineHome / "prefix/drive_c", ProgramKind::Windows);
    return rehearse::RunChild([&]() -> int {
        std::vector<std::string> command = {wine, program, request.package,
                                            request.json   ? "json"
                                            : IsColoured() ? "coloured"
                                                           : "text"};
        command.insert(command.end(), request.options.begin(), request.options.end());
        Become(command);
    });
}

}  // namespace

int main(int count, char** values) {
    const std::vector<std::string> arguments(values, values + count);
    if (tools::TellsOfItself({arguments.begin(), arguments.end()}, kHelp)) return 0;
    auto request = ReadArguments(arguments);
    if (!request) return kMisused;
    try {
        for (std::string* const file : {&request->html, &request->trace}) {
            if (file->empty()) continue;
            if (!fs::is_directory(fs::absolute(*file).parent_path()))
                throw Unusable(*file + " can't be written: its folder is missing");
            // A machine has a current folder of its own.
            *file = fs::absolute(*file);
        }
        const tools::ThrowawayFolder folder("rehearse");
        const rehearse::Children children;
        return request->wine ? RehearseUnderWine(*request, folder.Path())
                             : RehearseEmbedded(*request, folder.Path());
    } catch (const std::exception& error) {
        tools::PrintFailure("rehearse", error);
        return kMisused;
    }
}
