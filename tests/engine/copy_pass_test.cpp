#include "run/process_helpers.h"
#include "app/setup_state.h"
#include "engine/file_ops.h"
#include "harness/machine_view.h"

namespace {

const Text kPackage = At("pkg");
const Text kTarget = At("apps\\Q8");

class CopyPassTest : public ScratchTest {
  protected:
    CopyPassTest() {
        g_sourceDir = kPackage.c_str();
        g_targetDir = kTarget.c_str();
        MakeFolder(kTarget);
    }
    static void Run(const std::string& manifest) {
        MakeFile(At("manifest"), manifest);
        RunCopyPass(At("manifest").c_str(), g_sourceDir, g_targetDir);
    }
};

TEST_F(CopyPassTest, CopiesEachKindToItsFolder) {
    const std::string package = "plain:1 x64:2 prt:3 own9.dll:4 kernel32.dll:5 sub\\in:6 skipped:7 last:8";
    Make(package, kPackage);
    const std::string always = "Q8\\plain:1 Q8\\own9.dll:4 Q8\\made\\ Q8\\sub\\in:6 Q8\\last:8 ";
    const struct {
        const char* name;
        bool wow64;
        int installType;
        const char* more;
    } rows[] = {
        {"for all users", false, 1, ""},
        {"portable", false, 2, "Q8\\x64:2 Q8\\second.dll:5 prt:3"},
        {"under the 32-bit layer", true, 1, "Q8\\x64:2"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        DeleteTree(At("apps"));
        // A library that the target already holds is no library from elsewhere, so it is replaced.
        Make("own9.dll:old", kTarget);
        if (row.wow64) g_isWow64Process = [](HANDLE, PBOOL wow64) -> BOOL { return *wow64 = TRUE; };
        g_installType = row.installType;
        Run("File Copy: plain\r\nFile Copy x64: x64\r\nFile Copy prt: prt\r\n"
            "File Copy ind: own9.dll\r\nFile Copy ind: kernel32.dll > second.dll\r\n"
            "Make Dir: made\r\nMake Dir: deep\\er\r\nFile Copy: sub\\*\r\n"
            "File Overwrite: skipped\r\nFile Del: skipped\r\nMade Dir: skipped\r\nShell Link: skipped\r\n"
            "file copy: skipped\r\n File Copy: skipped\r\nFile Copy:  skipped\r\n"
            "File Copy: skipped | a comment\r\n\r\n"
            "File Copy: none\\*\r\nFile Copy: sub \\*\r\nFile Copy: ...\r\n"
            "File Copy: last\r\n\x1a\r\nFile Copy: skipped");
        EXPECT_EQ(Look(At("apps")), State(always + row.more));
        EXPECT_EQ(Look(kPackage), State(package));
    }
    EXPECT_TRUE(BootMarks().empty());
}

TEST_F(CopyPassTest, TwoNamesAreNoPatterns) {
    Make("c:1 sub\\d:2 e:3", kPackage);
    MakeFile(kPackage + TEXT("\\a b"), "4");
    Run("File Copy: a b \t> \t new\r\nFile Copy: c>tight\r\nFile Copy: c > x > y\r\n"
        "File Copy: sub\\d > d\r\nFile Copy: e > nowhere\\e\r\nFile Copy: ? > wild\r\n"
        "File Copy: e >\r\n");
    EXPECT_EQ(Look(kTarget), State("new:4 tight:1 d:2 .new:3"));
    // Without a new name, the file would replace the folder.
    EXPECT_EQ(BootMarks(), Marks("Q8\\ Q8\\.new>Q8\\", At("apps")));
    EXPECT_EQ(g_rebootNeeded, 1);
    // The root of a drive has no parent folder, so the files go into the root of the current drive.
    g_targetDir = TEXT("C:");
    g_installType = kPortable;
    Run("File Copy prt: c > Scratch\\rooted");
    EXPECT_EQ(FileBytes(At("rooted")), "1");
}

TEST_F(CopyPassTest, ProbeIgnoresThePackagesOwnLibrary) {
    // The current folder is one of the places where the system looks.
    g_sourceDir = kScratch.c_str();
    const Text library = At("runtime9.dll");
    ImportFile("package/runtime9.dll", library);
    const auto copied = [&](const char* record) {
        DeleteTree(kTarget);
        MakeFolder(kTarget);
        Run(record);
        EXPECT_TRUE(Exists(library));
        return Tree(kTarget);
    };
    EXPECT_EQ(copied("File Copy ind: runtime9.dll"), Names("runtime9.dll"));
    EXPECT_EQ(copied("File Copy ind: runtime9.dll > r.dll"), Names("r.dll"));
    // The system adds ".dll" to a name without an extension, and must not find the hidden file.
    ImportFile("package/runtime9.dll", At("bare9"));
    EXPECT_EQ(copied("File Copy ind: bare9"), Names("bare9"));
    // A library from elsewhere counts only if it can be loaded.
    g_sourceDir = kPackage.c_str();
    ImportFile("package/runtime9.dll", kPackage + TEXT("\\runtime9.dll"));
    EXPECT_EQ(copied("File Copy ind: runtime9.dll"), Names(""));
    MakeFile(library, "broken");
    EXPECT_EQ(copied("File Copy ind: runtime9.dll"), Names("runtime9.dll"));
    // A file that can't be renamed, such as one on a CD, counts as a file from elsewhere.
    const HeldFile held(kPackage + TEXT("\\runtime9.dll"), Hold::NoDelete);
    ASSERT_TRUE(SetCurrentDirectoryW(g_sourceDir));
    EXPECT_EQ(copied("File Copy ind: runtime9.dll"), Names(""));
}

TEST_F(CopyPassTest, CopyMatchingMakesTheFolderThatItNeeds) {
    const std::string package = "a.dll:1 b.dll:2 sub\\c.txt:3 sub\\dir\\e.txt:5 sub\\disk:4";
    const struct {
        const char* name;
        LPCWSTR pattern = TEXT("a.dll");
        Text from = kPackage, to = At("t");
        int done = 1;
        const char* made;  // below C:\Scratch, the package aside
    } rows[] = {
        {"every level", TEXT("*.dll"), kPackage + TEXT("/"), At("t/u\\v/"), 2,
         "t\\u\\v\\a.dll:1 t\\u\\v\\b.dll:2"},
        {.name = "folder part", .pattern = TEXT("sub\\*.txt"), .made = "t\\sub\\c.txt:3"},
        {.name = "two levels", .pattern = TEXT("sub\\dir\\*"), .made = "t\\sub\\dir\\e.txt:5"},
        {.name = "the other separator", .pattern = TEXT("sub/c.txt"), .done = 0, .made = "t\\sub\\"},
        {.name = "no match", .pattern = TEXT("sub\\none*"), .done = 0, .made = ""},
        {.name = "a folder ends the walk", .pattern = TEXT("sub\\d*"), .done = 0, .made = "t\\sub\\"},
        {.name = "no such network folder", .to = TEXT("\\\\nobody\\t"), .made = "nobody\\t\\a.dll:1"},
        {.name = "blanks around the folder", .to = TEXT(" \t\r\nt\n\r\t "), .made = "t\\a.dll:1"},
        {.name = "a folder that is there", .to = TEXT("\\Scratch"), .made = "a.dll:1"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        for (const Text& name : Tree())
            DeleteTree(kScratch + TEXT("\\") + name);
        Make(package, kPackage);
        EXPECT_EQ(CopyMatching(row.pattern, row.from.c_str(), row.to.c_str()), row.done);
        DeleteTree(kPackage);
        EXPECT_EQ(Look(), State(row.made));
    }
}

TEST_F(CopyPassTest, FirstFailureEndsOnlyItsPattern) {
    Make("a.dll:new b.dll:new z.txt:new", kPackage);
    Make("a.dll:old b.dll:old", kTarget);
    const HeldFile a(kTarget + TEXT("\\a.dll"), Hold::NoDelete), b(kTarget + TEXT("\\b.dll"), Hold::NoDelete);
    Run("File Copy: *.dll\r\nFile Copy: z.txt\r\n");
    // The file system decides which of the two comes first.
    const Files left = Look(kTarget);
    EXPECT_EQ(left.count(TEXT("a.dll.new")) + left.count(TEXT("b.dll.new")), 1u);
    EXPECT_EQ(left.count(TEXT("z.txt")), 1u);
    EXPECT_EQ(BootMarks().size(), 2u);
}

}  // namespace
