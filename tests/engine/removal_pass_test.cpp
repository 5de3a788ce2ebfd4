#include "app/setup_state.h"
#include "engine/file_ops.h"
#include "engine/machine_view.h"
#include "engine/manifest.h"

namespace {

using RemovalPassTest = ScratchTest;

const Text kFolder = At(TEXT("app"));
const Text kLog = At(TEXT("log"));

Files Below(const Files& files, std::initializer_list<LPCWSTR> names) {
    Files some;
    for (const LPCWSTR name : names)
        some.insert(*files.find(name));
    return some;
}

TEST_F(RemovalPassTest, FilesGoFirstAndThenTheFolders) {
    const Files files = {{TEXT("plain"), "1"},     {TEXT("x64"), "1"},           {TEXT("ind"), "1"},
                         {TEXT("prt"), "1"},       {TEXT("overwrite"), "1"},     {TEXT("del"), "1"},
                         {TEXT("left"), "1"},      {TEXT("right1"), "1"},        {TEXT("right2"), "1"},
                         {TEXT("commented"), "1"}, {TEXT("user's"), "1"},        {TEXT("keep"), "1"},
                         {TEXT("held"), "1"},      {TEXT("sub\\"), ""},          {TEXT("sub\\file"), "1"},
                         {TEXT("outer\\"), ""},    {TEXT("outer\\inner\\"), ""}, {TEXT("full\\"), ""},
                         {TEXT("full\\held"), "1"}};
    Make(files, kFolder);
    MakeFile(At(TEXT("prt")), "the parent's");
    const std::string log =
        "Make Dir: sub\r\n"
        "Make Dir: outer\r\n"
        "Make Dir: outer\\inner\r\n"
        "Make Dir: full\r\n"
        "Make Dir: missing\r\n"
        "Make Dir: sub | comment\r\n"
        "File Copy: plain\r\n"
        "File Copy x64: x64\r\n"
        "File Copy ind: ind\r\n"
        "File Copy prt: prt\r\n"
        "File Overwrite: overwrite\r\n"
        "File Del: del\r\n"
        "File Copy: left > right?\r\n"
        "File Copy: commented | see keep\r\n"
        "File Copy: x >  never there | > keep\r\n"
        "File Copy: | > keep\r\n"
        "File Copy: keep >\r\n"
        "File Copy: held\r\n"
        "File Copy: sub\\*\r\n"
        "File Copy: full\\held\r\n"
        "file copy: keep\r\n"
        "Made Dir: keep\r\n"
        "Shell Link: C:\\Scratch\\app\\keep\r\n";
    MakeFile(kLog, log);
    const HeldFile held(kFolder + TEXT("\\held"), Hold::NoDelete),
        inner(kFolder + TEXT("\\full\\held"), Hold::NoDelete);
    // The search for sub\* finds the folder and its parent as well.
    const std::vector<LPCWSTR> marked = {TEXT("\\held"),       TEXT("\\sub"),          TEXT(""),
                                         TEXT("\\full\\held"), TEXT("\\outer"),        TEXT("\\full"),
                                         TEXT("\\missing"),    TEXT("\\sub | comment")};

    RunRemovalPass(kLog.c_str(), kFolder.c_str(), nullptr);
    EXPECT_EQ(Look(kFolder), Below(files, {TEXT("left"), TEXT("user's"), TEXT("keep"), TEXT("held"),
                                           TEXT("outer\\"), TEXT("full\\"), TEXT("full\\held")}));
    std::vector<Mark> expected;
    for (const LPCWSTR name : marked)
        expected.emplace_back(kFolder + name, TEXT(""));
    EXPECT_EQ(BootMarks(), expected);
    EXPECT_EQ(FileBytes(kLog), log);
    EXPECT_EQ(FileBytes(At(TEXT("prt"))), "the parent's");
    EXPECT_EQ(g_rebootNeeded, 0);
}

TEST_F(RemovalPassTest, AKindThatIsNamedIsTheOnlyOneWhileFoldersGoAllTheSame) {
    Make({{TEXT("copy"), "1"},
          {TEXT("old1"), "1"},
          {TEXT("old2"), "1"},
          {TEXT("empty\\"), ""},
          {TEXT("full\\"), ""},
          {TEXT("full\\x"), "1"}},
         kFolder);
    MakeFile(kLog,
             "File Copy: copy\r\nFile Overwrite: copy\r\nFile Del: old* | both\r\nMake Dir: empty\r\nMake "
             "Dir: full\r\n");
    RunRemovalPass(kLog.c_str(), (kFolder + TEXT("\\")).c_str(), kFileDel);
    EXPECT_EQ(Look(kFolder), (Files{{TEXT("copy"), "1"}, {TEXT("full\\"), ""}, {TEXT("full\\x"), "1"}}));
    EXPECT_EQ(BootMarks(), (std::vector<Mark>{{kFolder + TEXT("\\full"), TEXT("")}}));
}

TEST_F(RemovalPassTest, LinksGoAndThenTheGroupWithItsEmptyParents) {
    Make({{TEXT("menu\\tools\\group\\one.lnk"), "1"},
          {TEXT("menu\\tools\\group\\sub\\two.lnk"), "1"},
          {TEXT("menu\\shared\\group\\three.lnk"), "1"},
          {TEXT("menu\\shared\\user's.lnk"), "1"},
          {TEXT("menu\\full\\group\\user's.lnk"), "1"},
          {TEXT("fixed.lnk"), "1"},
          {TEXT("held.lnk"), "1"},
          {TEXT("a.lnk"), "1"}});
    ASSERT_TRUE(SetFileAttributesW(At(TEXT("fixed.lnk")).c_str(), FILE_ATTRIBUTE_READONLY));
    const HeldFile held(At(TEXT("held.lnk")), Hold::NoDelete);
    MakeFile(kLog,
             "Made Dir: C:\\Scratch\\menu\\tools\\group\\sub\r\n"
             "Made Dir: C:\\Scratch\\menu\\tools\\group\\sub\r\n"
             "Made Dir: C:\\Scratch\\menu\\shared\\group\\\r\n"
             "Made Dir: C:\\Scratch\\menu\\full\\group\r\n"
             "Shell Link: C:\\Scratch\\menu\\tools\\group\\one.lnk\r\n"
             "Shell Link: C:\\Scratch\\menu\\tools\\group\\one.lnk\r\n"
             "Shell Link: C:\\Scratch\\menu\\tools\\group\\sub\\two.lnk\r\n"
             "Shell Link: C:\\Scratch\\menu\\shared\\group\\three.lnk\r\n"
             "Shell Link: C:\\Scratch\\fixed.lnk\r\n"
             "Shell Link: C:\\Scratch\\held.lnk\r\n"
             "Shell Link: C:\\Scratch\\a.lnk | no comment is known here\r\n"
             "Shell Link: C:\\Scratch\\*.lnk\r\n"
             "File Copy: a.lnk\r\n");
    RemoveLoggedLinks(kLog.c_str());
    EXPECT_EQ(Tree(), (std::vector<Text>{TEXT("a.lnk"), TEXT("fixed.lnk"), TEXT("held.lnk"), TEXT("log"),
                                         TEXT("menu\\"), TEXT("menu\\full\\"), TEXT("menu\\full\\group\\"),
                                         TEXT("menu\\full\\group\\user's.lnk"), TEXT("menu\\shared\\"),
                                         TEXT("menu\\shared\\user's.lnk")}));
    EXPECT_TRUE(BootMarks().empty());
}

TEST_F(RemovalPassTest, WithoutAReadableLogNothingHappens) {
    MakeFile(At(TEXT("app\\a")));
    RunRemovalPass(At(TEXT("none")).c_str(), kFolder.c_str(), nullptr);
    RemoveLoggedLinks(At(TEXT("none")).c_str());
    EXPECT_EQ(Tree(), (std::vector<Text>{TEXT("app\\"), TEXT("app\\a")}));
    EXPECT_TRUE(BootMarks().empty());
}

}  // namespace
