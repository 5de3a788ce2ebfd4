// kit: runs all programs of tests on this Windows and reports. docs/windows.md says how it is used.
//   kit.exe [/this-machine-may-be-changed] [/restart | /no-restart] [/results FOLDER] [/only NAME]...
//   kit.exe /sandbox [/restart]     opens Windows Sandbox, where the kit runs by itself
//   kit.exe /go-on [/results FOLDER]     after a restart
#include <windows.h>

#include <shellapi.h>

#include <algorithm>

#include "common/text.h"
#include "kit/run.h"

namespace fs = std::filesystem;

namespace {

using kit::Job;

constexpr int kCantRun = 2;
constexpr std::pair<const wchar_t*, bool Job::*> kSwitches[] = {
    {L"/this-machine-may-be-changed", &Job::mayChange},
    {L"/restart", &Job::restarts},
    {L"/no-restart", &Job::neverRestarts},
    {L"/go-on", &Job::goesOn},
    {L"/sandbox", &Job::opensSandbox},
};

Job ReadOptions(int count, wchar_t** values) {
    wchar_t path[MAX_PATH] = {};
    (void)GetModuleFileNameW(nullptr, path, MAX_PATH);
    Job job;
    job.folder = fs::path(path).parent_path().parent_path();
    job.results = job.folder / "results";
    for (int i = 1; i < count; ++i) {
        const std::wstring option = values[i];
        const auto found = std::ranges::find(kSwitches, option, [](const auto& each) { return each.first; });
        if (found != std::end(kSwitches))
            job.*found->second = true;
        else if (option == L"/results" && i + 1 < count)
            job.results = values[++i];
        else if (option == L"/only" && i + 1 < count)
            job.only.push_back(tools::Utf8(values[++i]));
        else
            throw kit::CantRun("there is no option " + tools::Utf8(option) + ": windows.md lists them");
    }
    job.results = fs::absolute(job.results);
    return job;
}

// What the programs find in their environment.
void SetVariables(const Job& job) {
    // Windows may name the folder of a long user name by its short name.
    wchar_t path[MAX_PATH] = {};
    (void)GetTempPathW(MAX_PATH, path);
    (void)GetLongPathNameW(path, path, MAX_PATH);
    for (const wchar_t* const name : {L"TEMP", L"TMP"})
        (void)SetEnvironmentVariableW(name, path);
    (void)SetEnvironmentVariableW(L"QTV_KIT", job.results.c_str());
    (void)SetEnvironmentVariableW(L"QTV_PACKAGE", nullptr);
}

int OpenSandbox(const Job& job) {
    kit::RequireWholeKit(job);
    const fs::path results = job.folder.native() + L"-results", file = job.folder / "kit.wsb";
    std::error_code error;
    fs::create_directories(results, error);
    std::string text = kit::Read(job.folder / "programs" / "sandbox.wsb");
    text = tools::Replaced(std::move(text), "%KIT%", tools::Replaced(kit::Utf8(job.folder), "&", "&amp;"));
    kit::Write(file, tools::Replaced(std::move(text), "%OPTION%", job.restarts ? " /restart" : ""));
    kit::Say("the results will be in " + kit::Utf8(results));
    if (reinterpret_cast<INT_PTR>(
            ShellExecuteW(nullptr, nullptr, file.c_str(), nullptr, nullptr, SW_SHOWNORMAL)) <= 32) {
        fs::remove(results, error);
        throw kit::CantRun("Windows Sandbox doesn't open " + kit::Utf8(file) +
                           ": turn it on in \"Turn Windows features on or off\" (not in the Home editions)");
    }
    return 0;
}

}  // namespace

int wmain(int count, wchar_t** values);

int wmain(int count, wchar_t** values) try {
    (void)SetConsoleOutputCP(CP_UTF8);
    const Job job = ReadOptions(count, values);
    SetVariables(job);
    return job.opensSandbox ? OpenSandbox(job) : job.goesOn ? kit::GoOn(job) : kit::Run(job);
} catch (const std::exception& error) {
    kit::Say(std::string("run.cmd: ") + error.what());
    return kCantRun;
}
