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

}  // namespace
