// The program rehearse itself, run from the host's shell.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

namespace {

class RehearseProgram : public ::testing::Test {
  protected:
    RehearseProgram() {
        fs::remove_all(kWork);
        fs::create_directories(kTemporary);
    }
    ~RehearseProgram() override { fs::remove_all(kWork); }

    // Returns the exit code. The output is stored in m_output.
    int Run(const std::string& arguments) {
        const std::string line = "TMPDIR=" + kTemporary + " " QTV_BUILD_FOLDER "/rehearse " + arguments +
                                 " >" + kWork + "/output 2>&1";
        const int status = std::system(line.c_str());
        std::ifstream file(kWork + "/output");
        m_output.assign(std::istreambuf_iterator<char>(file), {});
        EXPECT_TRUE(fs::is_empty(kTemporary));
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    std::string CopyOfPackage() const {
        fs::copy(kSample, kWork + "/package",
                 fs::copy_options::recursive | fs::copy_options::overwrite_existing);
        return kWork + "/package";
    }

    const std::string kWork = QTV_BUILD_FOLDER "/rehearsals";
    const std::string kTemporary = kWork + "/tmp";
    const std::string kSample = QTV_BUILD_FOLDER "/package";
    std::string m_output;
};

TEST_F(RehearseProgram, SaysWhatItCantRehearse) {
    const std::string package = CopyOfPackage();
    ASSERT_EQ(mkfifo((package + "/pipe").c_str(), 0666), 0);
    const std::pair<std::string, const char*> rows[] = {
        {"", "use: rehearse"},
        {kSample + " --earlier", "use: rehearse"},
        {kSample + " " + kSample, "use: rehearse"},
        {kWork + "/none", "is no folder"},
        {kSample + " --earlier " + kTemporary, "is no package: it has no setup.exe"},
        {package, "package/pipe is no plain file or folder"},
        {kSample + " --wine", "its setup.exe is no Windows program"},
    };
    for (const auto& [arguments, says] : rows) {
        EXPECT_EQ(Run(arguments), 2) << arguments;
        EXPECT_NE(m_output.find(says), m_output.npos) << m_output;
    }
}

TEST_F(RehearseProgram, ShowsRunsThatComeToNothing) {
    const std::string package = CopyOfPackage();
    EXPECT_EQ(Run(package + " --"), 0);
    EXPECT_NE(m_output.find("a page that waits for a person  ->  the program was ended"), m_output.npos)
        << m_output;
    std::ofstream(package + "/QtvUnInst.log", std::ios::binary).write("\0\x1A\xFF\r\x1B[31m\xC3", 10);
    EXPECT_EQ(Run(package), 1);
    fs::remove(package + "/QtvApp8.exe");
    EXPECT_EQ(Run(package), 0);
    EXPECT_NE(m_output.find("[Qantivo 8] This setup files are damaged, installation aborted."), m_output.npos)
        << m_output;
    std::ofstream(package + "/setup.exe") << "MZ no program";
    EXPECT_EQ(Run("--json " + kSample + " --earlier " + package), 0);
    EXPECT_NE(m_output.find("setup.exe runs instead"), m_output.npos) << m_output;
}

TEST_F(RehearseProgram, RemovesItsMachineWhenItIsBrokenOff) {
    const auto start = [&] {
        const pid_t child = fork();
        if (child == 0) {
            setenv("TMPDIR", kTemporary.c_str(), 1);
            (void)!freopen("/dev/null", "w", stdout);
            execl(QTV_BUILD_FOLDER "/rehearse", "rehearse", kSample.c_str(), nullptr);
            _exit(127);
        }
        while (fs::is_empty(kTemporary) ||
               !fs::exists(fs::directory_iterator(kTemporary)->path() / "machine/C/Package"))
            usleep(1000);
        return child;
    };
    int status = 0;
    pid_t child = start();
    (void)kill(child, SIGINT);
    (void)waitpid(child, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), 128 + SIGINT);
    EXPECT_TRUE(fs::is_empty(kTemporary));

    // If the program is killed, the next run removes what it left.
    child = start();
    (void)kill(child, SIGKILL);
    (void)waitpid(child, &status, 0);
    EXPECT_FALSE(fs::is_empty(kTemporary));
    EXPECT_EQ(Run(kSample), 0);
}

}  // namespace
