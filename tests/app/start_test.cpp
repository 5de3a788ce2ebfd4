// What a command line leads to: the job, how quiet it is, and which question comes first.
#include "instances/instance_manager.h"
#include "app/setup_app.h"
#include "app/setup_state.h"
#include "harness/driver.h"

#include <cstdlib>

namespace {

const Text kReported = kScratch + TEXT("\\report");
const Text kSetup = kScratch + TEXT("\\setup.exe");
const Text kUninstaller = kScratch + TEXT("\\QtvUnInst.exe");

void Report() {
    std::string report = std::to_string(g_silentMode) + " ";
    for (int index = 0; index < g_sfxDir.GetLength(); ++index)
        report += static_cast<char>(g_sfxDir[index]);
    MakeFile(kReported, report);
}

class Start : public ScratchTest {};

}  // namespace

// An install ends here at once with the message that the setup files are damaged, because there are none. An uninstall
// ends without its copy, because it finds no temporary folder.
CHILD_PROGRAM(Starts) {
    (void)SetEnvironmentVariableW(TEXT("TMP"), TEXT("C:\\Scratch\\missing"));
    g_silentMode = 7;
    std::atexit(Report);
    return theApp.InitInstance();
}

TEST_F(Start, CommandLineChoosesJobAndSilence) {
    enum Job { Install, Uninstall, AskedUninstall };
    static const struct {
        Text program;
        LPCWSTR arguments;
        Job job;
        const char* silenceAndPackage;
    } kRows[] = {
        {kUninstaller, TEXT(""), Uninstall, "1 "},
        {kUninstaller, TEXT("-V"), AskedUninstall, "0 "},
        {kUninstaller, TEXT("-x -sconf -v"), Uninstall, "2 "},
        {kUninstaller, TEXT("-delself"), Uninstall, "1 "},
        {kUninstaller, TEXT("-DELSELF C:\\Scratch\\QtvUnInst.exe"), Uninstall, "1 "},
        {kUninstaller, TEXT("-Install -S"), Install, "1 "},
        {kSetup, TEXT(""), Install, "0 "},
        {kSetup, TEXT("-SConf"), Install, "2 "},
        {kSetup, TEXT("-s -v"), Install, "0 "},
        {kSetup, TEXT("-v -sconf"), Install, "0 "},
        {kSetup, TEXT("/s"), Install, "0 "},
        {kSetup, TEXT("-s \"-sfxname=C:\\my dl\\pkg.exe\" -s"), Install, "1 C:\\my dl"},
        {kSetup, TEXT("-sfxname=C:\\a\\b -sfxname=pkg.exe"), Install, "0 "},
        {kSetup, TEXT("-SFXNAME=C:\\dl\\pkg.exe"), Install, "0 "},
        {kSetup, TEXT("-sconf -sfxname=C:\\dl\\pkg.exe"), Install, "2 "},
        {kScratch + TEXT("\\MySetup.EXE"), TEXT("-s"), Install, "1 "},
        {kScratch + TEXT("\\SETUP.exe files\\QtvUnInst.exe"), TEXT("-s"), Install, "1 "},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(::testing::PrintToString(row.program + TEXT(" ") + row.arguments));
        (void)DeleteFileW(kReported.c_str());
        const BoxAnswers answers(row.job == Install          ? std::vector{IDOK}
                                 : row.job == AskedUninstall ? std::vector{IDYES}
                                                             : std::vector<int>{});
        const DWORD exitCode = RunChild("Starts", row.program, row.arguments);
        EXPECT_EQ(exitCode, row.job == Install ? 1u : 0u);
        EXPECT_EQ(FileBytes(kReported).value_or("none"), row.silenceAndPackage);
        EXPECT_TRUE(BootMarks().empty()) << "a temporary copy marks itself";
        const UINT style =
            row.job == Install ? MB_OK | MB_ICONSTOP : MB_YESNO | MB_ICONWARNING | MB_DEFBUTTON2;
        for (const ShownBox& box : answers.Shown()) {
            EXPECT_EQ(box.caption, row.job == Install ? TEXT("Qantivo 8") : TEXT("Qantivo Setup"));
            EXPECT_TRUE(box.HasStyle(style));
        }
    }
}

CHILD_PROGRAM(StartsUnhindered) {
    return theApp.InitInstance();
}

TEST_F(Start, DeclinedUninstallEndsTheRun) {
    const BoxAnswers answers({IDNO});
    EXPECT_EQ(RunChild("StartsUnhindered", kUninstaller, TEXT("-v")), 0u);
    EXPECT_TRUE(Exists(kUninstaller));
    EXPECT_TRUE(BootMarks().empty());
    EXPECT_EQ(answers.Shown().at(0).text,
              TEXT("This will completely uninstall Qantivo 8.\nDo you want to continue?"));
}

// The option counts more than the program's name, and the job starts without a question.
TEST_F(Start, TemporaryCopyGoesStraightToItsJob) {
    const Text application = kScratch + TEXT("\\app\\QtvUnInst.exe");
    for (const LPCWSTR option : {TEXT(" -v"), TEXT(" -s"), TEXT(" -sconf")}) {
        const bool asked = option == Text(TEXT(" -v"));
        MakeFile(application);
        const BoxAnswers answers(asked ? std::vector{IDOK} : std::vector<int>{});
        EXPECT_EQ(RunChild("Starts", kSetup, TEXT("-delself ") + application + option), 0u);
        EXPECT_FALSE(Exists(application));
        if (asked) {
            EXPECT_TRUE(
                answers.Shown().at(0).text.starts_with(TEXT("Qantivo 8 has been completely uninstalled")));
        }
    }
}

// Closing a question does not mean Yes. Closing a message ends it.
TEST_F(Start, BoxesAreClosedByOthers) {
    const struct {
        const char* child;
        LPCWSTR option, title;
        DWORD exitCode;
    } rows[] = {{"StartsUnhindered", TEXT("-v"), TEXT("Qantivo Setup"), 0},
                {"Starts", TEXT("-install"), kProductName, 1}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.child);
        const BoxAnswers answers({kLeftOpen});
        const RunningProgram copy = StartChild(row.child, row.option);
        const Driver box(copy.Id(), row.title);
        box.Await("the box", [&] { return answers.Shown().size() == 1; });
        EXPECT_EQ(COXInstanceManager::FindInstanceWindow(copy.Id()), box.Window());
        EXPECT_EQ(SendMessageW(box.Window(), WM_QUERYENDSESSION, 0, 0), 1);
        EXPECT_TRUE(PostMessageW(box.Window(), WM_CLOSE, 1001, 0));
        if (row.exitCode == 0) {
            EXPECT_TRUE(PostMessageW(box.Window(), WM_COMMAND, IDNO, 0)) << "a box of Yes and No stays open";
        }
        EXPECT_EQ(copy.ExitCode(), row.exitCode);
    }
    EXPECT_TRUE(Exists(kScratch + TEXT("\\running.exe")) && BootMarks().empty());
}
