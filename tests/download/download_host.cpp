// How the program ends before setup starts: in a silent run by its exit code, otherwise also in words. Only the embedded
// machine can make a call fail.
#include "download/made_download.h"
#include "harness/driver.h"
#include "harness/registry_values.h"
#include "ids.h"
#include "lab/program.h"
#include "make/output.h"
#include "outcome.h"
#include "run/product.h"
#include <winhost.h>

namespace {

// Windows starts no larger program.
TEST(DownloadOutput, IsSmallerThan4GiB) {
    download_make::Output output("/dev/null");
    const std::string part(std::size_t{1} << 28, 'x');
    for (int i = 0; i < 15; ++i)
        output.Write(part);
    output.Write(std::string_view(part).substr(1));
    EXPECT_THROW(output.Write("x"), std::runtime_error);
}

// No setup that can be started.
class DownloadProgram : public ScratchTest {
  protected:
    DownloadProgram() {
        const std::string program = QTV_BUILD_FOLDER "/download.exe";
        ImportFile(program, At("download.exe"));
        MakeFile(At("download.exe"), Download("setup.exe:none a:bytes", 7, BuildBytes(program)));
    }
    ~DownloadProgram() override { winhost::ClearProgramFaults(); }
};

TEST_F(DownloadProgram, EachFailureHasItsExitCodeAndText) {
    const std::vector<Text> programs = Tree(TEXT("C:\\Program Files"));
    const struct {
        const char* call;
        DWORD error;
        Outcome outcome;
        LPCWSTR says;
    } rows[] = {
        {"", 0, Outcome::Failed, TEXT("can't be unpacked")},
        {"RegOpenKeyExW", ERROR_ACCESS_DENIED, Outcome::NoRights, TEXT("Only an administrator")},
        {"CreateDirectoryW", ERROR_ACCESS_DENIED, Outcome::NoRights, TEXT("Only an administrator")},
        {"CreateDirectoryW", ERROR_DISK_FULL, Outcome::NoSpace, TEXT("too little free space")},
        {"CreateDirectoryW", ERROR_ALREADY_EXISTS, Outcome::Failed, TEXT("can't be unpacked")},
        {"WriteFile", ERROR_DISK_FULL, Outcome::NoSpace, TEXT("too little free space")},
        {"WriteFile", ERROR_INVALID_HANDLE, Outcome::Failed, TEXT("can't be unpacked")},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.call) + "=" + std::to_string(row.error));
        if (*row.call) winhost::SetProgramFaults("download.exe", {{.call = row.call, .error = row.error}});
        const auto expected = static_cast<DWORD>(row.outcome);
        EXPECT_EQ(RunProgram(TEXT("download.exe -s")), expected);
        const BoxAnswers answers({IDOK});
        EXPECT_EQ(RunProgram(TEXT("download.exe")), expected);
        const std::vector<ShownBox> shown = answers.Shown();
        EXPECT_TRUE(shown.size() == 1 && shown[0].caption == TEXT("Setup") &&
                    shown[0].text.find(row.says) != Text::npos);
        EXPECT_EQ(BootMarks(), std::vector<Mark>());
        EXPECT_EQ(Tree(TEXT("C:\\Program Files")), programs);
    }
}

// An update that doesn't find its installation: the page says what is missing, and a button opens the address.
TEST_F(DownloadProgram, RefusedUpdateNamesTheFileAndTheFullDownload) {
    const std::vector<Text> programs = Tree(TEXT("C:\\Program Files"));
    MakeFile(At("download.exe"),
             Download("setup.exe:none a:bytes", 7, BuildBytes(QTV_BUILD_FOLDER "/download.exe"),
                      {{"b", "old", "earlier", "", "earlier"}}));
    const struct {
        unsigned installed;  // part of the version; 0 for none
        int button;
        const char* says;
    } rows[] = {{0, IDCANCEL, "8.5.1.0, which isn't installed"},
                {2, IDCANCEL, "8.5.1.0, which isn't installed"},
                {1, IDCANCEL, "\\app\\old"},
                {1, IDOK, "\\app\\old"}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.says);
        if (row.installed != 0) {
            ImportFile("package/QtvApp8.exe", At("app\\QtvApp8.exe"));
            SetFileVersion(At("app\\QtvApp8.exe"), 8, 5, row.installed, 0);
            PutValue(HKEY_LOCAL_MACHINE, kProductKey, TEXT("Path"), Sz(At("app")));
        }
        const Text left = TEXT("C:\\Program Files\\abcdefghijklmnopqrstuvwxyz.dl");
        MakeFile(left + TEXT("\\f"));
        EXPECT_EQ(RunProgram(TEXT("download.exe -s")), static_cast<DWORD>(Outcome::OtherInstallation));
        EXPECT_FALSE(Exists(left)) << "what a killed run left stays";
        winhost::ClearEvents();
        const lab::Program program(TEXT("download.exe"));
        Driver page(program.Id(), TEXT("Setup"));
        // The page of the unpacking has the same title.
        while (!page.Control(IDC_ADDRESS))
            page = Driver(program.Id(), TEXT("Setup"));
        EXPECT_NE(Narrow(TextOf(page.Control(IDC_TEXT))).find(row.says), std::string::npos);
        EXPECT_EQ(TextOf(page.Control(IDC_ADDRESS)), TEXT("https://example.com/full.exe"));
        EXPECT_TRUE(PostMessageW(page.Window(), WM_COMMAND, static_cast<WPARAM>(row.button), 0));
        EXPECT_TRUE(program.EndsWithin(60'000));
        EXPECT_EQ(program.ExitCode(), static_cast<DWORD>(Outcome::OtherInstallation));
        EXPECT_EQ(
            std::ranges::count(winhost::Events(), "shell-execute\topen\thttps://example.com/full.exe\t5"),
            row.button == IDOK);
    }
    EXPECT_EQ(BootMarks(), std::vector<Mark>());
    EXPECT_EQ(Tree(TEXT("C:\\Program Files")), programs);
}

}  // namespace
