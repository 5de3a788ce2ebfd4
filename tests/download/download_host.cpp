// How the program ends before setup starts: in a silent run by its exit code, otherwise also in words. Only the embedded
// machine can make a call fail.
#include "download/made_download.h"
#include "outcome.h"
#include <winhost.h>

namespace {

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

TEST_F(DownloadProgram, EachFailureHasItsCodeAndItsWords) {
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
        {"CreateDirectoryW", ERROR_DISK_FULL, Outcome::NoRoom, TEXT("too little free space")},
        {"CreateDirectoryW", ERROR_ALREADY_EXISTS, Outcome::Failed, TEXT("can't be unpacked")},
        {"WriteFile", ERROR_DISK_FULL, Outcome::NoRoom, TEXT("too little free space")},
        {"WriteFile", ERROR_INVALID_HANDLE, Outcome::Failed, TEXT("can't be unpacked")},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(std::string(row.call) + "=" + std::to_string(row.error));
        if (*row.call) winhost::SetProgramFaults("download.exe", {{.call = row.call, .error = row.error}});
        const auto expected = static_cast<DWORD>(row.outcome);
        if (!*row.call) {
            EXPECT_EQ(RunProgram(TEXT("download.exe -s")), expected);
        }
        const BoxAnswers answers({IDOK});
        EXPECT_EQ(RunProgram(TEXT("download.exe")), expected);
        const std::vector<ShownBox> shown = answers.Shown();
        EXPECT_TRUE(shown.size() == 1 && shown[0].caption == TEXT("Setup") &&
                    shown[0].text.find(row.says) != Text::npos);
        EXPECT_EQ(BootMarks(), std::vector<Mark>());
        EXPECT_EQ(Tree(TEXT("C:\\Program Files")), programs);
    }
}

}  // namespace
