#include "app/process_helpers.h"
#include "app/setup_state.h"
#include "engine/file_ops.h"
#include "engine/machine_view.h"

namespace {

const Text kPackage = At(TEXT("pkg"));
const Text kTarget = At(TEXT("apps\\Q8"));

BOOL WINAPI SayWow64(HANDLE, PBOOL wow64) {
    return *wow64 = TRUE;
}

class CopyPassTest : public ScratchTest {
  protected:
    CopyPassTest() {
        g_sourceDir = kPackage.c_str();
        g_targetDir = kTarget.c_str();
        MakeFolder(kTarget);
    }
    ~CopyPassTest() override { g_isWow64Process = m_isWow64Process; }

    void Run(const std::string& manifest) {
        MakeFile(At(TEXT("manifest")), manifest);
        RunCopyPass(At(TEXT("manifest")).c_str());
    }

  private:
    const IsWow64ProcessFn m_isWow64Process = g_isWow64Process;
};

TEST_F(CopyPassTest, EachKindGoesWhereTheMachineAndTheInstallTypeSay) {
    for (const LPCWSTR name : {TEXT("plain"), TEXT("x64"), TEXT("prt"), TEXT("own9.dll"),
                               TEXT("kernel32.dll"), TEXT("sub\\in"), TEXT("skipped"), TEXT("last")})
        MakeFile(kPackage + TEXT("\\") + name, "package's");
    const Files package = Look(kPackage);
    const std::string manifest =
        "File Copy: plain\r\n"
        "File Copy x64: x64\r\n"
        "File Copy prt: prt\r\n"
        "File Copy ind: own9.dll\r\n"
        "File Copy ind: kernel32.dll > second.dll\r\n"
        "Make Dir: made\r\n"
        "Make Dir: deep\\er\r\n"
        "File Copy: sub\\*\r\n"
        "File Overwrite: skipped\r\nFile Del: skipped\r\nMade Dir: skipped\r\nShell Link: skipped\r\n"
        "file copy: skipped\r\n File Copy: skipped\r\nFile Copy: skipped | a comment\r\n\r\nFile Copy: "
        "none*\r\n"
        "File Copy: last";
    const std::vector<Text> always = {TEXT("Q8\\"),         TEXT("Q8\\last"),  TEXT("Q8\\made\\"),
                                      TEXT("Q8\\own9.dll"), TEXT("Q8\\plain"), TEXT("Q8\\sub\\"),
                                      TEXT("Q8\\sub\\in")};
    const struct {
        const char* name;
        bool wow64;
        int installType;
        std::vector<Text> more;
    } rows[] = {
        {"for all users", false, 1, {}},
        {"for one user", false, 0, {}},
        {"under the 32-bit layer", true, 1, {TEXT("Q8\\x64")}},
        {"portable", false, 2, {TEXT("Q8\\second.dll"), TEXT("Q8\\x64"), TEXT("prt")}},
        {"portable under the 32-bit layer", true, 2, {TEXT("Q8\\second.dll"), TEXT("Q8\\x64"), TEXT("prt")}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        DeleteTree(At(TEXT("apps")));
        MakeFolder(kTarget);
        g_isWow64Process = row.wow64 ? SayWow64 : nullptr;
        g_installType = row.installType;
        Run(manifest);
        std::vector<Text> expected = always;
        expected.insert(expected.end(), row.more.begin(), row.more.end());
        std::sort(expected.begin(), expected.end());
        EXPECT_EQ(Tree(At(TEXT("apps"))), expected);
        EXPECT_EQ(Look(kPackage), package);
    }
    EXPECT_TRUE(BootMarks().empty());
    RunCopyPass(At(TEXT("none")).c_str());
}

TEST_F(CopyPassTest, TwoNamesAreTakenLiterally) {
    Make({{TEXT("a b"), "1"}, {TEXT("c"), "2"}, {TEXT("sub\\d"), "3"}, {TEXT("e"), "4"}}, kPackage);
    Run("File Copy: a b \t> \t new name\r\n"
        "File Copy: c>tight\r\n"
        "File Copy: c > x > y\r\n"
        "File Copy: sub\\d > d\r\n"
        "File Copy: e > nowhere\\e\r\n"
        "File Copy: ? > wild\r\n");
    EXPECT_EQ(Look(kTarget), (Files{{TEXT("new name"), "1"}, {TEXT("tight"), "2"}, {TEXT("d"), "3"}}));
}

TEST_F(CopyPassTest, AnEmptyNewNameMarksTheTargetFolder) {
    MakeFile(kPackage + TEXT("\\a"), "1");
    MakeFile(kPackage + TEXT("\\b"), "2");
    Run("File Copy: a >\r\nFile Copy: b\r\n");
    EXPECT_EQ(Look(kTarget), (Files{{TEXT(".new"), "1"}, {TEXT("b"), "2"}}));
    EXPECT_EQ(BootMarks(), (std::vector<Mark>{{kTarget + TEXT("\\"), TEXT("")},
                                              {kTarget + TEXT("\\.new"), kTarget + TEXT("\\")}}));
    EXPECT_NE(g_rebootNeeded, 0);
}

TEST_F(CopyPassTest, TheProbeLooksForALibraryOtherThanThePackagesOwn) {
    // The current folder is among the places where the system looks.
    g_sourceDir = kScratch.c_str();
    const Text library = At(TEXT("runtime9.dll"));
    ImportFile(QTV_BUILD_FOLDER "/package/runtime9.dll", library);
    const auto copied = [&](const char* record) {
        Run(record);
        EXPECT_TRUE(Exists(library));
        EXPECT_FALSE(Exists(library + TEXT(".toinst")));
        const std::vector<Text> names = Tree(kTarget);
        for (const Text& name : names)
            DeleteTree(kTarget + TEXT("\\") + name);
        return names;
    };
    const std::vector<Text> one = {TEXT("runtime9.dll")}, renamed = {TEXT("r.dll")}, none;
    EXPECT_EQ(copied("File Copy ind: runtime9.dll"), one);
    EXPECT_EQ(copied("File Copy ind: runtime9.dll > r.dll"), renamed);
    {
        // A package that can't be renamed in is taken for the system.
        const HeldFile held(library, Hold::NoDelete);
        EXPECT_EQ(copied("File Copy ind: runtime9.dll"), none);
        EXPECT_EQ(copied("File Copy ind: runtime9.dll > r.dll"), none);
    }
    MakeFile(library, "no library");
    const HeldFile held(library, Hold::NoDelete);
    EXPECT_EQ(copied("File Copy ind: runtime9.dll"), one);
}

TEST_F(CopyPassTest, CopyMatchingMakesTheFolderThatItNeeds) {
    const Files package = {
        {TEXT("a.dll"), "a"}, {TEXT("b.dll"), "b"}, {TEXT("sub\\c.txt"), "c"}, {TEXT("sub\\dir\\"), ""}};
    Make(package, kPackage);
    const struct {
        const char* name;
        Text pattern;
        Text folder;
        int done;
        std::vector<Text> made;  // below C:\Scratch
    } rows[] = {
        {"one name", TEXT("a.dll"), At(TEXT("t")), 1, {TEXT("t\\"), TEXT("t\\a.dll")}},
        {"every level, either separator",
         TEXT("*.dll"),
         At(TEXT("t/u\\v/")),
         2,
         {TEXT("t\\"), TEXT("t\\u\\"), TEXT("t\\u\\v\\"), TEXT("t\\u\\v\\a.dll"), TEXT("t\\u\\v\\b.dll")}},
        {"folder part",
         TEXT("sub\\*.txt"),
         At(TEXT("t")),
         1,
         {TEXT("t\\"), TEXT("t\\sub\\"), TEXT("t\\sub\\c.txt")}},
        {"forward slashes lose the folder part",
         TEXT("sub/c.txt"),
         At(TEXT("t")),
         0,
         {TEXT("t\\"), TEXT("t\\sub\\")}},
        {"nothing matches", TEXT("*.exe"), At(TEXT("t")), 0, {}},
        {"a folder ends the walk", TEXT("sub\\d*"), At(TEXT("t")), 0, {TEXT("t\\"), TEXT("t\\sub\\")}},
        {"a network folder that isn't there",
         TEXT("a.dll"),
         TEXT("\\\\nobody\\t"),
         1,
         {TEXT("nobody\\"), TEXT("nobody\\t\\"), TEXT("nobody\\t\\a.dll")}},
        {"blanks around a folder that isn't there",
         TEXT("a.dll"),
         TEXT(" t "),
         1,
         {TEXT("t\\"), TEXT("t\\a.dll")}},
        {"onto itself", TEXT("*.dll"), kPackage, 2, {}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        for (const LPCWSTR top : {TEXT("t"), TEXT("nobody"), TEXT("apps")})
            DeleteTree(At(top));
        EXPECT_EQ(CopyMatching(row.pattern.c_str(), kPackage.c_str(), row.folder.c_str()), row.done);
        std::vector<Text> made;
        for (const Text& name : Tree())
            if (!name.starts_with(TEXT("pkg\\"))) made.push_back(name);
        EXPECT_EQ(made, row.made);
    }
    EXPECT_EQ(CopyMatching(TEXT("a.dll"), (kPackage + TEXT("/")).c_str(), At(TEXT("t")).c_str()), 1);
    Files withFolders = package;
    withFolders[TEXT("sub\\")] = "";
    EXPECT_EQ(Look(kPackage), withFolders);
}

TEST_F(CopyPassTest, TheWalkStopsAtTheFirstFailureAndThePassGoesOn) {
    Make({{TEXT("a.dll"), "new"}, {TEXT("b.dll"), "new"}, {TEXT("z.txt"), "new"}}, kPackage);
    Make({{TEXT("a.dll"), "old"}, {TEXT("b.dll"), "old"}}, kTarget);
    const HeldFile a(kTarget + TEXT("\\a.dll"), Hold::NoDelete), b(kTarget + TEXT("\\b.dll"), Hold::NoDelete);
    Run("File Copy: *.dll\r\nFile Copy: z.txt\r\n");
    // Which of the two comes first is the file system's business.
    const Files left = Look(kTarget);
    EXPECT_EQ(left.count(TEXT("a.dll.new")) + left.count(TEXT("b.dll.new")), 1u);
    EXPECT_EQ(left.count(TEXT("z.txt")), 1u);
    EXPECT_EQ(BootMarks().size(), 2u);
}

}  // namespace
