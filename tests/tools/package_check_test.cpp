#include <optional>

#include "tools/package_check_run.h"

namespace {

TEST_F(PackageCheckTest, ChecksEveryFileThatSetupReads) {
    const struct {
        const char* file;
        std::optional<std::string> bytes;  // none if the file is missing
        const char* expected;
        int exitCode = 1;
    } rows[] = {
        {"QtvUnInst.log", "\xEF\xBB\xBF# mark\n" + kStart, "byte-order-mark:1"},
        {"QtvUnInst.log", "\xEF\xBB\xBF" + kStart,
         "byte-order-mark:1 application-not-installed(QtvUnInst.log) "
         "uninstaller-not-installed(QtvUnInst.log)"},
        {"QtvUnInst.log", "\xFF\xFE" + Utf16(kStart), "wide-encoding:1"},
        {"QtvUnInst.log", Utf16(kStart), "wide-encoding:1"},
        {"QtvUnInst.log", std::string("\xFE\xFF\0", 3) + Utf16(kStart), "wide-encoding:1"},
        {"QtvUnInst.log", '\0' + Utf16(kStart), "wide-encoding:1"},
        {"QtvUnInst.log", kStart + "File Del: a" + std::string("\0x\nFile Del: b\0\0", 16), "nul-byte:4,5"},
        {"QtvUnInst.log", "Make Dir: s\nFile Copy: QtvApp8.exe > x\n" + kStart,
         "folder-before-parent:1 two-name-folder:2"},
        {"QtvUnInst.log", "File Copy ind: QtvUnInst.exe\nFile Copy prt: QtvApp8.exe\nFile Copy: HomePage.url",
         "application-not-installed(QtvUnInst.log) uninstaller-not-installed(QtvUnInst.log) "
         "help-not-installed(QtvUnInst.log) unnamed-file(QtvApp8Man.chm)"},
        {"QtvApp8Man.chm", {}, "no-match:2"},
        {"QtvUnInst.log", {}, "no-manifest(QtvUnInst.log)", 2},
        {"setup.exe", {}, "setup-missing()"},
        {"QtvApp8.exe", {}, "application-not-installed(QtvUnInst.log) application-missing(QtvApp8.exe)"},
        {"QtvApp8.exe", "no program", "application-version(QtvApp8.exe)"},
        {"agreement.txt", {}, "agreement-empty(agreement.txt)"},
        {"agreement.txt", Utf16("A"), "", 0},
        {"agreement.txt", "An agreement", "agreement-encoding(agreement.txt)"},
        {"agreement.txt", '\0' + Utf16("Agreement"), "agreement-encoding(agreement.txt)"},
        {"agreement.txt", "\xFF\xFE" + Utf16("Agree?\n") + "x",
         "agreement-mark(agreement.txt) agreement-odd-length(agreement.txt) "
         "agreement-line-ends(agreement.txt)"},
        {"HomePage.url",
         "URL=https://h/?a\nURL=http://h/\nUpdate=http://h/2b\nupdate=http://h/de\nnothing\nURL=http://h/?" +
             std::string(260, 'x') + "\n" + kPage,
         "home-page-idle:1,2,3,4,5,6,6"},
        {"HomePage.url", kPage + "Update=http://h/de\r\n" + kPage, "home-page-wiped:2,4"},
        {"HomePage.url", kPage + kPage + kPage, "home-page-wiped:2,5"},
        {"HomePage.url", kPage + "Update=http://URL/de\r\n", "", 0},
    };
    EXPECT_EQ(Check(), "");
    for (const auto& row : rows) {
        SCOPED_TRACE(row.expected);
        const std::string kept = FileBytes(kPackage + TEXT("\\") + Wide(row.file)).value();
        DeleteTree(kPackage + TEXT("\\") + Wide(row.file));
        if (row.bytes) Write(row.file, *row.bytes);
        EXPECT_EQ(Check(), row.expected);
        EXPECT_EQ(ExitCode(), row.exitCode);
        Write(row.file, kept);
    }
}

TEST_F(PackageCheckTest, SamplesAreClean) {
    for (const std::string sample : {"package", "package-earlier"}) {
        const Text folder = kScratch + TEXT("\\") + Wide(sample);
        ImportFile(sample, folder);
        EXPECT_EQ(Check(folder), "") << sample;
    }
}

TEST_F(PackageCheckTest, ReportsWhatCantBeReadOrWritten) {
    const Text manifest = kPackage + TEXT("\\QtvUnInst.log");
    ASSERT_TRUE(SetFileAttributesW(manifest.c_str(), FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(Check(), "manifest-read-only(QtvUnInst.log)");
    ASSERT_TRUE(SetFileAttributesW(manifest.c_str(), FILE_ATTRIBUTE_NORMAL));
    for (const Text& folder : {kScratch + TEXT("\\none"), kPackage + TEXT("\\setup.exe"), Text()})
        EXPECT_EQ(Check(folder) + std::to_string(ExitCode()), "no-package()2");
    for (const std::string file : {"QtvUnInst.log", "agreement.txt"}) {
        const HANDLE held = CreateFileW((kPackage + TEXT("\\") + Wide(file)).c_str(), GENERIC_READ, 0,
                                        nullptr, OPEN_EXISTING, 0, nullptr);
        ASSERT_NE(held, INVALID_HANDLE_VALUE);
        EXPECT_EQ(Check(), "unreadable(" + file + ")");
        EXPECT_EQ(ExitCode(), 2);
        CloseHandle(held);
    }
}

}  // namespace
