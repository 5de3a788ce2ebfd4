// The finished programs, as the kit for Windows has them beside the tests.
#include "harness/target.h"

namespace {

class Finished : public ScratchTest {
  protected:
    static Text Beside(LPCWSTR name) { return L"\"" + (OwnProgram().parent_path() / name).native() + L"\""; }
};

// For the test of the kit.
TEST_F(Finished, DISABLED_EndsTheProgram) {
    ExitProcess(9);
}

TEST_F(Finished, PackageCheckFindsTheSamplesClean) {
    for (const LPCWSTR sample : {L"package", L"package-earlier"})
        EXPECT_EQ(RunProgram(Beside(L"package_check.exe") + L" " + Beside(sample)), 0u) << Narrow(sample);
}

TEST_F(Finished, RehearsalOfTheSamplesEndsWell) {
    RequireRestarts();
    ImportFile("package", L"C:\\Package");
    ImportFile("package-earlier", L"C:\\Earlier package");
    (void)SetEnvironmentVariableW(L"QTV_REHEARSAL", L"1");
    EXPECT_EQ(RunProgram(Beside(L"rehearse.exe") + L" package text -s"), 0u);
}

// How the machine differs from before. Folders are deleted at the next start of the machine if they are empty by then, and so is the
// copy of the uninstaller.
std::string Left(const lab::State& before, const lab::State& installed) {
    std::string left;
    for (const lab::Change& change : lab::Differences(before, lab::Look())) {
        const std::string what = tools::Replaced(change.name, "mark: delete ", "");
        const bool isFolder = what != change.name && installed.contains(what + "\\");
        if (!isFolder && !what.starts_with("<Temp>\\uni")) left += change.kind + (" " + change.name) + "\n";
    }
    return left;
}

// A scanner may hold any new file for a while, which is tried often; Wine has none.
TEST_F(Finished, DownloadInstallsAgainAndAgainAndTheProductRemovesItself) {
    const Text run = Beside(L"Qantivo.exe") + L" -s";
    if (!std::filesystem::exists(OwnProgram().parent_path() / "Qantivo.exe"))
        GTEST_SKIP() << "only a kit has the download of the sample";
    const lab::State before = lab::Look();
    EXPECT_EQ(RunProgram(run), 0u);
    const lab::State installed = lab::Look();
    for (int i = UnderWine() ? 19 : 0; i < 20; ++i) {
        EXPECT_EQ(RunProgram(run), 0u);
        EXPECT_EQ(Left(installed, installed), "");
    }
    EXPECT_EQ(RunProgram(L"\"C:\\Program Files\\Qantivo 8\\QtvUnInst.exe\" -s"), 0u);
    EXPECT_EQ(Left(before, installed), "");
}

}  // namespace
