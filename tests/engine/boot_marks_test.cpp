#include "app/setup_state.h"
#include "engine/file_ops.h"
#include "engine/machine_view.h"

namespace {

using BootMarksTest = ScratchTest;

constexpr WCHAR kInitFile[] = TEXT("WININIT.INI");
constexpr DWORD kSectionChars = 16384;

// A value of another type than the system's keeps it from taking marks.
void RefuseMarks() {
    HKEY key;
    ASSERT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, TEXT("SYSTEM\\CurrentControlSet\\Control\\Session Manager"),
                            0, KEY_ALL_ACCESS, &key),
              ERROR_SUCCESS);
    const DWORD number = 1;
    EXPECT_EQ(RegSetValueExW(key, TEXT("PendingFileRenameOperations"), 0, REG_DWORD,
                             reinterpret_cast<const BYTE*>(&number), sizeof number),
              ERROR_SUCCESS);
    RegCloseKey(key);
}

Text InitPath() {
    WCHAR windows[MAX_PATH];
    GetWindowsDirectoryW(windows, MAX_PATH);
    return windows + Text(TEXT("\\")) + kInitFile;
}

// The entries of the section, one a line.
Text RenameEntries() {
    std::vector<WCHAR> section(kSectionChars * 2);
    const DWORD count =
        GetPrivateProfileSectionW(TEXT("rename"), section.data(), kSectionChars * 2, kInitFile);
    Text entries(section.data(), count);
    std::replace(entries.begin(), entries.end(), WCHAR{0}, TEXT('\n'));
    return entries;
}

// Fills the section with `cch` characters, the nulls behind the entries counted, the list's own one not.
void FillSection(std::size_t cch) {
    Text list;
    while (list.size() < cch) {
        const std::size_t cchEntry = std::min<std::size_t>(cch - list.size(), 1000);
        list += TEXT("NUL=") + Text(cchEntry - 5, TEXT('x')) + Text(1, 0);
    }
    ASSERT_TRUE(WritePrivateProfileSectionW(TEXT("rename"), list.c_str(), kInitFile));
    ASSERT_EQ(RenameEntries().size(), cch);
}

const Text kTenChars = TEXT("C:\\marked1");

CHILD_PROGRAM(MarkTenChars) {
    return ScheduleBootDelete(kTenChars.c_str()) ? 1 : 2;
}
CHILD_PROGRAM(MarkAVeryLongPath) {
    return ScheduleBootDelete((TEXT("C:\\") + Text(100000, TEXT('x'))).c_str()) ? 1 : 2;
}

TEST_F(BootMarksTest, MarksKeepTheOrderOfTheirCalls) {
    EXPECT_TRUE(ScheduleBootDelete(At("a").c_str()));
    EXPECT_EQ(g_rebootNeeded, 0);
    EXPECT_TRUE(ScheduleBootReplace(At("a.new").c_str(), At("a").c_str()));
    EXPECT_EQ(g_rebootNeeded, 1);
    EXPECT_TRUE(ScheduleBootDelete(At("a").c_str()));
    EXPECT_EQ(BootMarks(), Marks("a a.new>a a"));
    EXPECT_FALSE(Exists(InitPath()));
}

TEST_F(BootMarksTest, TheSectionTakesWhatTheSystemRefuses) {
    RefuseMarks();
    // The shorter list comes second, and nothing of the longer one may follow it.
    for (const Text& path : {TEXT("C:\\") + Text(9000, TEXT('x')), Text(TEXT("C:\\first"))}) {
        (void)DeleteFileW(InitPath().c_str());
        EXPECT_TRUE(ScheduleBootDelete(path.c_str()));
        EXPECT_EQ(RenameEntries(), TEXT("NUL=") + path + TEXT("\n"));
    }

    ASSERT_TRUE(
        WritePrivateProfileSectionW(TEXT("rename"), TEXT("C:\\new=C:\\old\0NUL=C:\\theirs\0"), kInitFile));
    EXPECT_TRUE(ScheduleBootDelete(TEXT("C:\\ours")));
    EXPECT_EQ(g_rebootNeeded, 0);
    // No true move, here: the source is deleted.
    EXPECT_TRUE(ScheduleBootReplace(TEXT("C:\\ours.new"), TEXT("C:\\ours")));
    EXPECT_NE(g_rebootNeeded, 0);
    EXPECT_TRUE(ScheduleBootDelete(TEXT("C:\\ours")));
    EXPECT_EQ(RenameEntries(),
              TEXT("C:\\new=C:\\old\nNUL=C:\\theirs\nNUL=C:\\ours\nNUL=C:\\ours.new\nNUL=C:\\ours\n"));
}

TEST_F(BootMarksTest, TheLatestReplacementDecides) {
    EXPECT_TRUE(ScheduleBootReplace(At("a.new").c_str(), At("a").c_str()));
    RefuseMarks();
    MakeFolder(InitPath());
    EXPECT_FALSE(ScheduleBootDelete(At("b").c_str()));
    EXPECT_NE(g_rebootNeeded, 0);
    EXPECT_FALSE(ScheduleBootReplace(At("b.new").c_str(), At("b").c_str()));
    EXPECT_EQ(g_rebootNeeded, 0);
}

TEST_F(BootMarksTest, ASectionThatWouldReachItsLimitEndsTheProcess) {
    RefuseMarks();
    const std::size_t cchEntry = 4 + kTenChars.size() + 1;
    FillSection(kSectionChars - 1 - cchEntry);
    const Text entries = RenameEntries();
    EXPECT_EQ(RunChild("MarkTenChars").exitCode, 1u);
    EXPECT_EQ(RenameEntries(), entries + TEXT("NUL=") + kTenChars + TEXT("\n"));

    for (const std::size_t cch :
         {kSectionChars - cchEntry, kSectionChars - std::size_t{2}, kSectionChars + std::size_t{9000}}) {
        FillSection(cch);
        const Text full = RenameEntries();
        EXPECT_GT(RunChild("MarkTenChars").exitCode, 2u) << cch;
        EXPECT_EQ(RenameEntries(), full) << cch;
    }

    DeleteTree(InitPath());
    EXPECT_GT(RunChild("MarkAVeryLongPath").exitCode, 2u);
    EXPECT_FALSE(Exists(InitPath()));
}

TEST_F(BootMarksTest, DeleteMatchingDeletesOrMarks) {
    const std::string all = "a.dll:a b.DLL:b c.txt:c sub\\x.dll:x x.dll:y";
    // "a" and stars up to the length of a search path.
    const auto stars = [](std::size_t cch) { return "a" + std::string(cch - At("f\\a").size(), '*'); };
    const struct {
        const char* name;
        Text folder;
        std::string pattern;
        const char *held, *left, *marks;
        int deleted;
    } rows[] = {
        {"one name", At("f"), "c.txt", "", "a.dll:a b.DLL:b sub\\x.dll:x x.dll:y", "", 1},
        {"wildcards, in any case", At("f\\"), "?.dll", "", "c.txt:c sub\\x.dll:x", "", 3},
        {"one in use", At("f/"), "?.dll", "a.dll", "a.dll:a c.txt:c sub\\x.dll:x", "a.dll", 2},
        {"folder part", At("f"), "sub\\?.dll", "", "a.dll:a b.DLL:b c.txt:c sub\\ x.dll:y", "", 1},
        {"folder part with the other separator", At("f"), "sub/x.*", "sub\\x.dll",
         "a.dll:a b.DLL:b c.txt:c sub\\x.dll:x", "", 1},
        {"nothing matches", At("f"), "*.exe", "", all.c_str(), "", 0},
        {"no such folder", At("g"), "*.*", "", all.c_str(), "", 0},
        {"no pattern", At("f"), "", "", all.c_str(), "", 0},
        {"a folder", At("f"), "sub", "", all.c_str(), "sub", 0},
        {"all, with the folder and its parent", At("f\\sub"), "*.*", "",
         "a.dll:a b.DLL:b c.txt:c sub\\ x.dll:y", "sub .", 1},
        {"current folder", TEXT(""), "f\\c.txt", "", "a.dll:a b.DLL:b sub\\x.dll:x x.dll:y", "", 1},
        {"longest search path", At("f"), stars(MAX_PATH - 1), "", "b.DLL:b c.txt:c sub\\x.dll:x x.dll:y", "",
         1},
        {"search path too long", At("f"), stars(MAX_PATH), "", all.c_str(), "", 0},
        {"far too long", At("f"), stars(40000), "", all.c_str(), "", 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        DeleteTree(At("f"));
        Make(all, At("f"));
        for (const char* name : {"f\\a.dll", "f\\c.txt"}) {
            ASSERT_TRUE(
                SetFileAttributesW(At(name).c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN));
        }
        const std::size_t earlier = BootMarks().size();
        std::optional<HeldFile> held;
        if (*row.held) held.emplace(At("f\\") + Wide(row.held), Hold::NoDelete);

        EXPECT_EQ(DeleteMatching(row.folder.c_str(), Wide(row.pattern).c_str()), row.deleted);
        EXPECT_EQ(Look(At("f")), State(row.left));
        EXPECT_EQ(MarksFrom(earlier), Marks(row.marks, At("f")));
        // Taken away before the delete was tried.
        if (std::string(row.marks) == "a.dll") {
            EXPECT_EQ(GetFileAttributesW(At("f\\a.dll").c_str()) & FILE_ATTRIBUTE_READONLY, 0u);
        }
    }
    EXPECT_EQ(g_rebootNeeded, 0);
}

TEST_F(BootMarksTest, AMatchBehindAForwardSlashIsMissedAndMarked) {
    Make("sub\\y.dll:x");
    EXPECT_EQ(DeleteMatching(kScratch.c_str(), TEXT("sub/*.dll")), 0);
    EXPECT_EQ(Look(), State("sub\\y.dll:x"));
    EXPECT_EQ(BootMarks(), Marks("y.dll"));
}

}  // namespace
