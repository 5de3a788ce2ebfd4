#include "harness/scratch.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <fstream>
#include <iostream>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "harness/registry_values.h"
#include "harness/target.h"

namespace fs = std::filesystem;

namespace {

constexpr std::chrono::milliseconds kPollPause(5);
constexpr WCHAR kSessionManager[] = TEXT("SYSTEM\\CurrentControlSet\\Control\\Session Manager");
constexpr WCHAR kPendingMoves[] = TEXT("PendingFileRenameOperations");
constexpr WCHAR kChildVariable[] = TEXT("QTV_TEST_CHILD");

std::map<std::string, int (*)()>& ChildPrograms() {
    static std::map<std::string, int (*)()> programs;
    return programs;
}

// What a search finds, except "." and "..".
std::vector<WIN32_FIND_DATAW> Entries(const Text& pattern) {
    std::vector<WIN32_FIND_DATAW> entries = Search(pattern);
    std::erase_if(entries, [](const WIN32_FIND_DATAW& each) {
        return each.cFileName == Text(TEXT(".")) || each.cFileName == Text(TEXT(".."));
    });
    return entries;
}

void DeleteValue(HKEY hive, const Text& key, const Text& value) {
    if (const auto opened = OpenKey(hive, key, KEY_SET_VALUE))
        (void)RegDeleteValueW(opened.get(), value.c_str());
}

void EndStartedPrograms() {
    for (const DWORD id : StartedPrograms()) {
        const HANDLE process = OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, id);
        if (!process) continue;
        (void)TerminateProcess(process, 1);
        (void)WaitForSingleObject(process, tools::kHangMs);
        CloseHandle(process);
    }
}

// Removes all whose names begin so.
void Remove(const std::string& start) {
    if (!start.starts_with("HK")) {
        const Text path = Wide(start), folder = path.substr(0, path.rfind(TEXT('\\')) + 1);
        for (const WIN32_FIND_DATAW& each : Entries(path + TEXT("*")))
            if (const Text item = folder + each.cFileName; lab::IsTouched(Narrow(item))) DeleteTree(item);
        return;
    }
    const Text name = Wide(start.substr(start.find('\\') + 1)), key = name.substr(0, name.rfind(TEXT('\\')));
    const bool isValue = name.size() > key.size() + 1;
    if (isValue) return DeleteValue(HKEY_LOCAL_MACHINE, key, name.substr(key.size() + 4));
    if (start.starts_with("HKLM")) return DeleteKeyTree(HKEY_LOCAL_MACHINE, key);
    WCHAR user[MAX_PATH];
    for (DWORD index = 0; RegEnumKeyW(HKEY_USERS, index, user, MAX_PATH) == ERROR_SUCCESS; ++index)
        DeleteKeyTree(HKEY_USERS, user + key.substr(1));
}

// What QTV_RESTART says: nothing, "never", or how often the machine has restarted for the only test of this run.
Text Restarts() {
    WCHAR value[MAX_PATH] = {};
    (void)GetEnvironmentVariableW(TEXT("QTV_RESTART"), value, MAX_PATH);
    return *value || lab::CanRestart() ? value : TEXT("never");
}

[[noreturn]] void EndAsSkipped(const char* why) {
    [why] { GTEST_SKIP() << why; }();
    throw ::testing::AssertionException({::testing::TestPartResult::kSkip, __FILE__, __LINE__, why});
}

void ExpectAllAnswered() {
    for (const ShownBox& box : BoxesSoFar())
        if (box.isUnanswered)
            ADD_FAILURE() << "no answer for the message box " << ::testing::PrintToString(box.text);
}

}  // namespace

// In the time of the build machine, because that of an embedded machine may be virtual.
bool ComesTrue(const std::function<bool()>& condition) {
    using Clock = std::chrono::steady_clock;
    const auto hangs = Clock::now() + std::chrono::milliseconds(tools::kHangMs);
    for (; !condition(); std::this_thread::sleep_for(kPollPause))
        if (Clock::now() > hangs) return false;
    return true;
}

void Await(const std::string& what, const std::function<bool()>& condition) {
    if (!ComesTrue(condition)) throw std::runtime_error("waited in vain for " + what);
}

ScratchTest::ScratchTest() {
    StartBoxes({});
    if (!IsBeforeRestart(1)) return;
    (void)SetCurrentDirectoryW(TEXT("C:\\"));
    EndStartedPrograms();
    ForgetMarks();
    for (const std::string& start : lab::Touched())
        Remove(start);
    MakeFolder(kScratch);
    EXPECT_TRUE(SetCurrentDirectoryW(kScratch.c_str()));
}

ScratchTest::~ScratchTest() {
    ExpectAllAnswered();
    if (HasFailure() && lab::IsSomebodys()) {
        std::cout << "the machine:\n";
        for (const auto& [name, what] : lab::Look())
            std::cout << "  " << name << "    " << what << "\n";
    }
    (void)SetCurrentDirectoryW(TEXT("C:\\"));
    EndStartedPrograms();
}

// ---- files ----

void MakeFolder(const Text& path) {
    for (std::size_t end = path.find(TEXT('\\'), 3);; end = path.find(TEXT('\\'), end + 1)) {
        const bool made = CreateDirectoryW(path.substr(0, end).c_str(), nullptr);
        EXPECT_TRUE(made || GetLastError() == ERROR_ALREADY_EXISTS) << GetLastError();
        if (end == Text::npos) return;
    }
}

void MakeFile(const Text& path, const std::string& bytes) {
    const std::size_t end = path.rfind(TEXT('\\'));
    if (end != Text::npos && end > 2) MakeFolder(path.substr(0, end));
    const HANDLE file =
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE) << GetLastError();
    DWORD cbWritten = 0;
    EXPECT_TRUE(WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &cbWritten, nullptr));
    EXPECT_EQ(cbWritten, bytes.size());
    CloseHandle(file);
}

bool Exists(const Text& path) {
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

void DeleteTree(const Text& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) return;
    (void)SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    const bool isFolder = attributes & FILE_ATTRIBUTE_DIRECTORY;
    if (isFolder)
        for (const WIN32_FIND_DATAW& each : Entries(path + TEXT("\\*")))
            DeleteTree(path + TEXT("\\") + each.cFileName);
    // A program's file stays in use for a moment after the program has ended.
    const auto gone = [&] { return (isFolder ? RemoveDirectoryW : DeleteFileW)(path.c_str()) != 0; };
    EXPECT_TRUE(ComesTrue(gone)) << "can't be deleted, error " << GetLastError() << ": "
                                 << ::testing::PrintToString(path);
}

std::vector<WIN32_FIND_DATAW> Search(const Text& pattern) {
    std::vector<WIN32_FIND_DATAW> all;
    WIN32_FIND_DATAW data;
    const HANDLE find = FindFirstFileW(pattern.c_str(), &data);
    if (find == INVALID_HANDLE_VALUE) return all;
    do
        all.push_back(data);
    while (FindNextFileW(find, &data));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_MORE_FILES});
    FindClose(find);
    return all;
}

std::vector<Text> Tree(const Text& folder) {
    std::vector<Text> names;
    for (const WIN32_FIND_DATAW& each : Entries(folder + TEXT("\\*"))) {
        const bool isFolder = each.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY;
        const Text name = each.cFileName + Text(isFolder ? TEXT("\\") : TEXT(""));
        names.push_back(name);
        for (const Text& below : isFolder ? Tree(folder + TEXT("\\") + each.cFileName) : std::vector<Text>())
            names.push_back(name + below);
    }
    std::sort(names.begin(), names.end());
    return names;
}

void ImportFile(const fs::path& buildPath, const Text& target) {
    MakeFolder(target.substr(0, target.rfind(TEXT('\\'))));
    const fs::path source = OwnProgram().parent_path() / buildPath;
    std::error_code error;
    // Under Windows the library can't tell two files of one drive apart, and refuses to copy over an old one.
    if (fs::is_regular_file(source)) (void)fs::remove(MachinePath(target), error);
    fs::copy(source, MachinePath(target), fs::copy_options::recursive | fs::copy_options::overwrite_existing,
             error);
    ASSERT_FALSE(error) << buildPath << ": " << error.message();
}

std::string BuildBytes(const fs::path& buildPath) {
    std::ostringstream bytes;
    bytes << std::ifstream(OwnProgram().parent_path() / buildPath, std::ios::binary).rdbuf();
    return std::move(bytes).str();
}

std::string Utf16(const std::string& ascii) {
    std::string bytes;
    for (const char character : ascii)
        bytes += {character, '\0'};
    return bytes;
}

void SetFileVersion(const Text& path, unsigned major, unsigned minor, unsigned release, unsigned build) {
    std::optional<std::string> bytes = FileBytes(path);
    ASSERT_TRUE(bytes) << GetLastError();
    // The mark is put together here, so that the test program's own file doesn't contain it twice.
    const std::size_t block = bytes->find("\xBD\x04\xEF\xFE", bytes->find(Utf16("VS_VERSION_INFO")));
    ASSERT_NE(block, std::string::npos) << "no version block";
    const WORD numbers[] = {static_cast<WORD>(minor), static_cast<WORD>(major), static_cast<WORD>(build),
                            static_cast<WORD>(release)};
    // The product's version stays, so a reader of the wrong version is noticed.
    std::memcpy(&(*bytes)[block + offsetof(VS_FIXEDFILEINFO, dwFileVersionMS)], numbers, sizeof numbers);
    MakeFile(path, *bytes);
}

// ---- a file in use ----

HeldFile::HeldFile(const Text& path, Hold how) {
    if (how == Hold::NoDelete) {
        m_file.reset(
            CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
        EXPECT_NE(m_file.get(), INVALID_HANDLE_VALUE) << GetLastError();
        return;
    }
    ImportFile("sleeper.exe", path);
    m_program.emplace(TEXT("\"") + path + TEXT("\""), TEXT("C:\\"));
}

// ---- registry, restart ----

void DeleteKeyTree(HKEY parent, const Text& key) {
    auto opened = OpenKey(parent, key);
    if (!opened) return;
    WCHAR name[MAX_PATH];
    std::vector<Text> names;
    while (RegEnumKeyW(opened.get(), static_cast<DWORD>(names.size()), name, MAX_PATH) == ERROR_SUCCESS)
        names.push_back(name);
    opened.reset();
    for (const Text& subKey : names)
        DeleteKeyTree(parent, key + TEXT("\\") + subKey);
    EXPECT_EQ(RegDeleteKeyW(parent, key.c_str()), ERROR_SUCCESS) << ::testing::PrintToString(key);
}

void ForgetMarks() {
    DeleteValue(HKEY_LOCAL_MACHINE, kSessionManager, kPendingMoves);
}

bool IsBeforeRestart(int n) {
    // The kit counts to less than ten.
    const Text restarts = Restarts();
    return restarts.empty() || restarts[0] < '0' + n || restarts == TEXT("never");
}

void RequireRestarts() {
    if (!Restarts().empty()) EndAsSkipped("it needs a machine that restarts beneath a program");
}

void RestartMachine() {
    EndStartedPrograms();
    if (const Text restarts = Restarts(); !restarts.empty())
        EndAsSkipped(restarts == TEXT("never") ? "it needs a restart of the machine"
                                               : "it goes on after a restart");
    EXPECT_TRUE(lab::Restart());
    Await("the end of the restart", [] { return StartedPrograms().empty(); });
}

// ---- programs ----

RunningProgram::RunningProgram(const Text& commandLine, const Text& folder)
    : m_commandLine(commandLine), m_program(commandLine, folder) {
    EXPECT_TRUE(m_program) << GetLastError();
}

RunningProgram::~RunningProgram() {
    if (!m_program) return;
    (void)TerminateProcess(m_program.Process(), 1);
    EXPECT_TRUE(m_program.EndsWithin(tools::kHangMs));
}

bool RunningProgram::EndNow() const {
    constexpr DWORD kOwnCode = 0x7E57;
    (void)TerminateProcess(m_program.Process(), kOwnCode);
    return ExitCode() == kOwnCode;
}

DWORD RunningProgram::ExitCode() const {
    if (!m_program.EndsWithin(tools::kHangMs))
        throw std::runtime_error("waited in vain for the end of " + ::testing::PrintToString(m_commandLine));
    return m_program.ExitCode();
}

DWORD RunProgram(const Text& commandLine, const Text& folder, const std::function<void(DWORD)>& meanwhile) {
    const std::set<DWORD> before = StartedPrograms();
    const RunningProgram program(commandLine, folder);
    if (meanwhile) meanwhile(program.Id());
    const DWORD exitCode = program.ExitCode();
    Await("the end of what was started by " + ::testing::PrintToString(commandLine), [&] {
        const std::set<DWORD> now = StartedPrograms();
        return std::includes(before.begin(), before.end(), now.begin(), now.end());
    });
    return exitCode;
}

bool AddChildProgram(const char* name, int (*body)()) {
    return ChildPrograms().emplace(name, body).second;
}

// Only copies of this program read the variable, so nobody deletes it again.
static void NameChild(const char* name) {
    EXPECT_TRUE(SetEnvironmentVariableW(kChildVariable, Wide(name).c_str()));
}

DWORD RunChild(const char* name, const Text& program, const Text& arguments) {
    ImportFile(OwnProgram(), program);
    NameChild(name);
    return RunProgram(TEXT("\"") + program + TEXT("\" ") + arguments);
}

RunningProgram StartChild(const char* name, const Text& arguments) {
    const Text program = kScratch + TEXT("\\running.exe");
    // Another program may be running from the file.
    if (!Exists(program)) ImportFile(OwnProgram(), program);
    NameChild(name);
    return RunningProgram(program + TEXT(" ") + arguments);
}

int RunTestsOrChild() {
    WCHAR name[MAX_PATH] = {};
    if (!GetEnvironmentVariableW(kChildVariable, name, MAX_PATH)) return RUN_ALL_TESTS();
    const auto found = ChildPrograms().find(Narrow(name));
    return found != ChildPrograms().end() ? found->second() : -1;
}

// ---- message boxes ----

BoxAnswers::BoxAnswers(std::vector<int> buttons) : m_answers(buttons.size()) {
    StartBoxes(std::move(buttons));
}

BoxAnswers::~BoxAnswers() {
    ExpectAllAnswered();
    EXPECT_GE(Shown().size(), m_answers) << "an answer that no message box took";
    StartBoxes({});
}

std::vector<ShownBox> BoxAnswers::Shown() const {
    return BoxesSoFar();
}
