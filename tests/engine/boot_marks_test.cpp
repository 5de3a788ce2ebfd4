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
    EXPECT_TRUE(ScheduleBootDelete(At(TEXT("a")).c_str()));
    EXPECT_EQ(g_rebootNeeded, 0);
    EXPECT_TRUE(ScheduleBootReplace(At(TEXT("a.new")).c_str(), At(TEXT("a")).c_str()));
    EXPECT_EQ(g_rebootNeeded, 1);
    EXPECT_TRUE(ScheduleBootDelete(At(TEXT("a")).c_str()));
    EXPECT_EQ(BootMarks(),
              (std::vector<Mark>{
                  {At(TEXT("a")), TEXT("")}, {At(TEXT("a.new")), At(TEXT("a"))}, {At(TEXT("a")), TEXT("")}}));
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
    EXPECT_TRUE(ScheduleBootReplace(At(TEXT("a.new")).c_str(), At(TEXT("a")).c_str()));
    RefuseMarks();
    MakeFolder(InitPath());
    EXPECT_FALSE(ScheduleBootDelete(At(TEXT("b")).c_str()));
    EXPECT_NE(g_rebootNeeded, 0);
    EXPECT_FALSE(ScheduleBootReplace(At(TEXT("b.new")).c_str(), At(TEXT("b")).c_str()));
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
    const Files files = {{TEXT("f\\"), ""},          {TEXT("f\\a.dll"), "a"}, {TEXT("f\\b.DLL"), "b"},
                         {TEXT("f\\c.txt"), "c"},    {TEXT("f\\sub\\"), ""},  {TEXT("f\\sub\\x.dll"), "x"},
                         {TEXT("f\\x.dll"), "stays"}};
    // "a" and stars up to the length at which a search path is full.
    const auto stars = [](std::size_t cch) {
        return Text(TEXT("a")) + Text(cch - At(TEXT("f\\a")).size(), TEXT('*'));
    };
    const struct {
        const char* name;
        Text folder;
        Text pattern;
        int deleted;
        std::vector<Text> gone;
        std::vector<Text> marked;
        LPCWSTR held;
    } rows[] = {
        {"one name", At(TEXT("f")), TEXT("c.txt"), 1, {TEXT("f\\c.txt")}, {}, nullptr},
        {"wildcards, without regard to case",
         At(TEXT("f\\")),
         TEXT("?.dll"),
         3,
         {TEXT("f\\a.dll"), TEXT("f\\b.DLL"), TEXT("f\\x.dll")},
         {},
         nullptr},
        {"other separator", At(TEXT("f/")), TEXT("c.txt"), 1, {TEXT("f\\c.txt")}, {}, nullptr},
        {"one in use",
         At(TEXT("f")),
         TEXT("?.dll"),
         2,
         {TEXT("f\\b.DLL"), TEXT("f\\x.dll")},
         {TEXT("\\a.dll")},
         TEXT("f\\a.dll")},
        {"folder part", At(TEXT("f")), TEXT("sub\\*.dll"), 1, {TEXT("f\\sub\\x.dll")}, {}, nullptr},
        {"nothing matches", At(TEXT("f")), TEXT("*.exe"), 0, {}, {}, nullptr},
        {"no such folder", At(TEXT("g")), TEXT("*.*"), 0, {}, {}, nullptr},
        {"no pattern", At(TEXT("f")), TEXT(""), 0, {}, {}, nullptr},
        {"a folder", At(TEXT("f")), TEXT("sub"), 0, {}, {TEXT("\\sub")}, nullptr},
        {"all, and so the folder and its parent",
         At(TEXT("f\\sub")),
         TEXT("*.*"),
         1,
         {TEXT("f\\sub\\x.dll")},
         {TEXT("\\sub"), TEXT("")},
         nullptr},
        {"current folder", TEXT(""), TEXT("f\\c.txt"), 1, {TEXT("f\\c.txt")}, {}, nullptr},
        {"longest search path", At(TEXT("f")), stars(MAX_PATH - 1), 1, {TEXT("f\\a.dll")}, {}, nullptr},
        {"search path too long", At(TEXT("f")), stars(MAX_PATH), 0, {}, {}, nullptr},
        {"far too long", At(TEXT("f")), Text(40000, TEXT('*')), 0, {}, {}, nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Make(files);
        for (const LPCWSTR name : {TEXT("f\\a.dll"), TEXT("f\\c.txt")})
            ASSERT_TRUE(
                SetFileAttributesW(At(name).c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN));
        const std::size_t earlier = BootMarks().size();
        std::optional<HeldFile> held;
        if (row.held) held.emplace(At(row.held), Hold::NoDelete);

        EXPECT_EQ(DeleteMatching(row.folder.c_str(), row.pattern.c_str()), row.deleted);
        Files left = files;
        for (const Text& name : row.gone)
            left.erase(name);
        EXPECT_EQ(Look(), left);
        if (row.held) {
            EXPECT_EQ(GetFileAttributesW(At(row.held).c_str()) & FILE_ATTRIBUTE_READONLY, 0u);
        }
        std::vector<Mark> marks = BootMarks(), expected;
        marks.erase(marks.begin(), marks.begin() + static_cast<std::ptrdiff_t>(earlier));
        for (const Text& name : row.marked)
            expected.emplace_back(At(TEXT("f")) + name, TEXT(""));
        EXPECT_EQ(marks, expected);
        held.reset();
        DeleteTree(At(TEXT("f")));
    }
    EXPECT_EQ(g_rebootNeeded, 0);
}

TEST_F(BootMarksTest, AMatchBehindAForwardSlashIsMissedAndMarked) {
    Make({{TEXT("f\\sub\\x.dll"), "x"}});
    EXPECT_EQ(DeleteMatching(At(TEXT("f")).c_str(), TEXT("sub/*.dll")), 0);
    EXPECT_TRUE(Exists(At(TEXT("f\\sub\\x.dll"))));
    EXPECT_EQ(BootMarks(), (std::vector<Mark>{{At(TEXT("f\\x.dll")), TEXT("")}}));
}

}  // namespace
