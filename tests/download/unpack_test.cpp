#include <commctrl.h>

#include "delete_marks.h"
#include "command_line.h"
#include "download/made_download.h"
#include "harness/driver.h"
#include "ids.h"
#include "private_folder.h"
#include "progress_dlg.h"

using namespace download;

namespace {

// The blocks begin at the start of files, inside them, and one file has several.
TEST_F(DownloadTest, FilesAreUnpackedFromAnyBlocks) {
    const std::string package =
        "d\\ d\\e\\ empty: a:first d\\e\\long:0123456789abcdefghij d\\fixed!:x last:y";
    const Files files = State(tools::Replaced(package, "!", ""));
    for (const std::size_t cbBlock : std::initializer_list<std::size_t>{1, 4, 5, 7, 25, 100}) {
        ASSERT_EQ(Carry(Download(package, cbBlock)), Outcome::Right);
        EXPECT_EQ(Look(At("new")), files) << cbBlock;
        for (const char* const name : {"new\\empty", "new\\d\\e\\long", "new\\last"})
            EXPECT_EQ(WrittenAt(At(name)), kTime) << name;
        EXPECT_TRUE(GetFileAttributesW(At("new\\d\\fixed").c_str()) & FILE_ATTRIBUTE_READONLY);
    }
    EXPECT_EQ(Carry(Download("", 1)), Outcome::Right);
    // One block, because under Wine two threads can make two files at once whose names differ in case only.
    EXPECT_EQ(Carry(Download("a:1 A:2", 2)), Outcome::Failed);
}

// What is deleted was whole, or will be written later.
TEST_F(DownloadTest, NoticesFilesThatAreDeletedMeanwhile) {
    for (const char* const name : {"new\\a", "new\\d\\e\\long", "new\\f"})
        for (const std::size_t cbBlock : std::initializer_list<std::size_t>{7, 100}) {
            const Text path = At(name);
            // A file that a thread has open goes when that thread closes it.
            const auto deletes = [&] { (void)(DeleteFileW(path.c_str()) || RemoveDirectoryW(path.c_str())); };
            EXPECT_EQ(Carry(Download("d\\ d\\e\\ f\\ a:first d\\e\\long:0123456789ab l:y", cbBlock), deletes),
                      Outcome::Failed)
                << name << cbBlock;
        }
}

TEST_F(DownloadTest, ThePageShowsTheShareAndCancels) {
    CWinApp application;
    application.m_pszAppName = TEXT("Product");
    Progress progress({{}, {{TEXT("a"), 200, 0, 0}}});
    bool wasHidden = false;
    const auto job = [&] {
        progress.Add(100);
        while (!progress.IsCancelled())
            Sleep(1);
        progress.onStarted();
        wasHidden = ComesTrue(
            [] { return !IsWindowVisible(FindWindowExW(nullptr, nullptr, nullptr, TEXT("Product"))); });
    };
    (void)RunDriven(
        TEXT("Product"), [&] { return CProgressDlg(job, progress).DoModal(); },
        [](const Driver& page) {
            page.Await("the share",
                       [&] { return SendMessageW(page.Control(IDC_BAR), PBM_GETPOS, 0, 0) == 50; });
            EXPECT_EQ(TextOf(page.Control(IDC_TEXT)), TEXT("Unpacking the files: 50 %"));
            // A screen reader reads these names.
            EXPECT_EQ(TextOf(page.Control(IDC_BAR)), TEXT("Share of the files"));
            EXPECT_EQ(TextOf(page.Control(IDCANCEL)), TEXT("Cancel"));
            page.Key(WM_KEYDOWN, VK_ESCAPE);
        });
    EXPECT_TRUE(wasHidden);
}

TEST(DownloadNames, OnlyPlainNamesAreUnpacked) {
    for (const LPCWSTR name :
         {TEXT("a"), TEXT("a b.c\\D"), TEXT(".x"), TEXT("com.txt"), TEXT("com10"), TEXT("\x3b1\x4e00")})
        EXPECT_TRUE(IsPlainName(name)) << Narrow(name);
    for (const LPCWSTR name :
         {TEXT(""),       TEXT("."),   TEXT(".."),    TEXT("a\\..\\b"), TEXT("\\a"),     TEXT("a\\"),
          TEXT("a\\\\b"), TEXT("a/b"), TEXT("C:"),    TEXT("C:\\a"),    TEXT("a:b"),     TEXT("a::$DATA"),
          TEXT("a."),     TEXT("a "),  TEXT("a.\\b"), TEXT("a*"),       TEXT("a?"),      TEXT("a\"b"),
          TEXT("<"),      TEXT(">"),   TEXT("|"),     TEXT("a\x1f"),    TEXT("nul"),     TEXT("d\\Con.txt"),
          TEXT("aux .x"), TEXT("prn"), TEXT("COM1"),  TEXT("lpt9.a.b"), TEXT("com\xb2"), TEXT("conin$"),
          TEXT("CONOUT$")})
        EXPECT_FALSE(IsPlainName(name)) << Narrow(name);
}

// Each row breaks one rule of a table.
TEST(DownloadTable, ImpossibleRowsAreRefused) {
    const Entry file{TEXT("a"), 3, 0, 0};
    const Rebuilt copy{file, TEXT("b"), 3, {1}, {1}, {}}, made{file, TEXT("b"), 9, {1}, {2}, {4, 20}};
    const auto with = [](Rebuilt row, const auto& change) {
        change(row);
        return Table{{}, {}, {row}};
    };
    const struct {
        const char* what;
        Table table;
        std::uint64_t cbBlocks = 4;
    } rows[] = {
        {"sizes of blocks and files differ", {{{9, 4}}, {file}}, 9},
        {"blocks and trailer differ", {{{9, 3}}, {file}}, 10},
        {"an empty block", {{{9, 3}, {0, 0}}, {file}}, 9},
        {"sizes with a sum beyond a number", {{{~0ull, 3}, {10, 1}}, {file, {TEXT("b"), 1, 0, 0}}}, 9},
        {"a folder with bytes", {{{9, 3}}, {{TEXT("a"), 3, 0, FILE_ATTRIBUTE_DIRECTORY}}}, 9},
        {"an unknown attribute", {{{9, 3}}, {{TEXT("a"), 3, 0, 0x400}}}, 9},
        {"a name that leads elsewhere", {{{9, 3}}, {{TEXT("..\\a"), 3, 0, 0}}}, 9},
        {"a name that is too long", {{{9, 3}}, {{WideText(cchMostName + 1, 'a'), 3, 0, 0}}}, 9},
        {"a size that no drive has", {{}, {{TEXT("a"), ~0ull, 0, 0}, {TEXT("b"), 1, 0, 0}}}, 0},
        // What an update adds.
        {"a name that leads elsewhere", with(made, [](Rebuilt& row) { row.file.name = TEXT("..\\a"); })},
        {"a folder",
         {{}, {}, {{{TEXT("a"), 0, 0, FILE_ATTRIBUTE_DIRECTORY}, TEXT("b"), 9, {1}, {2}, {4, 20}}}}},
        {"an earlier file elsewhere", with(made, [](Rebuilt& row) { row.earlier = TEXT("C:\\a"); })},
        {"a long name", with(made, [](Rebuilt& row) { row.earlier = WideText(cchMostName + 1, 'a'); })},
        {"more than fits into memory", with(made, [](Rebuilt& row) { row.cbEarlier = cbMostEarlier + 1; })},
        {"a copy of another size", with(copy, [](Rebuilt& row) { row.cbEarlier = 4; }), 0},
        {"a copy with packed bytes", with(copy, [](Rebuilt& row) { row.difference.cbPacked = 4; })},
        {"differences and trailer differ", {{}, {}, {made}}, 5},
        {"sizes that no drive has",
         {{}, {}, {made, {{TEXT("a"), ~0ull, 0, 0}, TEXT("b"), 9, {1}, {2}, {4, 20}}}},
         8},
        {"no address", {{}, {}, {made}, {}, TEXT("http://example.com")}},
        {"an address with a blank", {{}, {}, {made}, {}, TEXT("https://example.com/ -x")}},
        {"an address without an end", {{}, {}, {made}, {}, TEXT("https://") + WideText(cchMostText, 'a')}},
    };
    EXPECT_TRUE(ReadTable(WriteTable({{{9, 3}}, {file}}), 9));
    EXPECT_TRUE(ReadTable(WriteTable({{}, {}, {made, copy}, TEXT("8"), TEXT("https://e")}), 4));
    for (const auto& row : rows)
        EXPECT_FALSE(ReadTable(WriteTable(row.table), row.cbBlocks)) << row.what;
    EXPECT_FALSE(ReadTable(WriteTable({{{9, 3}}, {file}}) + "x", 9));
}

// The same block, which holds zeros, again and again. It takes 5 GB of the drive, so it is a part of the proof.
TEST_F(DownloadTest, DISABLED_FiveGigabytesAreUnpacked) {
    constexpr std::uint64_t cbBlock = 64 << 20, kBlocks = 80, cbSecond = 1 << 20,
                            cbFirst = cbBlock * kBlocks - cbSecond;
    const std::string packed = Packed(std::string(cbBlock, 0));
    std::string blocks;
    for (std::uint64_t block = 0; block < kBlocks; ++block) {
        blocks += packed;
        m_archive.table.blocks.push_back({packed.size(), cbBlock});
    }
    m_archive.table.entries = {{TEXT("first"), cbFirst, kTime, 0}, {TEXT("second"), cbSecond, kTime, 0}};
    MakeFile(m_archive.path.Text(), blocks);
    EXPECT_EQ(CarryArchive(), Outcome::Right);
    const WIN32_FIND_DATAW found = Search(At("new\\first")).at(0);
    EXPECT_EQ(std::uint64_t{found.nFileSizeHigh} << 32 | found.nFileSizeLow, cbFirst);
    EXPECT_EQ(FileBytes(At("new\\second")), std::string(cbSecond, 0));
}

class PrivateFolderTest : public DownloadTest {
  protected:
    const Table m_table{{},
                        {{TEXT("d"), 0, 0, FILE_ATTRIBUTE_DIRECTORY}, {TEXT("d\\f"), 0, 0, 0}},
                        {{{TEXT("d\\r"), 0, 0, 0}, TEXT("r"), 0, {}, {}, {}}}};
};

TEST_F(PrivateFolderTest, IsMarkedBeforeItIsMadeAndUnmarkedAfterItsRemoval) {
    Make("other:x");
    ASSERT_TRUE(MoveFileExW(At("other").c_str(), nullptr, MOVEFILE_DELAY_UNTIL_REBOOT));
    Text path;
    {
        PrivateFolder folder;
        ASSERT_EQ(folder.Make(m_table), Outcome::Right);
        path = folder.Path().Text();
        EXPECT_EQ(MarksFrom(1), Marks("d\\r d\\f d .", path));
        MakeFile(path + TEXT("\\d\\f"));
        (void)SetFileAttributesW((path + TEXT("\\d\\f")).c_str(), FILE_ATTRIBUTE_READONLY);
    }
    EXPECT_FALSE(Exists(path));
    EXPECT_EQ(BootMarks(), Marks("other"));
}

CHILD_PROGRAM(KilledDownload) {
    PrivateFolder folder;
    if (folder.Make({{}, {{TEXT("f"), 0, 0, 0}}}) != Outcome::Right) return 1;
    MakeFile(folder.Path().Text() + TEXT("\\f"));
    MakeFile(At("path"), Narrow(folder.Path().Text()));
    ExitProcess(9);
}

TEST_F(PrivateFolderTest, NextStartRemovesTheFolderOfAKilledRun) {
    if (IsBeforeRestart(1)) {
        ASSERT_EQ(RunChild("KilledDownload"), 9u);
        EXPECT_TRUE(Exists(Wide(FileBytes(At("path")).value_or("")) + TEXT("\\f")));
        RestartMachine();
    }
    EXPECT_FALSE(Exists(Wide(FileBytes(At("path")).value_or("C:\\"))));
}

TEST_F(PrivateFolderTest, RemovesFoldersOfKilledRunsAndKeepsThoseInUse) {
    PrivateFolder running, folder;
    ASSERT_EQ(running.Make(m_table), Outcome::Right);
    ASSERT_EQ(folder.Make(m_table), Outcome::Right);
    const Text programs = folder.Path().Text().substr(0, folder.Path().Text().rfind('\\') + 1);
    const Text left = programs + TEXT("abcdefghijklmnopqrstuvwxyz.dl"), foreign = programs + TEXT("Other.dl");
    for (const Text& path : {left, foreign, running.Path().Text()})
        MakeFile(path + TEXT("\\d\\f"));
    ASSERT_EQ(MarkForNextStart({CString(left)}), 0u);
    folder.RemoveOthers();
    EXPECT_FALSE(Exists(left));
    EXPECT_TRUE(Exists(foreign + TEXT("\\d\\f")) && Exists(running.Path().Text() + TEXT("\\d\\f")));
    EXPECT_EQ(BootMarks().size(), 8u);
    DeleteTree(foreign);
}

TEST(DownloadCommandLine, OwnArgumentsStayAsTheyAre) {
    for (const auto& [line, rest] : std::initializer_list<std::pair<LPCWSTR, LPCWSTR>>{
             {TEXT("\"C:\\a b\\d.exe\"  -s  \"x  y\" "), TEXT("-s  \"x  y\" ")},
             {TEXT("d.exe\t-s"), TEXT("-s")},
             {TEXT("\"C:\\a b\\d.exe\""), TEXT("")},
             {TEXT("C:\\a\" \"b.exe x"), TEXT("x")}})
        EXPECT_EQ(OwnArguments(line), rest);
}

TEST(DownloadCommandLine, IsSilentBySetupsRules) {
    for (const char* const line : {"d -S", "d x -s", "d -SConf -v"})
        EXPECT_TRUE(WithArguments(line, IsSilentRun)) << line;
    for (const char* const line : {"d", "-s", "d -s -v", "d -v -s", "d /s", "d -silent"})
        EXPECT_FALSE(WithArguments(line, IsSilentRun)) << line;
}

}  // namespace
