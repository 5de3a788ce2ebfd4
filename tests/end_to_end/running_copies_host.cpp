// What a setup that closes copies reaches and what it doesn't: only the embedded machine can hold its hand.
#include "end_to_end/run.h"
#include "instances/instance_manager.h"
#include "winhost.h"

namespace {

class ClosedCopies : public EndToEndTest {};

// The copies stay when their list is counted but can't be read.
TEST_F(ClosedCopies, AreThoseOfTheList) {
    const RunningProgram copy(TEXT("\"") + package + TEXT("\\QtvApp8.exe\" -show"));
    while (copy.Runs() && !COXInstanceManager::FindInstanceWindow(copy.Id()))
        Sleep(5);
    setenv("WINHOST_FAULTS", "MapViewOfFile#3", 1);
    EXPECT_EQ(Setup(TEXT("-install -s -instdir C:\\Scratch\\Qantivo")), 0u);
    unsetenv("WINHOST_FAULTS");
    EXPECT_TRUE(copy.Runs() && Exists(target + TEXT("\\QtvUnInst.log")));
}

// With no process to be opened, the application alone decides how it ends.
TEST_F(ClosedCopies, AreToldThatSetupClosesThem) {
    const RunningProgram copy(TEXT("\"") + package + TEXT("\\QtvApp8.exe\" -show"));
    while (copy.Runs() && !COXInstanceManager::FindInstanceWindow(copy.Id()))
        Sleep(5);
    COXInstanceManager list(TEXT("Lorvanta.Qantivo-ZR.v4"), 1024, false);
    EXPECT_EQ(list.CountInstances(), 1);
    winhost::SetProgramFaults("setup.exe", {{.call = "OpenProcess"}});
    Setup(TEXT("-install -s -instdir C:\\Scratch\\Qantivo"));
    EXPECT_GT(winhost::ProgramCallCounts()["OpenProcess"], 0u);
    winhost::ClearProgramFaults();
    EXPECT_EQ(copy.ExitCode(), 1001u);
    EXPECT_EQ(list.CountInstances(), 0) << "setup has left it, too";
}

}  // namespace
