// What a setup that closes copies reaches and what it doesn't: only the embedded machine can hold its hand.
#include "end_to_end/run.h"
#include "instances/instance_manager.h"

namespace {

class ClosedCopies : public EndToEndTest {};

// With no process to be opened, the application alone decides how it ends.
TEST_F(ClosedCopies, AreToldThatSetupClosesThem) {
    const RunningProgram copy(TEXT("\"") + package + TEXT("\\QtvApp8.exe\" -show"));
    while (copy.Runs() && !COXInstanceManager::FindInstanceWindow(copy.Id()))
        Sleep(5);
    COXInstanceManager list(TEXT("Lorvanta.Qantivo-ZR.v4"), 1024, false);
    EXPECT_EQ(list.CountInstances(), 1);
    setenv("WINHOST_FAULTS", "OpenProcess#*", 1);
    Setup(TEXT("-install -s -instdir C:\\Scratch\\Qantivo"));
    unsetenv("WINHOST_FAULTS");
    EXPECT_EQ(copy.ExitCode(), 1001u);
    EXPECT_EQ(list.CountInstances(), 0) << "setup has left it, too";
}

}  // namespace
