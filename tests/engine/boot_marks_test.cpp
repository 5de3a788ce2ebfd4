#include "app/setup_state.h"
#include "engine/file_ops.h"
#include "harness/machine_view.h"
#include "harness/registry_values.h"

namespace {

using BootMarksTest = ScratchTest;

const Text kInitFile = TEXT("C:\\Windows\\WININIT.INI");
constexpr std::size_t kSectionChars = 16384;

// A value that isn't of the system's type prevents new marks.
void RefuseMarks() {
    PutValue(HKEY_LOCAL_MACHINE, TEXT("SYSTEM\\CurrentControlSet\\Control\\Session Manager"),
             TEXT("PendingFileRenameOperations"), Number(1));
}

CHILD_PROGRAM(MarkTenChars) {
    return ScheduleBootDelete(TEXT("C:\\marked1")) ? 1 : 2;
}

TEST_F(BootMarksTest, MarksKeepTheOrderOfTheirCalls) {
    EXPECT_TRUE(ScheduleBootDelete(At("a").c_str()));
    EXPECT_EQ(g_rebootNeeded, 0);
    EXPECT_TRUE(ScheduleBootReplace(At("a.new").c_str(), At("a").c_str()));
    EXPECT_EQ(g_rebootNeeded, 1);
    EXPECT_TRUE(ScheduleBootDelete(At("a").c_str()));
    EXPECT_EQ(BootMarks(), Marks("a a.new>a a"));
    EXPECT_FALSE(Exists(kInitFile));
}

TEST_F(BootMarksTest, RefusedMarksAreWrittenToWininit) {
    RefuseMarks();
    // The shorter list is written second, so that no part of the longer one may follow it.
    for (const Text& path : {TEXT("C:\\") + Text(9000, TEXT('x')), Text(TEXT("C:\\first"))}) {
        (void)DeleteFileW(kInitFile.c_str());
        EXPECT_TRUE(ScheduleBootDelete(path.c_str()));
        EXPECT_EQ(FileBytes(kInitFile), "[rename]\r\nNUL=" + Narrow(path) + "\r\n");
    }

    MakeFile(kInitFile, "[rename]\r\nC:\\new=C:\\old\r\nNUL=C:\\theirs\r\n");
    EXPECT_TRUE(ScheduleBootDelete(TEXT("C:\\ours")));
    EXPECT_EQ(g_rebootNeeded, 0);
    // The section has no real move: the source is deleted.
    EXPECT_TRUE(ScheduleBootReplace(TEXT("C:\\ours.new"), TEXT("C:\\ours")));
    EXPECT_NE(g_rebootNeeded, 0);
    EXPECT_TRUE(ScheduleBootDelete(TEXT("C:\\ours")));
    EXPECT_EQ(FileBytes(kInitFile),
              "[rename]\r\nC:\\new=C:\\old\r\nNUL=C:\\theirs\r\nNUL=C:\\ours\r\nNUL=C:\\ours.new\r\n"
              "NUL=C:\\ours\r\n");

    DeleteTree(kInitFile);
    MakeFolder(kInitFile);
    EXPECT_FALSE(ScheduleBootReplace(TEXT("C:\\ours.new"), TEXT("C:\\ours")));
    EXPECT_EQ(g_rebootNeeded, 0) << "the latest one decides";
}

TEST_F(BootMarksTest, FullSectionEndsTheProcess) {
    RefuseMarks();
    const std::string entry = "NUL=C:\\marked1\r\n";
    // In memory, each entry ends with one character.
    const std::size_t cchLongest = kSectionChars - 1 - (entry.size() - 1);
    for (const std::size_t cch : {cchLongest, cchLongest + 1, kSectionChars + 9000}) {
        const std::string full = "[rename]\r\nNUL=" + std::string(cch - 5, 'x') + "\r\n";
        MakeFile(kInitFile, full);
        const DWORD exitCode = RunChild("MarkTenChars");
        EXPECT_EQ(exitCode, cch == cchLongest ? 1u : 0xC0000409u) << cch;
        EXPECT_EQ(FileBytes(kInitFile), cch == cchLongest ? full + entry : full) << cch;
    }
}

TEST_F(BootMarksTest, DeleteMatchingDeletesOrMarks) {
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
        {.name = "one in use",
         .folder = At("f/"),
         .pattern = "?.dll",
         .held = "a.dll",
         .left = "a.dll:a c.txt:c sub\\z.dll:z",
         .marks = "a.dll",
         .deleted = 2},
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
