// What only the embedded machine can show of a start.
#include <winhost.h>

#include "harness/scratch.h"
#include "run/process_helpers.h"

// Without its own path a program doesn't know whether it is the installer, so it asks nothing and ends.
TEST_F(ScratchTest, StartWithoutItsOwnPathDoesNothing) {
    winhost::SetProgramFaults("QtvUnInst.exe", {{.call = "GetModuleFileNameW"}});
    EXPECT_EQ(RunChild("Starts", kScratch + TEXT("\\QtvUnInst.exe"), TEXT("-v")), 0u);
    winhost::ClearProgramFaults();
}

// A version that can't be read is older than every other one.
TEST_F(ScratchTest, VersionIsZeroOnASystemWithoutTheFunction) {
    RTL_OSVERSIONINFOEXW version;
    for (const bool hidden : {false, true}) {
        winhost::HideFunction("RtlGetVersion", hidden);
        EXPECT_EQ(GetOsVersion(&version), hidden ? 0 : 1);
        EXPECT_EQ(version.dwMajorVersion, hidden ? 0u : 10u);
    }
    winhost::HideFunction("RtlGetVersion", false);
}
