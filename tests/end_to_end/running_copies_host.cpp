// What a setup that closes copies reaches and what it doesn't: only the embedded machine can hold its hand.
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "end_to_end/run.h"
#include "instances/instance_manager.h"

namespace {

class ClosedCopies : public EndToEndTest {};

// With no process to be opened, the application alone decides how it ends.
TEST_F(ClosedCopies, AreToldThatSetupClosesThem) {
    const RunningProgram copy(TEXT("\"") + package + TEXT("\\QtvApp8.exe\" -show"));
    while (copy.Runs() && !COXInstanceManager::FindInstanceWindow(copy.Id()))
        Sleep(5);
    setenv("WINHOST_FAULTS", "OpenProcess#*", 1);
    Setup(TEXT("-install -s -instdir C:\\Scratch\\Qantivo"));
    unsetenv("WINHOST_FAULTS");
    EXPECT_EQ(copy.ExitCode(), 1001u);
}

// The list keeps ids of processes that have ended; the host may long have given such a number to another one.
TEST_F(ClosedCopies, StaleIdNeverHitsAStranger) {
    const pid_t stranger = fork();
    if (stranger == 0) {
        pause();
        _exit(0);
    }
    {
        COXInstanceManager list(TEXT("Lorvanta.Qantivo-ZR.v4"), 1024, false);
        ASSERT_EQ(list.AddInstance(static_cast<DWORD>(stranger)), 1);
        ASSERT_EQ(list.AddInstance(1), 1);
        Setup(TEXT("-install -s -instdir C:\\Scratch\\Qantivo"));
        EXPECT_EQ(list.CountInstances(), 2) << "setup saw them, and has left";
    }
    EXPECT_EQ(waitpid(stranger, nullptr, WNOHANG), 0) << "the stranger runs on";
    kill(stranger, SIGKILL);
    waitpid(stranger, nullptr, 0);
    EXPECT_TRUE(Exists(target));
}

}  // namespace
