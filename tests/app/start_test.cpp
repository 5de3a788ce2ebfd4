// What a command line leads to: the job, how quiet it is, and which question comes first.
#include "app/setup_app.h"
#include "app/setup_state.h"
#include "harness/scratch.h"

#include <cstdlib>

namespace {

const Text kReported = kScratch + TEXT("\\report");
const Text kSetup = kScratch + TEXT("\\setup.exe");
const Text kUninstaller = kScratch + TEXT("\\QtvUnInst.exe");

void Report() {
    const Text folder = g_sfxDir.Text();
    MakeFile(kReported, std::to_string(g_silentMode) + " " + std::string(folder.begin(), folder.end()));
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
        EXPECT_EQ(RunChild("Starts", row.program, row.arguments), row.job == Install ? 1u : 0u);
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

// The option counts more than the program's name, and the job starts without a question.
TEST_F(Start, TemporaryCopyGoesStraightToItsJob) {
    const Text application = kScratch + TEXT("\\app\\QtvUnInst.exe");
    for (const LPCWSTR option : {TEXT(""), TEXT(" -v"), TEXT(" -s"), TEXT(" -sconf")}) {
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
