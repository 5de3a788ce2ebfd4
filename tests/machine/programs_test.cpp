// The arguments of programs, as the program relies on them.
#include "harness/scratch.h"

namespace {

class Programs : public ScratchTest {};

// Writes its arguments, one on each line.
CHILD_PROGRAM(ShowArguments) {
    std::string lines;
    for (int i = 1; i < __argc; ++i) {
        for (const WCHAR unit : Text(__wargv[i]))
            lines += static_cast<char>(unit);
        lines += '\n';
    }
    std::string line;
    for (const WCHAR unit : Text(GetCommandLineW()))
        line += static_cast<char>(unit);
    MakeFile(TEXT("C:\\Scratch\\line"), line);
    MakeFile(TEXT("C:\\Scratch\\arguments"), lines);
    return 7;
}

TEST_F(Programs, GetTheirArgumentsByTheRuntimeLibrarysRules) {
    const struct {
        LPCWSTR arguments;
        const char* lines;
    } rows[] = {
        {TEXT(""), ""},
        {TEXT("-s  /v\t-x"), "-s\n/v\n-x\n"},
        {TEXT("\"a b\" c\"d e\"f \"\""), "a b\ncd ef\n\n"},
        {TEXT("-sfxname=\"C:\\my files\\pkg.exe\" C:\\x\\"), "-sfxname=C:\\my files\\pkg.exe\nC:\\x\\\n"},
        {TEXT("\"C:\\x\\\\\" a\\\"b"), "C:\\x\\\na\"b\n"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(RunChild("ShowArguments", kScratch + TEXT("\\a child.exe"), row.arguments), 7u);
        EXPECT_EQ(FileBytes(TEXT("C:\\Scratch\\arguments")), row.lines);
        std::string line = "\"C:\\Scratch\\a child.exe\" ";
        for (const WCHAR unit : Text(row.arguments))
            line += static_cast<char>(unit);
        EXPECT_EQ(FileBytes(TEXT("C:\\Scratch\\line")), line) << "the program gets it unchanged";
    }
}

DWORD LastError(bool done) {
    return done ? DWORD{ERROR_SUCCESS} : GetLastError();
}

TEST_F(Programs, FindTheirSystemAsWindowsAnswers) {
    for (const LPCWSTR name : {TEXT("CommonProgramFiles"), TEXT("COMPUTERNAME"), TEXT("OS"), TEXT("PATHEXT"),
                               TEXT("PROCESSOR_ARCHITECTURE"), TEXT("ProgramFiles(x86)")})
        EXPECT_GT(GetEnvironmentVariableW(name, nullptr, 0), 0u) << ::testing::PrintToString(Text(name));

    const HANDLE mutex = CreateMutexW(nullptr, FALSE, TEXT("one name"));
    EXPECT_EQ(LastError(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 8192,
                                           TEXT("one name"))),
              DWORD{ERROR_INVALID_HANDLE});
    CloseHandle(mutex);
    const HANDLE mapping =
        CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 8192, TEXT("one name"));
    EXPECT_EQ(LastError(CreateMutexW(nullptr, FALSE, TEXT("one name"))), DWORD{ERROR_INVALID_HANDLE});
    auto* view = static_cast<char*>(MapViewOfFile(mapping, FILE_MAP_READ, 0, 0, 0));
    EXPECT_TRUE(UnmapViewOfFile(view + 5000));
    EXPECT_EQ(LastError(UnmapViewOfFile(view + 5000)), 487u);
    CloseHandle(mapping);

    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {mutex, mutex, 1, 1};
    WCHAR missing[] = TEXT("C:\\Scratch\\missing.exe");
    EXPECT_FALSE(
        CreateProcessW(nullptr, missing, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process));
    const bool isCleared =
        !process.hProcess && !process.hThread && !process.dwProcessId && !process.dwThreadId;
    EXPECT_EQ(isCleared ? "its answer is cleared" : "its answer is as before",
              Expected("failed start", "its answer is cleared"));

    const HMODULE kernel = LoadLibraryW(TEXT("kernel32.dll   "));
    EXPECT_TRUE(kernel) << GetLastError();
    FreeLibrary(kernel);
}

}  // namespace
