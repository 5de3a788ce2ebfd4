// Processes of the embedded machine: who counts as one, how they are found, what they share and how they end.
#include <fcntl.h>
#include <shellapi.h>
#include <shlobj.h>
#include <sys/file.h>

#include <cstdarg>
#include <fstream>
#include <regex>
#include <set>
#include <thread>

#include "processes/process_table.h"
#include "harness/scratch.h"
#include <winhost.h>
#include "winhost/neighbour.h"

namespace fs = std::filesystem;

namespace {

class HostProcesses : public ScratchTest {};

const std::string kSleeper = QTV_BUILD_FOLDER "/sleeper.exe";

TEST_F(HostProcesses, AreInvisible) {
    const Neighbour stranger([] { return true; });
    const auto id = static_cast<DWORD>(stranger.Id());
    const fs::path stale = fs::path(winhost::TableFolder()) / std::to_string(id);
    for (const bool listed : {false, true}) {
        if (listed) std::ofstream(stale) << "left by a process that ended";
        EXPECT_EQ(OpenProcess(PROCESS_TERMINATE, FALSE, id), nullptr);
        EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
    }
    EXPECT_TRUE(winhost::WaitForProcesses(tools::kHangMs))
        << "a process outside the machine is not waited for";
    EXPECT_FALSE(fs::exists(stale));
    EXPECT_EQ(waitpid(stranger.Id(), nullptr, WNOHANG), 0) << "the stranger runs on";
}

// A program that is killed while it starts another one leaves that one's entry unnamed and locked.
TEST_F(HostProcesses, StartAfterOneThatWasKilledDuringAStart) {
    const winhost::Descriptor left(
        open((winhost::TableFolder() + "/new").c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0666));
    EXPECT_EQ(flock(left.get(), LOCK_EX), 0);
    EXPECT_EQ(RunChild("EndAsTold", kScratch + TEXT("\\child.exe"), TEXT("exit")), 300u);
}

TEST_F(HostProcesses, AreEndedOnlyWithTheRightToDoSo) {
    ImportFile(kSleeper, TEXT("C:\\Scratch\\sleeper.exe"));
    const RunningProgram sleeper(TEXT("C:\\Scratch\\sleeper.exe"));
    const HANDLE weak = OpenProcess(SYNCHRONIZE, FALSE, sleeper.Id());
    const HANDLE strong = OpenProcess(PROCESS_TERMINATE, FALSE, sleeper.Id());
    ASSERT_TRUE(weak && strong);
    EXPECT_FALSE(TerminateProcess(weak, 5));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(WaitForSingleObject(strong, 0), WAIT_FAILED);
    EXPECT_EQ(WaitForSingleObject(weak, 20), WAIT_TIMEOUT);

    EXPECT_TRUE(TerminateProcess(strong, 0x12345));
    EXPECT_EQ(WaitForSingleObject(weak, INFINITE), WAIT_OBJECT_0);
    EXPECT_EQ(sleeper.ExitCode(), 0x12345u);
    EXPECT_FALSE(TerminateProcess(strong, 6)) << "it has ended";
    EXPECT_EQ(OpenProcess(SYNCHRONIZE, FALSE, sleeper.Id()), nullptr);
    CloseHandle(weak);
    CloseHandle(strong);
    EXPECT_TRUE(winhost::WaitForProcesses(tools::kHangMs));
    EXPECT_EQ(std::distance(fs::directory_iterator(winhost::TableFolder()), {}), 1) << "this process";
}

CHILD_PROGRAM(EndAsTold) {
    const Text how = __wargv[1];
    std::signal(SIGSEGV, SIG_DFL);
    if (how == TEXT("abort")) std::abort();
    if (how == TEXT("crash")) std::raise(SIGSEGV);
    if (how == TEXT("ExitProcess")) ExitProcess(0x10000);
    if (how == TEXT("_wexecl")) {
        (void)CopyFileW(TEXT("C:\\Scratch\\child.exe"), TEXT("C:\\Scratch\\copy.tmp"), FALSE);
        return static_cast<int>(
            _wexecl(TEXT("C:\\Scratch\\copy.tmp"), TEXT("x"), TEXT("exit"), static_cast<LPCWSTR>(nullptr)));
    }
    return 300;
}

TEST_F(HostProcesses, ExitCodesAreThoseOfWindows) {
    const std::pair<LPCWSTR, DWORD> rows[] = {
        {TEXT("abort"), 0xC0000409}, {TEXT("crash"), 0xC0000005}, {TEXT("ExitProcess"), 0x10000},
        {TEXT("_wexecl"), 0},        {TEXT("exit"), 300},
    };
    for (const auto& [how, exitCode] : rows)
        EXPECT_EQ(RunChild("EndAsTold", kScratch + TEXT("\\child.exe"), how), exitCode) << winhost::Utf8(how);
}

CHILD_PROGRAM(MakesCalls) {
    HKEY key = nullptr;
    constexpr DWORD kNumber = 70000;
    constexpr BYTE kBytes[33] = {1, 0xAB};
    const auto* const number = reinterpret_cast<const BYTE*>(&kNumber);
    (void)SetEnvironmentVariableW(TEXT("x"), TEXT("a\tb\n"));
    (void)RegCreateKeyW(HKEY_CURRENT_USER, TEXT("Software\\\u00E9"), &key);
    (void)RegSetValueExW(key, nullptr, 0, REG_SZ, reinterpret_cast<const BYTE*>(TEXT("text")), 10);
    (void)RegSetValueExW(key, TEXT("n"), 0, REG_DWORD, number, sizeof kNumber);
    (void)RegSetValueExW(key, TEXT("b"), 0, REG_BINARY, kBytes, sizeof kBytes);
    (void)RegDeleteKeyW(key, TEXT("none"));
    (void)DeleteFileW(TEXT("C:\\none"));
    SetLastError(77);
    (void)GetFileAttributesW(TEXT("C:\\Windows"));
    const HANDLE file = CreateFileW(TEXT("\\Windows"), GENERIC_READ, 7, nullptr, OPEN_EXISTING,
                                    FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    WCHAR text[9];
    (void)CloseHandle(file);
    (void)GetEnvironmentVariableW(TEXT("x"), text, 4);
    (void)GetEnvironmentVariableW(TEXT("x"), text, 9);
    (void)GetModuleFileNameW(nullptr, text, 9);
    (void)SetFocus(nullptr);
    (void)DialogBoxParamW(nullptr, MAKEINTRESOURCEW(999), nullptr, nullptr, 0);
    (void)SHGetFolderPathW(nullptr, 0x3E, nullptr, 0, text);
    SetLastError(77);
    (void)GetKeyState(VK_SHIFT);
    TerminateProcess(GetCurrentProcess(), GetLastError());
    return 0;
}

TEST_F(HostProcesses, WriteTheirCallsToATrace) {
    const fs::path trace = winhost::StateFolder() / "trace";
    std::ofstream(trace) << "child.exe\t1\tearlier\n";
    winhost::SetProgramTrace(trace);
    (void)IsWindow(nullptr);
    EXPECT_EQ(RunChild("MakesCalls"), 77u) << "a call that sets no error leaves the last one";
    winhost::ClearProgramTrace();
    EXPECT_EQ(RunChild("EndAsTold", kScratch + TEXT("\\untraced.exe"), TEXT("exit")), 300u);
    const std::string lines =
        std::regex_replace(BuildBytes(trace), std::regex("(^|\n)child\\.exe\t[1-9]\\d*\t"), "$1");
    EXPECT_EQ(lines.find(".exe\t"), lines.npos) << "another process is traced";
    const std::string expected = tools::Replaced(
        "SetEnvironmentVariableW\tname=x\tvalue=a b \t= 1\n"
        "RegCreateKeyW\tparent=HKEY_CURRENT_USER\tname=Software\\\u00E9\t= 0\n"
        "RegSetValueExW\tkey=<key>\tname=null\ttype=1\tdata=text\t= 0\n"
        "RegSetValueExW\tkey=<key>\tname=n\ttype=4\tdata=70000\t= 0\n"
        "RegSetValueExW\tkey=<key>\tname=b\ttype=3\tdata=1 ab 0 0 0 0 0 0 0 0 0 0 0 0 0 0 "
        "0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 0 and more\t= 0\n"
        "RegDeleteKeyW\tkey=<key>\tname=none\t= 2\terror 2\n"
        "DeleteFileW\tpath=C:\\none\t= 0\terror 2\n"
        "GetFileAttributesW\tpath=C:\\Windows\t= 16\n"
        "CreateFileW\tpath=\\Windows\taccess=0x80000000\tshare=7\tdisposition=3\tflags="
        "0x2000000\ttemplateFile=0x0\t= 0x8\n"
        "CloseHandle\thandle=C:\\Windows\t= 1\n"
        "GetEnvironmentVariableW\tname=x\t= 5\n"
        "GetEnvironmentVariableW\tname=x\tbuffer=a b \t= 4\n"
        "GetModuleFileNameW\tmodule=0x0\t= 9\n"
        "SetFocus\twindow=0x0\t= 0x0\n"
        "DialogBoxParamW\tmodule=0x0\tname=#999\towner=0x0\tparameter=0\t= -1\terror 1814\n"
        "SHGetFolderPathW\towner=0x0\tfolder=62\ttoken=0x0\tflags=0\t= 0x80070057\terror 87\n"
        "GetKeyState\tkey=16\t= 0\n",
        "<key>", "HKEY_USERS\\S-1-5-21-1000-1000-1000-1001\\Software\\\u00E9");
    EXPECT_NE(lines.find(expected), lines.npos) << lines;
    EXPECT_TRUE(lines.starts_with("earlier\n") && lines.ends_with("ends\t= 77\n")) << lines;
}

TEST_F(HostProcesses, TwoShellRunsEndIndependently) {
    const fs::path root = winhost::StateFolder() / "two_runs";
    winhost::CreateMachine(root);
    fs::copy_file(kSleeper, root / "C/sleeper.exe");
    const std::string folder = root.native();
    const std::string run = "timeout 300 " QTV_BUILD_FOLDER "/winmachine run --trace " + folder + "/trace " +
                            folder + " 'C:\\sleeper.exe'";
    FILE* const runs[] = {popen(run.c_str(), "r"), popen(run.c_str(), "r")};
    std::set<pid_t> sleepers;
    Await("both runs", [&] {
        std::ifstream trace(root / "trace");
        for (std::string name, rest; std::getline(trace, name, '\t') && std::getline(trace, rest);) {
            EXPECT_EQ(name, "sleeper.exe") << "another process is traced";
            sleepers.insert(std::stoi(rest));
        }
        return sleepers.size() == 2;
    });
    for (const pid_t sleeper : sleepers)
        kill(sleeper, SIGKILL);
    for (FILE* const each : runs)
        EXPECT_NE(WEXITSTATUS(pclose(each)), 124) << "it waits for something else";
    fs::remove_all(root);
}

// The machine has the calls that this program makes, and no others.
TEST_F(HostProcesses, EndTheRunWhereWindowsWouldDoMore) {
    ASSERT_TRUE(SUCCEEDED(CoInitialize(nullptr)));
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    const auto start = [&](LPCWSTR program, LPWSTR desktop, DWORD flags) {
        PROCESS_INFORMATION process = {};
        startup.lpDesktop = desktop;
        startup.dwFlags = flags;
        WCHAR line[] = TEXT("x.exe");
        (void)CreateProcessW(program, line, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process);
    };
    const auto make = [](const CLSID& kind, const IID& face) {
        void* object = nullptr;
        EXPECT_EQ(CoCreateInstance(kind, nullptr, CLSCTX_INPROC_SERVER, face, &object), S_OK);
        return static_cast<IShellLinkW*>(object);
    };
    WCHAR text[MAX_PATH] = {};
    va_list none = {};
    const HANDLE file = CreateFileW(TEXT("a"), GENERIC_READ, 0, nullptr, OPEN_ALWAYS, 0, nullptr);
    const std::pair<std::function<void()>, const char*> rows[] = {
        {[&] { start(TEXT("C:\\Scratch\\x.exe"), nullptr, 0); }, "an application name"},
        {[&] { start(nullptr, text, 0); }, "another desktop"},
        {[&] { start(nullptr, nullptr, 1); }, "start-up flags 1"},  // how it is to be shown
        {[&] { (void)ShellExecuteW(nullptr, TEXT("open"), TEXT("C:\\x.exe"), nullptr, nullptr, SW_SHOW); },
         "a file that is no web address"},
        {[&] { (void)GetProcAddress(GetModuleHandleW(TEXT("kernel32")), "CopyFile2"); }, "CopyFile2"},
        {[&] { (void)LoadLibraryW(TEXT("comctl32.dll")); }, "comctl32"},
        {[&] { (void)GetModuleHandleW(TEXT("GDI32")); }, "GDI32"},
        {[&] { (void)make(IID_IUnknown, IID_IUnknown); }, "another class"},
        {[&] { (void)make(CLSID_ShellLink, CLSID_ShellLink); }, "another interface"},
        {[&] { (void)make(CLSID_ShellLink, IID_IShellLinkW)->SetPath(TEXT("%windir%\\x")); }, "a variable"},
        {[&] { (void)SHGetFolderPathW(nullptr, CSIDL_PROFILE | 0x4000, nullptr, 0, text); }, "folder 16424"},
        {[&] { (void)GetEnvironmentVariableW(TEXT("=C:"), text, MAX_PATH); }, "of a drive"},
        {[&] { (void)SetEnvironmentVariableW(TEXT("=C:"), text); }, "of a drive"},
        {[&] { (void)_vsnwprintf(text, 9, TEXT("%5%"), none); }, "width"},
        {[&] { (void)WaitForSingleObject(file, 0); }, "a file"},
        {[&] {
             const HANDLE mutex = CreateMutexW(nullptr, FALSE, nullptr);
             std::thread([&] { (void)WaitForSingleObject(mutex, 0); }).join();
             (void)WaitForSingleObject(mutex, INFINITE);
         },
         "a thread that has ended"},
    };
    for (const auto& [act, says] : rows)
        EXPECT_DEATH(act(), std::string("not modelled: .*") + says) << says;
    CloseHandle(file);
    CoUninitialize();
}

TEST_F(HostProcesses, OutsideAnyMachineEndWithOneLine) {
    EXPECT_EXIT((void)execl(kSleeper.c_str(), "sleeper", nullptr), ::testing::ExitedWithCode(2),
                "^[^\n]+\n$");
}

HANDLE CreateMapping(LPCWSTR name, DWORD size = 131072) {
    return CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE | SEC_COMMIT, 0, size, name);
}

int* MapFirst(HANDLE mapping) {
    return static_cast<int*>(MapViewOfFile(mapping, FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, 0));
}

TEST_F(HostProcesses, ShareAMappingAsLongAsOneHoldsIt) {
    constexpr LPCWSTR kName = TEXT("Local\\list / of 100% v4");
    const auto writeSeven = [] {
        const HANDLE mapping = CreateMapping(kName);
        *MapFirst(mapping) = 7;
        return GetLastError() == ERROR_SUCCESS;
    };
    std::optional<Neighbour> holder(writeSeven);
    const HANDLE second = CreateMapping(kName, 4096);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_EXISTS});
    int* view = MapFirst(second);
    ASSERT_TRUE(view);
    EXPECT_EQ(view[0], 7);
    view[131072 / sizeof(int) - 1] = 1;  // the first size counts
    holder.reset();
    EXPECT_EQ(view[0], 7) << "this process holds it still";

    EXPECT_TRUE(CloseHandle(second));
    const HANDLE fresh = CreateMapping(kName);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SUCCESS}) << "a view does not keep the name";
    int* freshView = MapFirst(fresh);
    EXPECT_EQ(freshView[0], 0);
    EXPECT_EQ(view[0], 7) << "the old view keeps its pages";
    EXPECT_TRUE(UnmapViewOfFile(view) && UnmapViewOfFile(freshView) && CloseHandle(fresh));

    // A process that is killed while it is the only holder can't clean up.
    { const Neighbour killed(writeSeven); }
    EXPECT_EQ(OpenFileMappingW(FILE_MAP_READ, FALSE, kName), nullptr);
    EXPECT_TRUE(std::filesystem::is_empty(winhost::StateFolder() / "objects"));
}

}  // namespace
