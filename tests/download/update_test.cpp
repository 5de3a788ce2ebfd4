#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>

#include "command_line.h"
#include "difference.h"
#include "download/made_download.h"
#include "harness/driver.h"
#include "harness/registry_values.h"
#include "private_folder.h"
#include "rebuild.h"
#include "run/product.h"

using namespace download;

namespace {

constexpr char kOld[] = "the earlier bytes";

// Files of which each takes another way. The steps of the second one: a run that changes, an own text, and two runs that
// overlap.
const std::vector<MadeFile> kMade = {
    {"copy", "old\\other", kOld, "", kOld},
    {"d\\made", "old\\file", kOld,
     Step(4, std::string("\0\1\0\0\0\0\0", 7), " new ") + Step(0, std::string(3, 0), "") +
         Step(2, std::string(2, 0), ""),
     "ebrlier new thee "},
    {"d\\plain", "old\\file", kOld, Step(0, "", "all of it"), "all of it"},
};

class UpdateTest : public ScratchTest {
  protected:
    UpdateTest() { MakeInstallation(); }

    static void MakeInstallation() {
        MakeFile(At("app\\old\\other"), kOld);
        MakeFile(At("app\\old\\file"), kOld);
    }

    Outcome Carry(const std::string& download, const std::function<void()>& onShare = {}) {
        Archive archive;
        const Outcome outcome = Open(download, archive);
        return outcome == Outcome::Right ? CarryArchive(archive, onShare) : outcome;
    }

    Outcome CarryArchive(const Archive& archive, const std::function<void()>& onShare = {}) {
        DeleteTree(At("new"));
        MakeFolder(At("new"));
        Progress progress(archive.table);
        progress.onShare = onShare;
        const CString folder(At("new"));
        Installation installation(CString(At("app")));
        Outcome outcome = Unpack(archive, folder, progress);
        if (outcome == Outcome::Right) outcome = Rebuild(archive, installation, folder, progress);
        m_differing = Narrow(CString(installation.Differing()).Text());
        m_share = progress.Share();
        return outcome;
    }

    std::string m_differing;
    unsigned m_share = 0;
};

TEST_F(UpdateTest, FilesAreMadeOfTheInstallation) {
    ASSERT_EQ(Carry(Download("d\\ a:first", 3, "a program", kMade)), Outcome::Right);
    EXPECT_EQ(m_share, 100u);
    for (const MadeFile& file : kMade) {
        const Text path = At("new\\" + file.name);
        EXPECT_EQ(FileBytes(path), file.bytes) << file.name;
        EXPECT_TRUE(GetFileAttributesW(path.c_str()) & FILE_ATTRIBUTE_READONLY);
        EXPECT_EQ(WrittenAt(path), kTime);
    }
}

TEST_F(UpdateTest, AnInstallationThatDiffersIsRefused) {
    const struct {
        const char *name, *bytes;  // without bytes it is missing
    } rows[] = {{"old\\other", nullptr},
                {"old\\file", nullptr},
                {"old\\other", "the earlier byteS"},
                {"old\\file", "The earlier bytes"},
                {"old\\other", "the earlier bytes and more"},
                {"old\\file", "the earlier"},
                {"old\\file", ""}};
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.name) + " " + (row.bytes ? row.bytes : "missing"));
        MakeInstallation();
        ASSERT_TRUE(DeleteFileW(At(std::string("app\\") + row.name).c_str()));
        if (row.bytes) MakeFile(At(std::string("app\\") + row.name), row.bytes);
        EXPECT_EQ(Carry(Download("d\\ a:first", 3, "a program", kMade)), Outcome::OtherInstallation);
        EXPECT_EQ(m_differing, row.name);
    }
}

// Wrong steps, with a right sum of the packed bytes.
TEST_F(UpdateTest, AWrongDifferenceIsDamage) {
    const std::string whole = Step(0, std::string(3, 0), "x");
    for (const std::string& steps :
         {Step(18, "", ""), Step(15, std::string(3, 0), ""), whole + "\1", whole.substr(0, whole.size() - 1),
          whole + Step(0, "", "more"), Step(0, std::string(3, 0), "y")})
        EXPECT_EQ(Carry(Download("", 1, "a program", {{"a", "old\\file", kOld, steps, "thex"}})),
                  Outcome::Damaged);
    EXPECT_EQ(Carry(Download("", 1, "a program", {{"a", "old\\file", kOld, whole, "thex"}})), Outcome::Right);
}

TEST_F(UpdateTest, EachChangedBitIsNoticed) {
    for (const std::string& changed : WithEachByteChanged(Download("d\\ a:first", 8, "a program", kMade)))
        EXPECT_EQ(Carry(changed), Outcome::Damaged) << ::testing::PrintToString(changed);
}

TEST_F(UpdateTest, WithoutSpaceOrWhenCancelledNothingIsMade) {
    constexpr std::uint64_t kTooLarge = std::uint64_t{1} << 47;
    MakeFile(At("download.exe"));
    Archive archive{CString(At("download.exe")), 0, {}};
    archive.table.rebuilt.push_back({{TEXT("a"), kTooLarge, 0, 0}, TEXT("old\\file"), kTooLarge, {}, {}, {}});
    EXPECT_EQ(CarryArchive(archive), Outcome::NoSpace);
    Progress progress(archive.table);
    progress.Cancel();
    Installation installation(CString(At("app")));
    archive.table.rebuilt[0].file.cbFile = 1;
    EXPECT_EQ(Rebuild(archive, installation, CString(At("new")), progress), Outcome::Cancelled);
    EXPECT_EQ(Look(At("new")), Files());
}

// There are more files than threads. So one is whole when another begins.
TEST_F(UpdateTest, NoticesFilesThatAreDeletedMeanwhile) {
    std::vector<MadeFile> made;
    for (char name = 'a'; name < 'j'; ++name)
        made.push_back({{name}, "old\\other", kOld, "", kOld});
    // No file can be deleted while another thread reads it here.
    std::mutex one;
    bool isDone = false;
    const auto onShare = [&] {
        const std::lock_guard lock(one);
        for (const MadeFile& file : made) {
            const Text path = At("new\\" + file.name);
            if (isDone || !Exists(path) || FileBytes(path) != kOld) continue;
            (void)SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_NORMAL);
            isDone = DeleteFileW(path.c_str()) != FALSE;
        }
    };
    EXPECT_EQ(Carry(Download("", 1, "a program", made), onShare), Outcome::Failed);
}

TEST_F(UpdateTest, MakesOneDifferenceAtATime) {
    std::vector<MadeFile> made;
    for (const char* name : {"a", "b", "c", "d"})
        made.push_back({name, "old\\file", kOld, Step(0, "", "all of it"), "all of it"});
    std::atomic<int> running = 0;
    std::atomic<bool> isTwo = false;
    const auto onShare = [&] {
        if (++running > 1) isTwo = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        --running;
    };
    EXPECT_EQ(Carry(Download("", 1, "a program", made), onShare), Outcome::Right);
    EXPECT_FALSE(isTwo);
}

// What is written is what was checked. The last byte is another one when the first piece is written.
TEST_F(UpdateTest, NoticesFilesThatChangeMeanwhile) {
    const std::string large(600'000, 'x');
    MakeFile(At("app\\large"), large);
    std::atomic<bool> isDone = false;
    const auto onShare = [&] {
        if (isDone.exchange(true)) return;
        const KernelHandle file =
            OpenHandle(CString(At("app\\large")), GENERIC_WRITE, kShareAll, OPEN_EXISTING, 0);
        EXPECT_TRUE(Seek(file.get(), large.size() - 1));
        EXPECT_EQ(WriteExactly(file.get(), "y", 1), Outcome::Right);
    };
    EXPECT_EQ(Carry(Download("", 1, "a program", {{"copy", "large", large, "", large}}), onShare),
              Outcome::OtherInstallation);
}

TEST_F(UpdateTest, MarksTheFilesThatItMakes) {
    PrivateFolder folder;
    Table table{{}, {{TEXT("d"), 0, 0, FILE_ATTRIBUTE_DIRECTORY}}};
    table.rebuilt.push_back({{TEXT("d\\r"), 0, 0, 0}, TEXT("r"), 0, {}, {}, {}});
    ASSERT_EQ(folder.Make(table), Outcome::Right);
    const Text path = folder.Path().Text();
    EXPECT_EQ(BootMarks(),
              (std::vector<Mark>{{path + TEXT("\\d\\r"), {}}, {path + TEXT("\\d"), {}}, {path, {}}}));
}

TEST_F(UpdateTest, TheInstallationIsFoundAsSetupFindsIt) {
    MakeFile(At("known\\QtvApp8.exe"));
    MakeFile(At("named\\QtvApp8.exe"));
    PutValue(HKEY_LOCAL_MACHINE, kProductKey, TEXT("Path"), Sz(At("known")));
    const std::string named = Narrow(At("named"));
    for (const auto& [line, folder] : std::initializer_list<std::pair<std::string, Text>>{
             {"d -s", At("known")},
             {"d -s -instdir " + named + "\\", At("named")},
             {"d -instport " + named, At("named")},
             {"d -instdir " + named + " -instdir C:\\none", At("known")},
             {"d -s -instdir", At("known")},
             {"d -INSTDIR " + named, At("known")}})
        EXPECT_EQ(WithArguments(line, FindInstallation), CString(folder)) << line;
    DeleteTree(At("known"));
    EXPECT_TRUE(WithArguments("d", FindInstallation).IsEmpty());
}

TEST(Sha256Sum, IsThatOfTheStandard) {
    const std::string million(1'000'000, 'a');
    const struct {
        std::string bytes;
        const char* first;
    } rows[] = {
        {"", "\xE3\xB0\xC4\x42\x98\xFC\x1C\x14"},
        {"abc", "\xBA\x78\x16\xBF\x8F\x01\xCF\xEA"},
        {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq", "\x24\x8D\x6A\x61\xD2\x06\x38\xB8"},
        {million, "\xCD\xC7\x6E\x5C\x99\x14\xFB\x92"}};
    for (const auto& row : rows)
        for (const std::size_t cbPiece : std::initializer_list<std::size_t>{1, 63, 64, 100'000}) {
            const auto digest = [&](bool byInstructions) {
                Sha256 sum(byInstructions);
                for (std::size_t at = 0; at < row.bytes.size(); at += cbPiece)
                    sum.Add(row.bytes.data() + at, std::min<std::size_t>(cbPiece, row.bytes.size() - at));
                return sum.Finish();
            };
            const Digest plain = digest(false);
            EXPECT_EQ(std::string(plain.begin(), plain.begin() + 8), std::string(row.first, 8))
                << row.bytes.size();
            EXPECT_EQ(digest(true), plain) << row.bytes.size();
        }
}

// Each row breaks one rule of what an update adds to a table.
TEST(UpdateTable, ImpossibleRowsAreRefused) {
    const Rebuilt copy{{TEXT("a"), 3, 0, 0}, TEXT("b"), 3, {1}, {1}, {}},
        made{{TEXT("a"), 3, 0, 0}, TEXT("b"), 9, {1}, {2}, {4, 20}},
        huge{{TEXT("a"), ~0ull, 0, 0}, TEXT("b"), 9, {1}, {2}, {4, 20}};
    const auto with = [](Rebuilt row, const auto& change) {
        change(row);
        return Table{{}, {}, {row}};
    };
    const struct {
        const char* what;
        Table table;
        std::uint64_t cbBlocks = 4;
    } rows[] = {
        {"a name that leads elsewhere", with(made, [](Rebuilt& row) { row.file.name = TEXT("..\\a"); })},
        {"a folder", with(made,
                          [](Rebuilt& row) {
                              row.file = {TEXT("a"), 0, 0, FILE_ATTRIBUTE_DIRECTORY};
                          })},
        {"an earlier file elsewhere", with(made, [](Rebuilt& row) { row.earlier = TEXT("C:\\a"); })},
        {"a long name", with(made, [](Rebuilt& row) { row.earlier = WideText(cchMostName + 1, 'a'); })},
        {"more than fits into memory", with(made, [](Rebuilt& row) { row.cbEarlier = cbMostEarlier + 1; })},
        {"a copy of another size", with(copy, [](Rebuilt& row) { row.cbEarlier = 4; }), 0},
        {"a copy with packed bytes", with(copy, [](Rebuilt& row) { row.difference.cbPacked = 4; })},
        {"differences and trailer differ", {{}, {}, {made}}, 5},
        {"sizes that no drive has", {{}, {}, {made, huge}}, 8},
        {"no address", {{}, {}, {made}, {}, TEXT("http://example.com")}},
        {"an address with a blank", {{}, {}, {made}, {}, TEXT("https://example.com/ -x")}},
        {"an address without an end", {{}, {}, {made}, {}, TEXT("https://") + WideText(cchMostText, 'a')}},
    };
    EXPECT_TRUE(ReadTable(WriteTable({{}, {}, {made, copy}, TEXT("8"), TEXT("https://e")}), 4));
    for (const auto& row : rows)
        EXPECT_FALSE(ReadTable(WriteTable(row.table), row.cbBlocks)) << row.what;
}

}  // namespace
