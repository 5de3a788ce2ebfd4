// A start that only the embedded machine can show.
#include "app/setup_app.h"
#include "harness/scratch.h"
#include "winhost.h"

namespace {

class StartOnHost : public ScratchTest {
  protected:
    ~StartOnHost() override { winhost::ClearProgramFaults(); }
};

// Without its own path a program doesn't know whether it is the installer, so it asks nothing and ends.
TEST_F(StartOnHost, WithoutItsOwnPathItDoesNothing) {
    winhost::SetProgramFaults("QtvUnInst.exe", {{.call = "GetModuleFileNameW"}});
    const BoxAnswers answers(std::vector<int>{});
    EXPECT_EQ(RunChild("StartsUnhindered", kScratch + TEXT("\\QtvUnInst.exe"), TEXT("-v")), 0u);
    EXPECT_TRUE(answers.Shown().empty());
}

}  // namespace
