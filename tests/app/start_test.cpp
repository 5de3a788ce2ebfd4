// What a command line leads to: the job, how quiet it is, and which question comes first.
#include "app/setup_app.h"
#include "app/setup_state.h"
#include "harness/scratch.h"

#include <cstdlib>

namespace {

const Text kReported = kScratch + TEXT("\\report");
const Text kSetup = kScratch + TEXT("\\setup.exe");
const Text kUninstaller = kScratch + TEXT("\\QtvUnInst.exe");

class Start : public ScratchTest {};

}  // namespace

// An install ends here at once with the message that the setup files are damaged, because there are none. An uninstall
// ends without its copy, because it finds no temporary folder.
CHILD_PROGRAM(Starts) {
    (void)SetEnvironmentVariableW(TEXT("TMP"), TEXT("C:\\Scratch\\missing"));
    g_silentMode = 7;
    (void)std::atexit(
        [] { MakeFile(kReported, std::to_string(g_silentMode) + " " + Narrow(g_sfxDir.Text())); });
    return theApp.InitInstance();
}

TEST_F(Start, CommandLineChoosesJobAndSilence) {
    enum Job { Install, Uninstall, AskedUninstall, Copy, CopyThatTells };
    // The option counts more than the program's name, and the job of the copy starts without a question.
    const Text copy = TEXT("-delself C:\\Scratch\\app\\QtvUnInst.exe"), application = copy.substr(9);
    const struct {
        Text program, arguments;
        Job job;
        const char* silenceAndPackage;
    } rows[] = {
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
        {kSetup, copy, Copy, "1 "},
        {kSetup, copy + TEXT(" -v"), CopyThatTells, "0 "},
        {kSetup, copy + TEXT(" -s"), Copy, "1 "},
        {kSetup, copy + TEXT(" -sconf"), Copy, "2 "},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::PrintToString(row.program + TEXT(" ") + row.arguments));
        (void)DeleteFileW(kReported.c_str());
        MakeFile(application);
        ForgetMarks();
        const bool asks = row.job == AskedUninstall;
        const bool tells = row.job == Install || row.job == CopyThatTells;
        const BoxAnswers answers(std::vector<int>(asks || tells, asks ? IDYES : IDOK));
        EXPECT_EQ(RunChild("Starts", row.program, row.arguments), row.job == Install ? 1u : 0u);
        EXPECT_EQ(FileBytes(kReported).value_or("none"), row.silenceAndPackage);
        EXPECT_EQ(BootMarks().empty(), row.job < Copy) << "a temporary copy marks itself";
        EXPECT_EQ(Exists(application), row.job < Copy);
        const UINT question = MB_YESNO | MB_ICONWARNING | MB_DEFBUTTON2, stops = MB_OK | MB_ICONSTOP;
        const UINT style = asks ? question : row.job == Install ? stops : MB_OK;
        for (const ShownBox& box : answers.Shown()) {
            EXPECT_EQ(box.caption, asks ? TEXT("Qantivo Setup") : TEXT("Qantivo 8"));
            EXPECT_TRUE(box.HasStyle(style));
        }
    }
}
