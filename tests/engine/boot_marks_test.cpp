#include "app/setup_state.h"
#include "engine/file_ops.h"
#include "engine/machine_view.h"

namespace {

using BootMarksTest = ScratchTest;

constexpr WCHAR kInitFile[] = TEXT("WININIT.INI");
constexpr DWORD kSectionChars = 16384;

// A value that isn't of the system's type prevents new marks.
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

// The entries of the section, one on each line.
Text RenameEntries() {
    std::vector<WCHAR> section(kSectionChars * 2);
    const DWORD count =
        GetPrivateProfileSectionW(TEXT("rename"), section.data(), kSectionChars * 2, kInitFile);
    Text entries(section.data(), count);
    std::replace(entries.begin(), entries.end(), WCHAR{0}, TEXT('\n'));
    return entries;
}

// Fills the section with `cch` characters. The null after each entry counts, the null that ends the list doesn't.
void FillSection(std::size_t cch) {
    const Text list = TEXT("NUL=") + Text(cch - 5, TEXT('x')) + Text(1, 0);
    ASSERT_TRUE(WritePrivateProfileSectionW(TEXT("rename"), list.c_str(), kInitFile));
}

const Text kTenChars = TEXT("C:\\marked1");

CHILD_PROGRAM(MarkTenChars) {
    return ScheduleBootDelete(kTenChars.c_str()) ? 1 : 2;
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
    // The shorter list is written second, so that no part of the longer one may follow it.
    for (const Text& path : {TEXT("C:\\") + Text(9000, TEXT('x')), Text(TEXT("C:\\first"))}) {
        (void)DeleteFileW(InitPath().c_str());
        EXPECT_TRUE(ScheduleBootDelete(path.c_str()));
        EXPECT_EQ(FileBytes(InitPath()), "[rename]\r\nNUL=" + std::string(path.begin(), path.end()) + "\r\n");
    }

    ASSERT_TRUE(
        WritePrivateProfileSectionW(TEXT("rename"), TEXT("C:\\new=C:\\old\0NUL=C:\\theirs\0"), kInitFile));
    EXPECT_TRUE(ScheduleBootDelete(TEXT("C:\\ours")));
    EXPECT_EQ(g_rebootNeeded, 0);
    // The section has no real move: the source is deleted.
    EXPECT_TRUE(ScheduleBootReplace(TEXT("C:\\ours.new"), TEXT("C:\\ours")));
    EXPECT_NE(g_rebootNeeded, 0);
    EXPECT_TRUE(ScheduleBootDelete(TEXT("C:\\ours")));
    EXPECT_EQ(RenameEntries(),
              TEXT("C:\\new=C:\\old\nNUL=C:\\theirs\nNUL=C:\\ours\nNUL=C:\\ours.new\nNUL=C:\\ours\n"));

    DeleteTree(InitPath());
    MakeFolder(InitPath());
    EXPECT_FALSE(ScheduleBootReplace(TEXT("C:\\ours.new"), TEXT("C:\\ours")));
    EXPECT_EQ(g_rebootNeeded, 0) << "the latest one decides";
}

TEST_F(BootMarksTest, ASectionThatWouldReachItsLimitEndsTheProcess) {
    RefuseMarks();
    const std::size_t cchEntry = 4 + kTenChars.size() + 1;
    FillSection(kSectionChars - 1 - cchEntry);
    const Text entries = RenameEntries();
    EXPECT_EQ(RunChild("MarkTenChars"), 1u);
    EXPECT_EQ(RenameEntries(), entries + TEXT("NUL=") + kTenChars + TEXT("\n"));

    for (const std::size_t cch : {kSectionChars - cchEntry, kSectionChars + std::size_t{9000}}) {
        FillSection(cch);
        const Text full = RenameEntries();
        EXPECT_GT(RunChild("MarkTenChars"), 2u) << cch;
        EXPECT_EQ(RenameEntries(), full) << cch;
    }
}

TEST_F(BootMarksTest, DeleteMatchingDeletesOrMarks) {
    const std::string all = "a.dll:a b.DLL:b c.txt:c sub\\z.dll:z x.dll:y";
    // "a" and so many stars that the search path has the given length.
    const auto stars = [](std::size_t cch) { return "a" + std::string(cch - At("f\\a").size(), '*'); };
    const struct {
        const char* name;
        Text folder;
        std::string pattern;
        const char *held, *left, *marks;
        int deleted;
    } rows[] = {
        {"one name", At("f"), "c.txt", "", "a.dll:a b.DLL:b sub\\z.dll:z x.dll:y", "", 1},
        {"one in use", At("f/"), "?.dll", "a.dll", "a.dll:a c.txt:c sub\\z.dll:z", "a.dll", 2},
        {"folder part", At("f"), "sub\\?.dll", "", "a.dll:a b.DLL:b c.txt:c sub\\ x.dll:y", "", 1},
        {"missed after the other separator", At("f"), "sub/?.dll", "", all.c_str(), "z.dll", 0},
        {"no pattern", At("f"), "", "", all.c_str(), "", 0},
        {"all, with the folder and its parent", At("f\\sub"), "*.*", "",
         "a.dll:a b.DLL:b c.txt:c sub\\ x.dll:y", "sub .", 1},
        {"current folder", TEXT(""), "f\\c.txt", "", "a.dll:a b.DLL:b sub\\z.dll:z x.dll:y", "", 1},
        {"longest search path", At("f"), stars(MAX_PATH - 1), "", "b.DLL:b c.txt:c sub\\z.dll:z x.dll:y", "",
         1},
        {"search path too long", At("f"), stars(MAX_PATH), "", all.c_str(), "", 0},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        DeleteTree(At("f"));
        Make(all, At("f"));
        for (const char* name : {"f\\a.dll", "f\\c.txt"})
            ASSERT_TRUE(SetFileAttributesW(At(name).c_str(), FILE_ATTRIBUTE_READONLY));
        const std::size_t earlier = BootMarks().size();
        std::optional<HeldFile> held;
        if (*row.held) held.emplace(At("f\\") + Wide(row.held), Hold::NoDelete);

        EXPECT_EQ(DeleteMatching(row.folder.c_str(), Wide(row.pattern).c_str()), row.deleted);
        EXPECT_EQ(Look(At("f")), State(row.left));
        EXPECT_EQ(MarksFrom(earlier), Marks(row.marks, At("f")));
        EXPECT_TRUE(!held || !(GetFileAttributesW(At("f\\a.dll").c_str()) & FILE_ATTRIBUTE_READONLY));
    }
    EXPECT_EQ(g_rebootNeeded, 0);
}

}  // namespace
