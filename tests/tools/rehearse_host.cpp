// The program rehearse itself, run from the host's shell.
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "common/throwaway_folder.h"
#include "harness/scratch.h"
#include <winhost.h>

namespace fs = std::filesystem;

namespace {

class RehearseProgram : public ::testing::Test {
  protected:
    RehearseProgram() { fs::create_directories(kTemporary); }

    // Returns the exit code. The output is stored in m_output.
    int Run(const std::string& arguments) {
        const std::string line =
            "TMPDIR=" + kTemporary + " " + kProgram + " " + arguments + " >" + kWork + "/output 2>&1";
        const int status = std::system(line.c_str());
        m_output = BuildBytes(kWork + "/output");
        EXPECT_TRUE(fs::is_empty(kTemporary));
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    void ExpectSaid(const std::string& text) const {
        EXPECT_NE(m_output.find(text), m_output.npos) << text << "\nisn't in\n" << m_output;
    }

    std::string CopyOfPackage() const {
        fs::copy(kSample, kWork + "/package",
                 fs::copy_options::recursive | fs::copy_options::overwrite_existing);
        return kWork + "/package";
    }

    // A planted fault may be in another program than the build's.
    const char* const kTools = std::getenv("QTV_TOOLS");
    const std::string kProgram = std::string(kTools ? kTools : QTV_BUILD_FOLDER) + "/rehearse";
    const tools::ThrowawayFolder kFolder{"rehearsals", QTV_BUILD_FOLDER};
    const std::string kWork = kFolder.Path();
    const std::string kTemporary = kWork + "/tmp";
    const std::string kSample = QTV_BUILD_FOLDER "/package";
    const std::string kSleeper = QTV_BUILD_FOLDER "/sleeper.exe";
    std::string m_output;
};

TEST_F(RehearseProgram, SaysWhatItCantRehearse) {
    const std::string package = CopyOfPackage();
    ASSERT_EQ(mkfifo((package + "/pipe").c_str(), 0666), 0);
    const std::pair<std::string, const char*> rows[] = {
        {"", "usage: rehearse"},
        {kSample + " --earlier", "usage: rehearse"},
        {kSample + " " + kSample, "usage: rehearse"},
        {kWork + "/none", "is no folder"},
        {kSample + " --earlier " + kTemporary, "is no package: it has no setup.exe"},
        {package, "package/pipe is no plain file or folder"},
        {kSample + " --earlier " + kSample + " --update " + package + "/pipe", "pipe is no plain file"},
        {kSample + " --wine --trace x", "usage: rehearse"},
        {kSample + " --wine", "its setup.exe is no Windows program"},
        {kSample + " --trace " + kWork + "/none/text", "its folder is missing"},
        {kSample + " --html /dev/full", "/dev/full can't be written"},
    };
    for (const auto& [arguments, says] : rows) {
        EXPECT_EQ(Run(arguments), 2) << arguments;
        ExpectSaid(says);
    }
    fs::rename(package + "/pipe", kWork + "/pipe");
    (void)std::ofstream(package + "/a\x1B[31mb");
    EXPECT_EQ(Run(package), 2);
    ExpectSaid("C:\\Package\\a\\x1b[31mb can't be read");
}

TEST_F(RehearseProgram, TellsOfRunsThatInstallNothing) {
    const std::string package = CopyOfPackage();
    EXPECT_EQ(Run(package + " --"), 1);
    ExpectSaid("a page that waits for a person  ->  the program was ended");
    std::ofstream(package + "/QtvUnInst.log", std::ios::binary).write("\0\x1A\xFF\r\x1B[31m\xC3", 10);
    EXPECT_EQ(Run(package), 1);
    fs::remove(package + "/QtvApp8.exe");
    EXPECT_EQ(Run(package), 1);
    ExpectSaid("setup: ended with 1\n");
    ExpectSaid("setup: showed: [Qantivo 8] This setup files are damaged, installation aborted.");
    ExpectSaid("[Qantivo 8] This setup files are damaged, installation aborted.");
    std::ofstream(package + "/setup.exe") << "MZ no program";
    EXPECT_EQ(Run("--json " + kSample + " --earlier " + package), 1);
    ExpectSaid("setup.exe runs instead");
}

// A machine that can't be read is no machine without differences.
TEST_F(ScratchTest, UnreadableMachineHasNoState) {
    for (const char* call : {"FindFirstFileW", "FindNextFileW", "CreateFileW", "ReadFile", "RegOpenKeyExW",
                             "RegEnumKeyW", "RegEnumValueW", "RegQueryValueExW"}) {
        MakeFile(kScratch + TEXT("\\file"));
        EXPECT_TRUE(MoveFileExW((kScratch + TEXT("\\file")).c_str(), nullptr, MOVEFILE_DELAY_UNTIL_REBOOT));
        winhost::SetFaults({{.call = call, .nth = 2}});
        EXPECT_THROW((void)lab::Take(), std::runtime_error) << call;
        winhost::SetFaults({});
    }
}

TEST_F(RehearseProgram, TellsNoVerdictOfARunThatHangs) {
    const std::string package = CopyOfPackage();
    setenv("WINHOST_CLOCK", "virtual", 1);
    for (const std::string program : {"/QtvUnInst.exe", "/setup.exe"}) {
        fs::copy_file(kSleeper, package + program, fs::copy_options::overwrite_existing);
        EXPECT_EQ(Run(package), 2);
        ExpectSaid("programs were still running  ->  they were ended");
        ExpectSaid("showed: programs were still running  ->  they were ended\nnot finished");
    }
    unsetenv("WINHOST_CLOCK");
}

TEST_F(RehearseProgram, RemovesItsMachineWhenItIsBrokenOff) {
    const std::string endless = CopyOfPackage();
    fs::copy_file(kSleeper, endless + "/setup.exe", fs::copy_options::overwrite_existing);
    const auto breakOff = [&](int signal) {
        const pid_t child = fork();
        if (child == 0) {
            setenv("TMPDIR", kTemporary.c_str(), 1);
            (void)!freopen("/dev/null", "w", stdout);
            execl(kProgram.c_str(), "rehearse", endless.c_str(), nullptr);
            _exit(127);
        }
        while (fs::is_empty(kTemporary) ||
               !fs::exists(fs::directory_iterator(kTemporary)->path() / "machine/C/Package"))
            usleep(1000);
        (void)kill(child, signal);
        int status = 0;
        (void)waitpid(child, &status, 0);
        return WEXITSTATUS(status);
    };
    EXPECT_EQ(breakOff(SIGINT), 128 + SIGINT);
    EXPECT_TRUE(fs::is_empty(kTemporary));

    // If the program is killed, the next run removes what it left.
    (void)breakOff(SIGKILL);
    EXPECT_FALSE(fs::is_empty(kTemporary));
    EXPECT_EQ(Run(kSample), 0);
}

TEST_F(RehearseProgram, WritesItsFilesWhereItIsStarted) {
    EXPECT_EQ(std::system(("cd " + kTemporary + " && " + kProgram + " " + kSample +
                           " --html x.html --trace x.txt >../output")
                              .c_str()),
              0);
    EXPECT_NE(BuildBytes(kTemporary + "/x.html").find("nothing that should have gone"), std::string::npos);
    const std::string trace = BuildBytes(kTemporary + "/x.txt");
    std::size_t at = 0;
    for (const char* const line : {
             "==== setup ====\nsetup.exe\tmade folder C:\\Program Files\\Qantivo 8\n",
             "setup.exe\tcopied C:\\Package\\readme-en.txt to C:\\Program Files\\Qantivo 8\\readme.txt\n",
             "setup.exe\tmade shortcut <CommonPrograms>\\",
             "setup.exe\tregistered HKEY_LOCAL_MACHINE\\SOFTWARE\\Lorvanta\\Qantivo 8 : AllUsers = B\n",
             "setup.exe\tstarted \"C:\\Program Files\\Qantivo 8\\QtvApp8.exe\" -regonly\n",
             "==== uninstall ====\nQtvUnInst.exe\tcopied ",
             "uni*.tmp\tkept for the next start: delete <Temp>\\uni*.tmp\n",
             "uni*.tmp\tdeleted C:\\Program Files\\Qantivo 8\\readme.txt\n",
             "==== restart ====\n",
         }) {
        const auto found = trace.find(line, at);
        EXPECT_NE(found, trace.npos) << line << "\nis missing or comes too early in\n" << trace;
        at = std::min(found, trace.size());
    }
}

TEST(ThrowawayFolder, RemovesOnlyWhatAnEndedRunLeft) {
    const tools::ThrowawayFolder parent("parents", QTV_BUILD_FOLDER);
    std::set<std::string> stay = {".throwaway"};
    // Folders of a user, with names more and less alike, and with or without a file of the mark's name.
    for (const auto& [name, isMarked] : {std::pair{"t.notes", false},
                                         {"t.Abc123", false},
                                         {"t.Abc1234", true},
                                         {"t.ab.123", true},
                                         {"u.Abc123", true},
                                         {"t.Link12", false}}) {
        fs::create_directory(parent.Path() / name);
        if (isMarked) std::ofstream(parent.Path() / name / ".throwaway");
        stay.insert(name);
    }
    fs::create_symlink(parent.Path() / "u.Abc123/.throwaway", parent.Path() / "t.Link12/.throwaway");
    const pid_t child = fork();
    if (child == 0) {
        const tools::ThrowawayFolder left("t", parent.Path());
        _exit(fs::exists(left.Path()) ? 0 : 1);
    }
    int status = 0;
    (void)waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    const tools::ThrowawayFolder used("t", parent.Path()), next("t", parent.Path());
    std::set<std::string> there;
    for (const auto& entry : fs::directory_iterator(parent.Path()))
        there.insert(entry.path().filename());
    stay.insert({used.Path().filename(), next.Path().filename()});
    EXPECT_EQ(there, stay);
}

}  // namespace
