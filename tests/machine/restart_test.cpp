// Boot-time marks, as the file engine relies on them.
#include "harness/machine_view.h"
#include "machine/answers.h"

namespace {

class Restart : public ScratchTest {};

// For the test of the kit.
TEST_F(Restart, DISABLED_ComesAgainAndAgain) {
    RestartMachine();
}

TEST_F(Restart, CarriesMarksOutInOrderAndTakesThemAway) {
    if (IsBeforeRestart(1)) {
        Make("kept:k moves:m new:n old:o ini:i full\\file:f taken:t missing:x empty\\");
        const HeldFile running(TEXT("C:\\Scratch\\running.exe"), Hold::Running);
        // A move doesn't replace, but a delete mark before it makes way.
        const std::vector<Mark> marks =
            Marks("running.exe kept>taken moves>moved old new>old empty full full\\file missing");
        const Files before = Look();
        for (const auto& [source, target] : marks)
            EXPECT_TRUE(MoveFileExW(source.c_str(), target.empty() ? nullptr : target.c_str(),
                                    MOVEFILE_DELAY_UNTIL_REBOOT))
                << GetLastError();
        EXPECT_EQ(BootMarks(), marks);
        EXPECT_EQ(Look(), before) << "a mark changes nothing before the restart";
        EXPECT_TRUE(DeleteFileW(TEXT("C:\\Scratch\\missing")));
        EXPECT_TRUE(
            WritePrivateProfileSectionW(TEXT("rename"), TEXT("NUL=C:\\Scratch\\ini\0"), TEXT("WININIT.INI")));
        RestartMachine();
    }
    // Only the old line of Windows carries out WININIT.INI.
    const bool carriesOut = !Exists(TEXT("C:\\Scratch\\ini"));
    ExpectAnswers({{"wininit.ini", carriesOut ? "is carried out at a restart" : "stays", "stays"}});
    EXPECT_EQ(Look(),
              State(std::string("full\\ kept:k moved:m old:n taken:t") + (carriesOut ? "" : " ini:i")));
    EXPECT_EQ(BootMarks(), std::vector<Mark>{});
    EXPECT_NE(Exists(TEXT("C:\\windows\\wininit.ini")), carriesOut);
}

}  // namespace
