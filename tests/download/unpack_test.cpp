#include "unpack.h"

#include <lzma.h>

#include <commctrl.h>

#include "boot_marks.h"
#include "command_line.h"
#include "harness/driver.h"
#include "harness/machine_view.h"
#include "ids.h"
#include "private_folder.h"
#include "progress_dlg.h"

using namespace download;

namespace {

std::string Packed(const std::string& bytes) {
    std::string packed(lzma_stream_buffer_bound(bytes.size()), 0);
    std::size_t cb = 0;
    EXPECT_EQ(lzma_easy_buffer_encode(0, LZMA_CHECK_SHA256, nullptr,
                                      reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size(),
                                      reinterpret_cast<std::uint8_t*>(packed.data()), &cb, packed.size()),
              LZMA_OK);
    return packed.substr(0, cb);
}

constexpr std::uint64_t kTime = 132'000'000'000'000'000;

// A download with these files, in blocks of `cbBlock` bytes. NAME\ is a folder, and NAME! a read-only file.
std::string Download(const std::string& list, std::size_t cbBlock) {
    Table table;
    std::string all, blocks;
    for (const std::string& item : Items(list)) {
        const std::size_t split = std::min(item.find(':'), item.size());
        std::string name = item.substr(0, split);
        const std::string bytes = item.substr(std::min(split + 1, item.size()));
        const DWORD attributes = name.back() == '\\'  ? FILE_ATTRIBUTE_DIRECTORY
                                 : name.back() == '!' ? FILE_ATTRIBUTE_READONLY
                                                      : 0;
        if (attributes) name.pop_back();
        table.entries.push_back({Wide(name), bytes.size(), kTime, attributes});
        all += bytes;
    }
    for (std::size_t at = 0; at < all.size(); at += cbBlock) {
        const std::string packed = Packed(all.substr(at, cbBlock));
        table.blocks.push_back({packed.size(), std::min(cbBlock, all.size() - at)});
        blocks += packed;
    }
    const std::string program = "a program", bytes = WriteTable(table);
    const std::string packed = Packed(bytes);
    return program + blocks + packed +
           WriteTrailer({program.size(), blocks.size(), packed.size(), bytes.size(), SumOfProgram(program)});
}

const std::string kFiles = "d\\ d\\e\\ empty: a:first d\\e\\long:0123456789abcdefghij d\\fixed!:x last:y";

class DownloadTest : public ScratchTest {
  protected:
    // Unpacks the download into C:\Scratch\new.
    static Outcome UnpackBytes(const std::string& download) {
        DeleteTree(At("new"));
        MakeFile(At("download.exe"), download);
        MakeFolder(At("new"));
        Archive archive;
        const Outcome outcome = OpenArchive(CString(At("download.exe")), archive);
        if (outcome != Outcome::Right) return outcome;
        Progress progress(archive.table);
        return Unpack(archive, CString(At("new")), progress);
    }
};

// The blocks begin at the start of files, inside them, and one file has several.
TEST_F(DownloadTest, FilesAreUnpackedFromAnyBlocks) {
    const Files files = State("d\\ d\\e\\ empty: a:first d\\e\\long:0123456789abcdefghij d\\fixed:x last:y");
    for (const std::size_t cbBlock : {1, 4, 5, 7, 25, 100}) {
        ASSERT_EQ(UnpackBytes(Download(kFiles, cbBlock)), Outcome::Right);
        EXPECT_EQ(Look(At("new")), files) << cbBlock;
        for (const char* const name : {"new\\empty", "new\\d\\e\\long", "new\\last"}) {
            WIN32_FIND_DATAW found;
            ASSERT_TRUE(FindClose(FindFirstFileW(At(name).c_str(), &found)));
            EXPECT_EQ(std::uint64_t{found.ftLastWriteTime.dwHighDateTime} << 32 |
                          found.ftLastWriteTime.dwLowDateTime,
                      kTime)
                << name;
        }
        EXPECT_TRUE(GetFileAttributesW(At("new\\d\\fixed").c_str()) & FILE_ATTRIBUTE_READONLY);
    }
    EXPECT_EQ(UnpackBytes(Download("", 1)), Outcome::Right);
    EXPECT_EQ(UnpackBytes(Download("a:1 A:2", 1)), Outcome::Failed);
}

TEST_F(DownloadTest, EachChangedBitAndEachCutIsNoticed) {
    const std::string whole = Download(kFiles, 16);
    for (std::size_t at = 0; at < whole.size(); ++at) {
        std::string changed = whole;
        changed[at] = static_cast<char>(changed[at] ^ 1 << at % 8);
        EXPECT_EQ(UnpackBytes(changed), Outcome::Damaged) << "byte " << at;
    }
    for (std::size_t at = 0; at < whole.size(); at += 8)
        EXPECT_EQ(UnpackBytes(whole.substr(0, at)), Outcome::Damaged) << "cut at " << at;
    EXPECT_EQ(UnpackBytes(whole + "more"), Outcome::Damaged);
}

TEST_F(DownloadTest, ACancelledUnpackingEnds) {
    MakeFile(At("download.exe"), Download(kFiles, 16));
    Archive archive;
    ASSERT_EQ(OpenArchive(CString(At("download.exe")), archive), Outcome::Right);
    Progress progress(archive.table);
    progress.Cancel();
    EXPECT_EQ(Unpack(archive, CString(kScratch), progress), Outcome::Cancelled);
    EXPECT_FALSE(Exists(At("a")));
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
        wasHidden = ComesTrue([] { return !IsWindowVisible(FindWindowW(nullptr, TEXT("Product"))); });
    };
    (void)RunDriven(
        TEXT("Product"), [&] { return CProgressDlg(job, progress).DoModal(); },
        [](const Driver& page) {
            page.Await("the share",
                       [&] { return SendMessageW(page.Control(IDC_BAR), PBM_GETPOS, 0, 0) == 50; });
            EXPECT_EQ(TextOf(page.Control(IDC_TEXT)), TEXT("Unpacking the files: 50 %"));
            page.Press(IDCANCEL);
        });
    EXPECT_TRUE(wasHidden);
}

TEST(DownloadNames, OnlyPlainOnesAreUnpacked) {
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
    const struct {
        const char* what;
        Table table;
        std::uint64_t cbBlocks;
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
    };
    EXPECT_TRUE(ReadTable(WriteTable({{{9, 3}}, {file}}), 9));
    for (const auto& row : rows)
        EXPECT_FALSE(ReadTable(WriteTable(row.table), row.cbBlocks)) << row.what;
    EXPECT_FALSE(ReadTable(WriteTable({{{9, 3}}, {file}}) + "x", 9));
}

class PrivateFolderTest : public DownloadTest {
  protected:
    const Table m_table{{}, {{TEXT("d"), 0, 0, FILE_ATTRIBUTE_DIRECTORY}, {TEXT("d\\f"), 0, 0, 0}}};
};

TEST_F(PrivateFolderTest, ItsMarksAreThereBeforeItAndGoWithIt) {
    Make("other:x");
    ASSERT_TRUE(MoveFileExW(At("other").c_str(), nullptr, MOVEFILE_DELAY_UNTIL_REBOOT));
    Text path;
    {
        PrivateFolder folder;
        ASSERT_EQ(folder.Make(m_table), Outcome::Right);
        path = folder.Path().Text();
        EXPECT_EQ(BootMarks(),
                  (std::vector<Mark>{
                      {At("other"), {}}, {path + TEXT("\\d\\f"), {}}, {path + TEXT("\\d"), {}}, {path, {}}}));
        MakeFile(path + TEXT("\\d\\f"));
        (void)SetFileAttributesW((path + TEXT("\\d\\f")).c_str(), FILE_ATTRIBUTE_READONLY);
    }
    EXPECT_FALSE(Exists(path));
    EXPECT_EQ(BootMarks(), (std::vector<Mark>{{At("other"), {}}}));
}

TEST_F(PrivateFolderTest, ThoseOfKilledRunsAreRemovedAndThoseInUseStay) {
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
    EXPECT_EQ(BootMarks().size(), 6u);
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
    int& count = __argc;
    WCHAR**& values = __wargv;
    const int oldCount = count;
    WCHAR** const oldValues = values;
    for (const auto& [line, silent] :
         std::initializer_list<std::pair<const char*, bool>>{{"d", false},
                                                             {"-s", false},
                                                             {"d -S", true},
                                                             {"d x -s", true},
                                                             {"d -s -v", false},
                                                             {"d -v -s", false},
                                                             {"d -SConf -v", true},
                                                             {"d /s", false},
                                                             {"d -silent", false}}) {
        std::vector<Text> arguments = Names(line);
        std::vector<WCHAR*> pointers;
        for (Text& argument : arguments)
            pointers.push_back(argument.data());
        count = static_cast<int>(pointers.size());
        values = pointers.data();
        EXPECT_EQ(IsSilentRun(), silent) << line;
    }
    count = oldCount;
    values = oldValues;
}

}  // namespace
