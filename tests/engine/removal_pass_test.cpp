#include "app/setup_state.h"
#include "engine/file_ops.h"
#include "harness/machine_view.h"

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
             "Make Dir:\x20\r\nMake Dir: sub\r\nMake Dir: outer\r\nMake Dir: outer\\inner\r\n"
             "Make Dir: missing\r\nMake Dir: sub | comment\r\n"
             "File Copy: plain\r\nFile Copy x64: x64\r\nFile Copy ind: ind\r\nFile Copy prt: prt\r\n"
             "File Overwrite: overwrite\r\nFile Del: del\r\n"
             "File Copy: left > right?\r\n"
             "File Copy: commented | see | keep\r\n"
             "File Copy: x >  never there | > keep\r\n"
             "File Copy: keep >\r\nFile Copy: x > y > keep\r\n"
             "File Del:  keep\r\nFile Del: keep|bar\r\nFile Del: | x > keep\r\n"
             "File Copy: held\r\nFile Copy: sub\\*\r\n"
             "file copy: keep\r\nMade Dir: keep\r\nShell Link: C:\\Scratch\\app\\keep\r\n"
             "\x1a\r\nFile Copy: keep\r\nMake Dir: keep\r\n");
    const HeldFile held(kFolder + TEXT("\\held"), Hold::NoDelete);

    RunRemovalPass(kLog.c_str(), kFolder.c_str(), nullptr);
    EXPECT_EQ(Look(kFolder), State("left:1 keep:1 held:1 outer\\"));
    // The search for sub\* also finds the folder and its parent. A comment becomes part of a folder's name.
    std::vector<Mark> marks = Marks("held sub . outer missing", kFolder);
    marks.emplace_back(kFolder + TEXT("\\sub | comment"), TEXT(""));
    EXPECT_EQ(BootMarks(), marks);
    EXPECT_EQ(FileBytes(At("prt")), "parent's");
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

TEST_F(RemovalPassTest, DeleteMatchingDeletesOrMarks) {
    const std::string all = "a.dll:a b.DLL:b c.txt:c sub\\z.dll:z x.dll:y";
    // "a" and so many stars that the search path has the given length.
    const auto stars = [](std::size_t cch) { return "a" + std::string(cch - At("f\\a").size(), '*'); };
    const std::string withoutC = "a.dll:a b.DLL:b sub\\z.dll:z x.dll:y",
                      withoutZ = "a.dll:a b.DLL:b c.txt:c sub\\ x.dll:y",
                      withoutA = "b.DLL:b c.txt:c sub\\z.dll:z x.dll:y";
    const struct {
        const char* name;
        Text folder = At("f");
        std::string pattern;
        const char* held = "";
        std::string left;
        const char* marks = "";
        int deleted = 1;
    } rows[] = {
        {.name = "one name", .pattern = "c.txt", .left = withoutC},
        {"one in use", At("f/"), "?.dll", "a.dll", "a.dll:a c.txt:c sub\\z.dll:z", "a.dll", 2},
        {.name = "folder part", .pattern = "sub\\?.dll", .left = withoutZ},
        {.name = "two levels", .folder = kScratch, .pattern = "f\\sub\\?.dll", .left = withoutZ},
        {.name = "the other separator", .pattern = "sub/?.dll", .left = all, .marks = "z.dll", .deleted = 0},
        {.name = "no pattern", .pattern = "", .left = all, .deleted = 0},
        {.name = "all", .folder = At("f\\sub"), .pattern = "*.*", .left = withoutZ, .marks = "sub ."},
        {.name = "current folder", .folder = {}, .pattern = "f\\c.txt", .left = withoutC},
        {.name = "longest search path", .pattern = stars(MAX_PATH - 1), .left = withoutA},
        {.name = "search path too long", .pattern = stars(MAX_PATH), .left = all, .deleted = 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        DeleteTree(At("f"));
        Make(all, At("f"));
        for (const char* name : {"f\\a.dll", "f\\c.txt"})
            ASSERT_TRUE(SetFileAttributesW(At(name).c_str(), FILE_ATTRIBUTE_READONLY));
        ASSERT_TRUE(SetFileAttributesW(At("f\\sub").c_str(), FILE_ATTRIBUTE_HIDDEN));
        const std::size_t earlier = BootMarks().size();
        std::optional<HeldFile> held;
        if (*row.held) held.emplace(At("f\\") + Wide(row.held), Hold::NoDelete);

        EXPECT_EQ(DeleteMatching(row.folder.c_str(), Wide(row.pattern).c_str()), row.deleted);
        EXPECT_EQ(Look(At("f")), State(row.left));
        EXPECT_EQ(MarksFrom(earlier), Marks(row.marks, At("f")));
        EXPECT_TRUE(!held || !(GetFileAttributesW(At("f\\a.dll").c_str()) & FILE_ATTRIBUTE_READONLY));
        EXPECT_EQ((GetFileAttributesW(At("f\\sub").c_str()) & FILE_ATTRIBUTE_HIDDEN) == 0,
                  row.pattern == "*.*")
            << "a folder that matches is treated like a file";
    }
    EXPECT_EQ(g_rebootNeeded, 0);
}

}  // namespace
