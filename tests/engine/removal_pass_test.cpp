#include "app/setup_state.h"
#include "engine/file_ops.h"
#include "harness/machine_view.h"
#include "engine/manifest.h"

namespace {

using RemovalPassTest = ScratchTest;

const Text kFolder = At("app");
const Text kLog = At("log");

TEST_F(RemovalPassTest, DeletesFilesBeforeFolders) {
    Make(
        "plain:1 x64:1 ind:1 prt:1 overwrite:1 del:1 left:1 right1:1 right2:1 commented:1 keep:1 held:1 "
        "sub\\file:1 outer\\inner\\",
        kFolder);
    Make("prt:parent's");
    MakeFile(kLog,
             "Make Dir:\x20\r\n"
             "Make Dir: sub\r\n"
             "Make Dir: outer\r\n"
             "Make Dir: outer\\inner\r\n"
             "Make Dir: missing\r\n"
             "Make Dir: sub | comment\r\n"
             "File Copy: plain\r\n"
             "File Copy x64: x64\r\n"
             "File Copy ind: ind\r\n"
             "File Copy prt: prt\r\n"
             "File Overwrite: overwrite\r\n"
             "File Del: del\r\n"
             "File Copy: left > right?\r\n"
             "File Copy: commented | see | keep\r\n"
             "File Copy: x >  never there | > keep\r\n"
             "File Copy: keep >\r\nFile Copy: x > y > keep\r\n"
             "File Del:  keep\r\nFile Del: keep|bar\r\nFile Del: | x > keep\r\n"
             "File Copy: held\r\n"
             "File Copy: sub\\*\r\n"
             "file copy: keep\r\n"
             "Made Dir: keep\r\n"
             "Shell Link: C:\\Scratch\\app\\keep\r\n"
             "\x1a\r\nFile Copy: keep\r\nMake Dir: keep\r\n");
    const HeldFile held(kFolder + TEXT("\\held"), Hold::NoDelete);

    RunRemovalPass(kLog.c_str(), kFolder.c_str(), nullptr);
    EXPECT_EQ(Look(kFolder), State("left:1 keep:1 held:1 outer\\"));
    // The search for sub\* also finds the folder and its parent. A comment becomes part of a folder's name.
    std::vector<Mark> marks = Marks("held sub . outer missing", kFolder);
    marks.emplace_back(kFolder + TEXT("\\sub | comment"), TEXT(""));
    EXPECT_EQ(BootMarks(), marks);
    EXPECT_EQ(FileBytes(At("prt")), "parent's");
    EXPECT_EQ(g_rebootNeeded, 0);
}

TEST_F(RemovalPassTest, LinksAreDeletedBeforeTheirGroup) {
    Make(
        "menu\\tools\\group\\one.lnk:1 menu\\tools\\group\\sub\\two.lnk:1 menu\\shared\\group\\three.lnk:1 "
        "menu\\shared\\users.lnk:1 menu\\full\\group\\users.lnk:1 menu\\empty\\ fixed.lnk:1 a.lnk:1");
    ASSERT_TRUE(SetFileAttributesW(At("fixed.lnk").c_str(), FILE_ATTRIBUTE_READONLY));
    MakeFile(kLog,
             "Made Dir: C:\\Scratch\\menu\\tools\\group\\sub\r\n"
             "Made Dir: C:\\Scratch\\menu\\shared\\group\\\r\n"
             "Made Dir: C:\\Scratch\\menu\\full\\group\r\n"
             "Made Dir: C:\\Scratch\\menu\\empty\\gone\r\n"
             "Shell Link: C:\\Scratch\\menu\\tools\\group\\one.lnk\r\n"
             "Shell Link: C:\\Scratch\\menu\\tools\\group\\sub\\two.lnk\r\n"
             "Shell Link: C:\\Scratch\\menu\\shared\\group\\three.lnk\r\n"
             "Shell Link: C:\\Scratch\\fixed.lnk\r\n"
             "Shell Link: C:\\Scratch\\a.lnk | no comment is known here\r\n"
             "Shell Link: C:\\Scratch\\*.lnk\r\nMake Dir: menu\\empty\r\n"
             "File Copy: a.lnk\r\n"
             "\x1a\r\nShell Link: C:\\Scratch\\a.lnk\r\nMade Dir: C:\\Scratch\\menu\\empty\r\n");
    RemoveLoggedLinks(kLog.c_str());
    (void)DeleteFileW(kLog.c_str());
    EXPECT_EQ(
        Look(),
        State("menu\\shared\\users.lnk:1 menu\\full\\group\\users.lnk:1 menu\\empty\\ fixed.lnk:1 a.lnk:1"));
    EXPECT_TRUE(BootMarks().empty());
}

}  // namespace
