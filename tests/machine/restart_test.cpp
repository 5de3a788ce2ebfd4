// Boot-time marks, as the file engine relies on them.
#include "machine/file_calls.h"

namespace {

constexpr DWORD kDelayed = MOVEFILE_DELAY_UNTIL_REBOOT;

class Restart : public ScratchTest {};

// For the test of the kit.
TEST_F(Restart, DISABLED_ComesAgainAndAgain) {
    RestartMachine();
}

TEST_F(Restart, CarriesMarksOutInOrderAndTakesThemAway) {
    if (IsBeforeRestart(1)) {
        MakeFiles({"kept", "moves", "new", "old", "ini", "full\\file"}, "a");
        MakeFiles({"taken"}, "b");
        const HeldFile running(TEXT("C:\\Scratch\\running.exe"), Hold::Running);
        MakeFolder(TEXT("C:\\Scratch\\empty"));
        const std::vector<Mark> marks = {
            {TEXT("C:\\Scratch\\running.exe"), TEXT("")},
            {TEXT("C:\\Scratch\\kept"), TEXT("C:\\Scratch\\taken")},  // a move doesn't replace
            {TEXT("C:\\Scratch\\moves"), TEXT("C:\\Scratch\\moved")},
            {TEXT("C:\\Scratch\\old"), TEXT("")},  // but a delete mark before it makes way
            {TEXT("C:\\Scratch\\new"), TEXT("C:\\Scratch\\old")},
            {TEXT("C:\\Scratch\\empty"), TEXT("")},
            {TEXT("C:\\Scratch\\full"), TEXT("")},
            {TEXT("C:\\Scratch\\full\\file"), TEXT("")},
            {TEXT("C:\\Scratch\\missing"), TEXT("")},
        };
        MakeFile(TEXT("C:\\Scratch\\missing"));
        for (const auto& [source, target] : marks)
            EXPECT_TRUE(MoveFileExW(source.c_str(), target.empty() ? nullptr : target.c_str(), kDelayed))
                << GetLastError();
        EXPECT_EQ(BootMarks(), marks);
        EXPECT_EQ(Tree().size(), 11u) << "a mark changes nothing before the restart";
        EXPECT_TRUE(DeleteFileW(TEXT("C:\\Scratch\\missing")));
        EXPECT_TRUE(
            WritePrivateProfileSectionW(TEXT("rename"), TEXT("NUL=C:\\Scratch\\ini\0"), TEXT("WININIT.INI")));
        RestartMachine();
    }
    // Only the old line of Windows carries out WININIT.INI.
    const bool carriesOut = !Exists(TEXT("C:\\Scratch\\ini"));
    ExpectAnswers({{"wininit.ini", carriesOut ? "is carried out at a restart" : "stays", "stays"}});
    EXPECT_EQ(Listed(Tree()), std::string("full\\ ") + (carriesOut ? "" : "ini ") + "kept moved old taken");
    EXPECT_EQ(FileBytes(TEXT("C:\\Scratch\\taken")), "b");
    EXPECT_EQ(BootMarks(), std::vector<Mark>{});
    EXPECT_NE(Exists(TEXT("C:\\windows\\wininit.ini")), carriesOut);
}

}  // namespace
