#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>

#include "command_line.h"
#include "download/made_download.h"
#include "harness/registry_values.h"
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

class UpdateTest : public DownloadTest {
  protected:
    UpdateTest() { MakeInstallation(); }

    static void MakeInstallation() {
        MakeFile(At("app\\old\\other"), kOld);
        MakeFile(At("app\\old\\file"), kOld);
    }
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
        EXPECT_EQ(m_differing, Wide(row.name));
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

// With files that the download carries, and with those that it makes.
TEST_F(UpdateTest, EachChangedBitAndEachCutIsNoticed) {
    // Files take long under Wine, and what it shows doesn't depend on the byte. All bits of a byte have their turn.
    const std::size_t step = UnderWine() ? 7 : 1;
    const std::string whole = Download("d\\ a:first d\\long:0123456789", 8, "a program", kMade);
    std::vector<std::string> all = {whole + "more"};
    for (std::size_t at = 0; at < whole.size(); at += step) {
        all.emplace_back(whole)[at] = static_cast<char>(whole[at] ^ 1 << at % 8);
        if (at % (8 * step) == 0) all.push_back(whole.substr(0, at));
    }
    for (const std::string& bytes : all)
        EXPECT_EQ(Carry(bytes), Outcome::Damaged) << ::testing::PrintToString(bytes);
}

TEST_F(UpdateTest, WithoutSpaceOrWhenCancelledNothingIsMade) {
    constexpr std::uint64_t kTooLarge = std::uint64_t{1} << 47;
    Rebuilt rebuilt{{TEXT("a"), kTooLarge, 0, 0}, TEXT("old\\file"), kTooLarge, {}, {}, {}};
    MakeFile(At("download.exe"));
    for (const Table& table : {Table{{{8, kTooLarge}}, {rebuilt.file}}, Table{{}, {}, {rebuilt}}}) {
        m_archive.table = table;
        EXPECT_EQ(CarryArchive(), Outcome::NoSpace);
    }
    rebuilt.file.cbFile = 1;
    m_archive.table = {{{8, 1}}, {rebuilt.file}, {rebuilt}};
    Progress progress(m_archive.table);
    progress.Cancel();
    Installation installation(CString(At("app")));
    EXPECT_EQ(Unpack(m_archive, m_new, progress), Outcome::Cancelled);
    EXPECT_EQ(Rebuild(m_archive, installation, m_new, progress), Outcome::Cancelled);
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

}  // namespace
