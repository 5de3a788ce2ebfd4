// The arguments of programs, as the program relies on them, and the objects that programs share.
#include "machine/answers.h"

namespace {

class Programs : public ScratchTest {};

// Writes its command line and its arguments, each as a line.
CHILD_PROGRAM(ShowArguments) {
    std::string lines = Narrow(GetCommandLineW()) + "\n";
    for (int i = 1; i < __argc; ++i)
        lines += Narrow(__wargv[i]) + "\n";
    MakeFile(TEXT("C:\\Scratch\\lines"), lines);
    return 7;
}

TEST_F(Programs, GetTheirArgumentsByTheRuntimeLibrarysRules) {
    const std::pair<std::string, std::string> rows[] = {
        {"", ""},
        {"-s  /v\t-x", "-s\n/v\n-x\n"},
        {"\"a b\" c\"d e\"f \"\"", "a b\ncd ef\n\n"},
        {"-sfxname=\"C:\\my files\\pkg.exe\" C:\\x\\", "-sfxname=C:\\my files\\pkg.exe\nC:\\x\\\n"},
        {"\"C:\\x\\\\\" a\\\"b", "C:\\x\\\na\"b\n"},
    };
    for (const auto& [arguments, lines] : rows) {
        EXPECT_EQ(RunChild("ShowArguments", TEXT("C:\\Scratch\\a child.exe"), Wide(arguments)), 7u);
        EXPECT_EQ(FileBytes(TEXT("C:\\Scratch\\lines")),
                  "\"C:\\Scratch\\a child.exe\" " + arguments + "\n" + lines);
    }
}

constexpr WCHAR kOneName[] = TEXT("one name");

HANDLE MakeMapping() {
    return CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 8192, kOneName);
}

// The answer of a program's start that failed.
std::string FailedStart() {
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {INVALID_HANDLE_VALUE, INVALID_HANDLE_VALUE, 1, 1};
    WCHAR missing[] = TEXT("C:\\Scratch\\missing.exe");
    EXPECT_FALSE(
        CreateProcessW(nullptr, missing, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process));
    return process.hProcess || process.hThread || process.dwProcessId || process.dwThreadId ? "is as before"
                                                                                            : "is cleared";
}

// Loads a file beside it, before and after it has restricted itself to libraries of the system.
CHILD_PROGRAM(LoadsALibrary) {
    using SetDirectories = BOOL(WINAPI*)(DWORD);
    constexpr DWORD kSystemFolder = 0x800;
    const auto restrict = reinterpret_cast<SetDirectories>(reinterpret_cast<void*>(
        GetProcAddress(GetModuleHandleW(TEXT("kernel32")), "SetDefaultDllDirectories")));
    const auto error = [] { return LoadLibraryW(TEXT("neighbour.dll")) ? DWORD{0} : GetLastError(); };
    const DWORD before = error();
    return restrict(kSystemFolder) ? static_cast<int>(before * 1000 + error()) : -1;
}

TEST_F(Programs, LoadLibrariesOfTheSystemOnlyIfTheySaySo) {
    MakeFile(TEXT("C:\\Scratch\\neighbour.dll"), "no library");
    EXPECT_EQ(RunChild("LoadsALibrary"), ERROR_BAD_EXE_FORMAT * 1000 + ERROR_MOD_NOT_FOUND);
}

TEST_F(Programs, ShareObjectsAsWindowsAnswers) {
    const HANDLE mutex = CreateMutexW(nullptr, FALSE, kOneName);
    EXPECT_EQ(Told(MakeMapping()), "ERROR_INVALID_HANDLE");
    CloseHandle(mutex);
    const HANDLE mapping = MakeMapping();
    auto* view = static_cast<char*>(MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, 0));
    ExpectAnswers({{"mutex by the name of a mapping", Told(CreateMutexW(nullptr, FALSE, kOneName)),
                    "ERROR_INVALID_HANDLE"},
                   {"unmap within the view", Told(UnmapViewOfFile(view + 5000)), "ok"},
                   {"unmap what is unmapped", Told(UnmapViewOfFile(view + 5000)), "ERROR_INVALID_ADDRESS"},
                   {"failed start", FailedStart(), "is cleared"}});
    CloseHandle(mapping);
}

}  // namespace
