#include "uninstall/uninstall_driver.h"

#include <shlobj.h>

#include "app/setup_state.h"
#include "support/scratch.h"
#include "support/shell_folders.h"
#include "uninstall/relaunch.h"

namespace {

const Text kFolder = kScratch + TEXT("\\a b");
const Text kMarked = kFolder + TEXT("\\");

class Uninstall : public ScratchTest {
  protected:
    static std::vector<Text> MarkedPaths() {
        std::vector<Text> paths;
        for (const Mark& mark : BootMarks())
            paths.push_back(mark.first);
        return paths;
    }
};

// No log names these: they go by the product's name, from the machine and from every user.
TEST_F(Uninstall, SweepsUpWhatBearsTheProductsName) {
    const int links[] = {CSIDL_COMMON_STARTUP, CSIDL_COMMON_DESKTOPDIRECTORY, CSIDL_STARTUP, CSIDL_DESKTOP};
    const int groups[] = {CSIDL_COMMON_PROGRAMS, CSIDL_PROGRAMS};
    for (const int folder : links)
        MakeFile(GetShellFolder(folder).Text() + TEXT("\\Qantivo 8.lnk"));
    for (const int folder : groups)
        MakeFile(GetShellFolder(folder).Text() + TEXT("\\Qantivo 8\\of the user.txt"));
    PerformUninstall(kMarked.c_str());
    for (const int folder : links)
        EXPECT_FALSE(Exists(GetShellFolder(folder).Text() + TEXT("\\Qantivo 8.lnk"))) << folder;
    for (const int folder : groups)
        EXPECT_FALSE(Exists(GetShellFolder(folder).Text() + TEXT("\\Qantivo 8"))) << folder;
}

// Which folders wait for the next start: a missing x64 does, and the x32 folder decides for the installation
// folder.
TEST_F(Uninstall, MarksFoldersThatStay) {
    const Text x64 = kMarked + TEXT("x64"), x32 = kMarked + TEXT("x32");
    const struct {
        std::vector<Text> files;
        std::vector<Text> marked;
    } rows[] = {
        {{}, {x64}},
        {{TEXT("own.txt")}, {x64}},
        {{TEXT("x64\\own.txt")}, {x64}},
        {{TEXT("x32\\own.txt")}, {x64, x32, kMarked}},
    };
    for (const auto& row : rows) {
        MakeFolder(kFolder);
        for (const Text& file : row.files)
            MakeFile(kMarked + file);
        PerformUninstall(kMarked.c_str());
        EXPECT_EQ(MarkedPaths(), row.marked);
        EXPECT_EQ(Exists(kFolder), !row.files.empty());
        DeleteTree(kFolder);
        RestartMachine();
    }
}

CHILD_PROGRAM(TemporaryCopy) {
    g_silentMode = 0;
    RunTemporaryCopy();
}

// Started by hand, the copy works on the folder that it is told, and says so when it isn't silent.
TEST_F(Uninstall, CopyStartedByHand) {
    const Text tooLong = kScratch + TEXT("\\") + Text(260, 'x') + TEXT("\\QtvUnInst.exe");
    // A folder just past the runtime's buffer, which leaves none at all: not the current one instead.
    const Text folderTooLong = TEXT("C:\\") + Text(252, 'x') + TEXT("\\f");
    const Text first = kMarked + TEXT("QtvUnInst.exe");
    for (const Text& position2 : {tooLong, folderTooLong, first}) {
        MakeFile(first);
        MakeFile(kScratch + TEXT("\\QtvUnInst.log"));
        const bool fits = position2 == first;
        const BoxAnswers boxes(fits ? std::vector<int>{IDOK} : std::vector<int>{});
        (void)RunChild("TemporaryCopy", kScratch + TEXT("\\copy.exe"),
                       TEXT("-delself \"") + position2 + TEXT("\""));
        EXPECT_EQ(boxes.Shown().size(), fits ? 1u : 0u);
        EXPECT_EQ(Exists(first), !fits);
        EXPECT_TRUE(Exists(kScratch + TEXT("\\QtvUnInst.log")));
    }
}

}  // namespace
