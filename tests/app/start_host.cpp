// A start that only the embedded machine can show.
#include "harness/scratch.h"
#include <winhost.h>

// Without its own path a program doesn't know whether it is the installer, so it asks nothing and ends.
TEST_F(ScratchTest, StartWithoutItsOwnPathDoesNothing) {
    winhost::SetProgramFaults("QtvUnInst.exe", {{.call = "GetModuleFileNameW"}});
    const BoxAnswers answers(std::vector<int>{});
    EXPECT_EQ(RunChild("Starts", kScratch + TEXT("\\QtvUnInst.exe"), TEXT("-v")), 0u);
    EXPECT_TRUE(answers.Shown().empty());
    winhost::ClearProgramFaults();
}
