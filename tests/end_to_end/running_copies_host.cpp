// Which copies setup closes and which it doesn't. Only the embedded machine can make its calls fail.
#include "end_to_end/run.h"
#include "instances/instance_manager.h"
#include <winhost.h>

namespace {

class ClosedCopies : public EndToEndTest {};

// If the list can be counted but not read, the copies stay.
TEST_F(ClosedCopies, AreThoseOfTheList) {
    const RunningProgram copy = StartCopy(package);
    winhost::SetProgramFaults("setup.exe", {{.call = "MapViewOfFile", .nth = 3}});
    EXPECT_EQ(Setup(TEXT("-install -s -instdir C:\\Scratch\\Qantivo")), 0u);
    winhost::ClearProgramFaults();
    EXPECT_TRUE(copy.Runs() && Exists(target + TEXT("\\QtvUnInst.log")));
}

// If setup can't open a copy's process, the application itself decides how it ends.
TEST_F(ClosedCopies, GetTheMessageThatSetupClosesThem) {
    const RunningProgram copy = StartCopy(package);
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
