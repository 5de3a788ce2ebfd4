#include <random>

#include "engine/manifest.h"
#include "harness/machine_view.h"
#include "short_names.h"
#include "tools/package_check_run.h"

using package_check::CheckPackage;

namespace {

class PackageRecords : public PackageCheckTest {
  protected:
    // A record that a finding advises doesn't lead to the same finding.
    void ExpectAdviceToHelp(const std::string& manifest) {
        const std::vector<Finding> findings = m_findings;
        for (const Finding& finding : findings) {
            const std::string advice = finding.instead.substr(0, finding.instead.find("  ("));
            if (!finding.line || finding.id == "long-line" || !ReadRecord(Wide(advice).c_str()).value)
                continue;
            std::size_t start = 0;
            for (unsigned line = 1; line < finding.line; ++line)
                start = manifest.find('\n', start) + 1;
            const std::size_t end = std::min(manifest.find('\n', start), manifest.size());
            Write("QtvUnInst.log", manifest.substr(0, start) + advice + manifest.substr(end));
            (void)Check();
            EXPECT_TRUE(std::ranges::none_of(
                m_findings,
                [&](const Finding& again) { return again.id == finding.id && again.line == finding.line; }))
                << finding.id << " again, for " << advice;
        }
    }
};

struct Row {
    std::string records;
    const char* expected;
    std::string files = "a";  // with blanks between them
    int exitCode = *expected ? 1 : 0;
};

TEST_F(PackageRecords, FindsEveryTrapOfARecord) {
    const auto times = [](std::size_t count, char letter) { return std::string(count, letter); };
    // A path of 259 characters.
    const std::string deep = times(118, 'd') + "\\" + times(113, 'e');
    // A download takes names of 200 characters. More are a note.
    const std::string longName = times(100, 'd') + "\\" + times(99, 'f');
    const std::string longCopy = "Make Dir: " + times(100, 'd') + "\nFile Copy: " + longName;
    const names::ShortNames shortNames(TEXT("ABCDEFGHI"), TEXT("ABCDEFGHI"));
    const std::string summed = Narrow(shortNames.Candidate(shortNames.firstSummed()));
    const std::vector<Row> rows = {
        // clean ones
        {"# a remark\n\nFile Copy: a\t \x01\n\x1A\r\n", ""},
        {"File Copy: a > b\nFile Overwrite: c | a/remark\nFile Del: abc*.x", ""},
        {"Make Dir: s\nFile Copy: s\\*\nFile Copy x64: x64\\ThumbQvi64.dll\nMake Dir: x64\n", "",
         "s\\a s\\b x64\\ThumbQvi64.dll"},
        {"File Copy: s\\t\\a\nMake Dir: s\\t\nMake Dir: s", "", "s\\t\\a"},
        {"Make Dir: s\nMake Dir: s\\t\nFile Copy: s\\t\\a\nMake Dir: s", "", "s\\t\\a"},
        {"File Copy prt: a > b\nFile Copy: a > c", ""},
        // spelling
        {"file Copy: a", "wrong-case:4"},
        {" File Copy: a\n\tMake Dir: s\n\240File Del: b", "blank-before:4,5,6"},
        {"File Copy:a\nFile\tDel: b\nFileDel: c\nFile Overwrite:\240d", "wrong-blank:4,5,6,7"},
        {"File Copy: \r\nMake Dir:", "empty-record:4,5", ""},
        {" Copy: a\nFile Copy a", "no-record:4,5 unnamed-file(a)"},
        {"File Copy:  a\nFile Copy: \302\240b\nMake Dir:\t s", "blank-in-name:4,5 wrong-blank:6", "a b"},
        {"File Copy: a | remark\nMake Dir: s | remark", "comment:4,5"},
        {"File Copy: s/a\nMake Dir: s\nFile Copy: a > s/b\nFile Del: s/t | u", "forward-slash:4,6,7",
         "a s\\a"},
        {"file copy: s/a | remark\nMake Dir: s", "wrong-case:4 comment:4 forward-slash:4", "s\\a"},
        {"File Del: \xC3\xBC\nFile Del: \xFC", "utf8-name:4", ""},
        {"File Del: " + times(501, 'x') + "\r\nFile Copy: a", "long-path:4"},
        {"File Copy: a" + times(499, 'x') + "File Copy: none", "long-line:4,4 unnamed-file(a)"},
        {"File Copy: a\nMade Dir: C:\\x\nShell Link: C:\\x.lnk", "setup-record:5,6"},
        // names
        {"File Copy: none\nFile Copy prt: none*\nFile Copy ind: none > b", "no-match:4,5,6", ""},
        {"File Copy: sub\\a\nMake Dir: sub\nFile Copy: sub*\nFile Copy: sub > t", "folder-match:6,7",
         "sub\\a"},
        {"File Copy: a >\nFile Del: a >\nFile Del: | b", "empty-new-name:4,5,6 unnamed-file(a)"},
        {"File Copy: > b", "empty-name:4", ""},
        {"File Copy: a* > b\nFile Copy: a > ?", "two-name-wildcard:4,5 unnamed-file(a)"},
        {"File Copy: a > s\\b\nFile Copy x64: a > t\\b\nMake Dir: s", "two-name-folder:4,5 x64-ignored:5"},
        {"File Copy: C:\\a\nFile Del: a|b\nMake Dir: s*\nFile Copy: s*\\a", "bad-name:4,5,6,7", ""},
        {"File Copy: ..\\pkg\\a\nMake Dir: s\\..\\..\\t", "outside-folder:4,5 unnamed-file(a)"},
        {"Make Dir: " + times(118, 'd') + "\nFile Copy: " + deep + "\nFile Copy: " + deep + "e",
         "long-for-download:5 long-path:6", deep + " " + deep + "e"},
        {longCopy + " > a", "", longName},
        {longCopy + "f > a", "long-for-download:5", longName + "f", 0},
        {"File Del: " + deep + "\nFile Del: " + deep + "e\nMake Dir: " + times(220, 'd') +
             "\nMake Dir: " + times(221, 'd'),
         "long-path:5,7", ""},
        {"File Copy: s \\*.*\nFile Copy: a > b.\nMake Dir: s.\\t\nFile Del: ...\nFile Overwrite: abc*.",
         "blank-or-dot-end:4,5,6,7 unnamed-file(a),(s\\b)", "a s\\b"},
        {"File Copy: a > nul\nMake Dir: Com1.x\\t\nFile Del: LPT9 .x.y\nFile Del: com10\nFile Del: "
         "lpt0\nFile Del: cons",
         "device-name:4,5,6 unnamed-file(a)"},
        {"File Del: com\xB9\nFile Del: lpt\xB2.x\nFile Del: s\\COM\xB3\nFile Del: com\xB4\nFile Del: "
         "conin$.x\nMake Dir: conout$",
         "device-name:4,5,6,8,9", ""},
        {"File Copy: Abcdefghi.text\nFile Copy: ABCDEF~2.TEX\nFile Copy: ABCDEF~2\nFile Copy: ABCDEF~9.TEX",
         "short-name-taken:5", "Abcdefghi.text ABCDEF~2.TEX ABCDEF~2 ABCDEF~9.TEX"},
        {"File Copy: a > ABCDEF~1\nMake Dir: s\nFile Copy: s\\abcdefghi", "", "a s\\abcdefghi"},
        {"File Overwrite: pag*.htm\nFile Copy: pag*.html\nFile Copy: a > Abcdefghi\nFile Del: abcdef~?\nFile "
         "Del: abcdefghi~1*\nFile Del: abc*.",
         "short-name-match:4,7", "a page.html"},
        {"File Copy: a > Abcdefghi\nFile Del: " + summed.substr(0, summed.size() - 1) + "?",
         "short-name-match:5"},
        {"File Copy: \xC9", "", "\xC3\xA9"},
        // several records together
        {"Make Dir: s\\t\nMake Dir: s", "folder-before-parent:4", ""},
        {"Make Dir: s\nMake Dir: s\\t\nMake Dir: s\\u", "removal-order:4", ""},
        {"File Copy: s\\t\\a", "folder-stays:4,4", "s\\t\\a"},
        {"File Copy: a\nFile Copy: A\nFile Copy ind: a > a\nFile Copy: b*\nFile Copy: B*",
         "written-twice:5,6 removal-takes-more:7 written-twice:8 removal-takes-more:8", "a b"},
        {"File Copy x64: a", "x64-ignored:4"},
        {"File Copy: QtvUnInst.log", "log-record:4", ""},
        {"File Overwrite: *.ini\nFile Del: s\\*.*\nFile Copy: a*", "removal-takes-more:4,5,6"},
        {"", "unnamed-file(a),(s\\setup.exe)", "a s\\setup.exe"},
        // bytes
        {"#\nFile Copy: a\032File Copy: b", "text-end:5"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.records);
        for (const std::string& file : Items(row.files))
            Write(file, "content");
        Write("QtvUnInst.log", kStart + row.records);
        EXPECT_EQ(Check(), row.expected);
        EXPECT_EQ(ExitCode(), row.exitCode);
        ExpectAdviceToHelp(kStart + row.records);
        for (const std::string& file : Items(row.files))
            DeleteTree(kPackage + TEXT("\\") + Wide(file.substr(0, file.find('\\'))));
    }
}

TEST_F(PackageRecords, NotesManyRecordsForOneFolder) {
    const struct {
        unsigned count;
        const char* folder;
        const char* inPackage;  // of the last file
        const char* expected;
    } rows[] = {
        {99, "s\\", "s\\x", ""},
        {100, "s\\", "s\\x", "many-records:5"},
        // A pattern would stop at a folder. At the top it would take the user's files.
        {101, "s\\", "s\\t\\x", ""},
        {101, "", "x", ""},
    };
    for (const auto& row : rows) {
        std::string records =
            "Make Dir: s\nFile Copy: " + std::string(row.inPackage) + "\nMake Dir: s\\t\nMake Dir: s\n";
        Write(row.inPackage, "content");
        for (unsigned i = 0; i < row.count; ++i) {
            const std::string name = row.folder + std::to_string(i);
            Write(name, "content");
            records += "File Copy: " + name + "\n";
        }
        Write("QtvUnInst.log", kStart + records);
        EXPECT_EQ(Check(), row.expected) << row.count << row.inPackage;
        EXPECT_EQ(ExitCode(), 0);
        DeleteTree(kPackage + TEXT("\\s"));
    }
}

TEST_F(PackageRecords, ReportsACommentThatMakesTheRemovalDelete) {
    Write("QtvUnInst.log", kStart + "File Copy: a | remark\nMake Dir: s | remark");
    EXPECT_EQ(Check(), "comment:4 no-match:4 comment:5");
    EXPECT_NE(m_findings[0].happens.find("it deletes a file"), std::string::npos);
    EXPECT_EQ(m_findings[2].happens.find("deletes"), std::string::npos);
}

TEST_F(PackageRecords, AcceptsAnyBytesAndAnyNumberOfRecords) {
    std::minstd_rand random(8);
    for (int round = 0; round < 10; ++round) {
        std::string bytes;
        for (int i = 0; i < 4000; ++i) {
            // Some of the bytes form records, so that names are random too.
            if (random() % 64 == 0) bytes += "\nFile Copy: ";
            const char byte = static_cast<char>(random() >> 8);
            bytes += byte == 0x1A ? 'x' : byte;
        }
        Write("QtvUnInst.log", bytes);
        EXPECT_FALSE(CheckPackage(kPackage.c_str()).empty());
    }

    constexpr int kRecords = 20'000;
    std::string records = kStart + "Make Dir: out\n";
    for (int i = 0; i < kRecords; ++i)
        records += (i % 1000 == 0 ? "file copy: setup.exe > out\\" : "File Copy: setup.exe > out\\") +
                   std::to_string(i) + "\n";
    Write("QtvUnInst.log", records);
    const auto findings = CheckPackage(kPackage.c_str());
    EXPECT_EQ(findings.size(), kRecords / 1000);
    EXPECT_EQ(findings.back().line, 5u + kRecords - 1000);
}

}  // namespace
