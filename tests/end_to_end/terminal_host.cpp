// The wizard at the terminal of the embedded machine, as a person uses it there.
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

#include "common/redirected_streams.h"
#include "end_to_end/run.h"
#include <winhost.h>

namespace {

class Terminal : public EndToEndTest {
  protected:
    Terminal() { winhost::EndBoxAnswers(); }
    // Closes the descriptor.
    static RunningProgram Start(int descriptor) {
        const tools::RedirectedStreams streams({dup(descriptor), descriptor});
        return RunningProgram(package + TEXT("\\setup.exe"), package);
    }
};

TEST_F(Terminal, TakesAPersonThroughTheWizard) {
    int person, program;
    termios settings = {};
    cfmakeraw(&settings);
    ASSERT_EQ(openpty(&person, &program, nullptr, &settings, nullptr), 0);
    // Two things are refused at first: a new folder's name that is no folder, and a Cancel that is taken back.
    const std::string keys = "\n\n1\n4\n1\nC:\\Nowhere\n3\nok\n4\n7\nno\n\n1\nQantivo pictures\n\n\n\n";
    ASSERT_EQ(write(person, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
    const RunningProgram setup = Start(program);
    std::string shown;
    char buffer[4096];
    pollfd readable = {person, POLLIN, 0};
    for (ssize_t got; poll(&readable, 1, static_cast<int>(tools::kHangMs)) > 0 &&
                      (got = read(person, buffer, sizeof buffer)) > 0;)
        shown.append(buffer, static_cast<std::size_t>(got));
    close(person);
    EXPECT_EQ(setup.ExitCode(), 0u);
    for (const char* text :
         {"==== Qantivo Setup ====\nWelcome to Qantivo Setup!",
          "Do you accept this agreement?\n\n 1 [< Back] 2 [Yes] 3 [No]",
          "  1 (o) Install for the Current User only\n  2 ( ) Install for All Users",
          "==== Browse For Folder ====", "You have entered and invalid folder name.",
          "Do you really want to cancel Qantivo setup?", "  1 [Qantivo pictures]\n",
          "Qantivo 8.05.02 has been successfully installed.", "     [< Back] 2 [Finish >]     [Cancel]"})
        EXPECT_NE(shown.find(text), shown.npos) << text << "\n is not in \n" << shown;
    const Plan plan = {.target = "C:\\Program Files\\Qantivo 8", .group = "Qantivo pictures"};
    EXPECT_TRUE(Same(Installed(plan), Changes()));
}

TEST_F(Terminal, EndsAProgramThatNobodyCanUse) {
    EXPECT_EQ(Start(open("/dev/null", O_RDWR | O_CLOEXEC)).ExitCode(), lab::kSessionEnded);
    EXPECT_TRUE(Same({}, Changes()));
}

}  // namespace
