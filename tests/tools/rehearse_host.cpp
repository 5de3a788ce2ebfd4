// What a rehearsal stands on, for which only the embedded machine can make calls fail, and the host's throwaway folders.
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <set>

#include "common/throwaway_folder.h"
#include "harness/scratch.h"
#include <winhost.h>

namespace fs = std::filesystem;

namespace {

// A machine that can't be read is no machine without differences.
TEST_F(ScratchTest, UnreadableMachineHasNoState) {
    for (const char* call : {"FindFirstFileW", "FindNextFileW", "CreateFileW", "ReadFile", "RegOpenKeyExW",
                             "RegEnumKeyW", "RegEnumValueW", "RegQueryValueExW"}) {
        MakeFile(kScratch + TEXT("\\file"));
        EXPECT_TRUE(MoveFileExW((kScratch + TEXT("\\file")).c_str(), nullptr, MOVEFILE_DELAY_UNTIL_REBOOT));
        winhost::SetFaults({{.call = call, .nth = 2}});
        EXPECT_THROW((void)lab::Take(), std::runtime_error) << call;
        winhost::SetFaults({});
    }
}

TEST(ThrowawayFolder, RemovesOnlyWhatAnEndedRunLeft) {
    const tools::ThrowawayFolder parent("parents", QTV_BUILD_FOLDER);
    std::set<std::string> stay = {".throwaway"};
    // Folders of a user, with names more and less alike, and with or without a file of the mark's name.
    for (const auto& [name, isMarked] : {std::pair{"t.notes", false},
                                         {"t.Abc123", false},
                                         {"t.Abc1234", true},
                                         {"t.ab.123", true},
                                         {"u.Abc123", true},
                                         {"t.Link12", false}}) {
        fs::create_directory(parent.Path() / name);
        if (isMarked) std::ofstream(parent.Path() / name / ".throwaway");
        stay.insert(name);
    }
    fs::create_symlink(parent.Path() / "u.Abc123/.throwaway", parent.Path() / "t.Link12/.throwaway");
    const pid_t child = fork();
    if (child == 0) {
        const tools::ThrowawayFolder left("t", parent.Path());
        _exit(fs::exists(left.Path()) ? 0 : 1);
    }
    int status = 0;
    (void)waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    const tools::ThrowawayFolder used("t", parent.Path()), next("t", parent.Path());
    std::set<std::string> there;
    for (const auto& entry : fs::directory_iterator(parent.Path()))
        there.insert(entry.path().filename());
    stay.insert({used.Path().filename(), next.Path().filename()});
    EXPECT_EQ(there, stay);
}

}  // namespace
