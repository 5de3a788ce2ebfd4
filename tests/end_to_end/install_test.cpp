#include "end_to_end/run.h"
#include "support/handles.h"

namespace {

class Install : public EndToEndTest {};

TEST_F(Install, PortableWithTheParentsRecords) {
    EXPECT_EQ(Setup(TEXT("-s -instport C:\\Scratch\\Stick\\Qantivo")), 0u);
    const std::string folder = "C:\\Scratch\\Stick\\Qantivo";
    State expected = With(PortableFiles(folder), FolderMarks(folder));
    expected["C:\\Scratch\\Stick\\"] = "folder";
    EXPECT_TRUE(Same(expected, Changes()));
    EXPECT_EQ(FileBytes(kScratch + TEXT("\\Stick\\Qantivo\\QtvUnInst.log")),
              FileBytes(package + TEXT("\\QtvUnInst.log")).value_or("") + "\r\n");
}

TEST_F(Install, TakesTheSettingsBesideThePackageAndStartsTheProduct) {
    MakeFile(kScratch + TEXT("\\dl\\QtvApp8.ini"), "settings");
    MakeFile(kScratch + TEXT("\\dl\\QtvApp8.reg"), "more settings");
    Rebase();
    EXPECT_EQ(Setup(TEXT("-s -autostart -sfxname=C:\\Scratch\\dl\\pkg.exe -runafter")), 0u);
    const Plan plan = {.target = "C:\\Program Files\\Qantivo 8", .allUsers = true, .autoStart = true};
    const State expected =
        With(Installed(plan), {{"HKCU\\Software\\Lorvanta\\Qantivo 8\\ : Starts", "REG_DWORD 1"}});
    State changes = Changes();
    for (const char* name : {"QtvApp8.ini", "QtvApp8.reg"}) {
        EXPECT_EQ(changes.erase(plan.target + "\\" + name), 1u);
        EXPECT_EQ(FileBytes(Where(plan.target + "\\" + name)),
                  FileBytes(kScratch + TEXT("\\dl\\") + Text(name, name + 11)));
    }
    EXPECT_TRUE(Same(expected, changes));
    // The log is exactly the manifest, an empty line, and what was made outside the folder.
    const std::string manifest = FileBytes(package + TEXT("\\QtvUnInst.log")).value_or("");
    const std::string log = FileBytes(Where(plan.target) + TEXT("\\QtvUnInst.log")).value_or("");
    EXPECT_EQ(Neutral(log), Neutral(manifest) +
                                "\r\n"
                                "Made Dir: <CommonPrograms>\\Qantivo 8\r\n"
                                "Shell Link: <CommonPrograms>\\Qantivo 8\\Qantivo 8.lnk\r\n"
                                "Shell Link: <CommonPrograms>\\Qantivo 8\\Qantivo 8 Help.lnk\r\n"
                                "Shell Link: <CommonDesktop>\\Qantivo 8.lnk\r\n"
                                "Shell Link: <CommonStartup>\\Qantivo 8.lnk\r\n");
}

// If the package is in the target folder, files stay as they are, and the records are added to the manifest itself.
TEST_F(Install, FromInsideTheTargetFolder) {
    const std::string manifest = FileBytes(package + TEXT("\\QtvUnInst.log")).value_or("");
    EXPECT_EQ(Setup(TEXT("-s -instdir C:\\Scratch\\package")), 0u);
    State expected = Installed({.target = "C:\\Scratch\\package"});
    std::erase_if(expected, [](const auto& item) { return item.first.starts_with("C:\\Scratch\\package"); });
    expected["C:\\Scratch\\package\\readme.txt"] = "= readme-en.txt";
    expected["C:\\Scratch\\package\\QtvUnInst.log"] = "the log";
    EXPECT_TRUE(Same(With(expected, FolderMarks("C:\\Scratch\\package")), Changes()));
    EXPECT_TRUE(FileBytes(package + TEXT("\\QtvUnInst.log"))->starts_with(manifest + "\r\nMade Dir: "));
}

// Nobody is told of these. The manual of deployment warns of them.
TEST_F(Install, LosesItsRecordsAndLibrariesWhereItCantWriteOrRename) {
    const Text manifest = package + TEXT("\\QtvUnInst.log"), log = target + TEXT("\\QtvUnInst.log");
    // Without its records, the log is the manifest.
    const auto hasRecords = [&] { return FileBytes(log) > FileBytes(manifest); };
    const auto install = [&] { EXPECT_EQ(Setup(TEXT("-s -instdir C:\\Scratch\\Qantivo")), 0u); };
    if (IsBeforeRestart(1)) {
        const HeldFile library(package + TEXT("\\runtime9.dll"), Hold::NoDelete);
        install();
        EXPECT_FALSE(Exists(target + TEXT("\\runtime9.dll")));
        {
            const KernelHandle held(
                CreateFileW(log.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
            install();
        }
        EXPECT_TRUE(hasRecords()) << "those of the first run";
        RestartMachine();
    }
    EXPECT_FALSE(hasRecords());
    ASSERT_TRUE(SetFileAttributesW(manifest.c_str(), FILE_ATTRIBUTE_READONLY));
    install();
    EXPECT_TRUE(!hasRecords() || UnderWine());  // Root may write there what is read-only.
    ASSERT_TRUE(SetFileAttributesW(manifest.c_str(), FILE_ATTRIBUTE_NORMAL));
    install();
    EXPECT_TRUE(hasRecords());
}

// The registrar is named without a folder, so the search begins in the folder of the program. This behaviour is kept on
// purpose (docs/security.md). The version library is always the system's.
TEST_F(Install, RunsTheProgramNamedAsTheRegistrarBesideSetup) {
    ImportFile("package/QtvApp8.exe", package + TEXT("\\regsvr32.exe"));
    ImportFile("package/runtime9.dll", package + TEXT("\\version.dll"));
    Rebase();
    Setup(TEXT("-s"));
    const State changes = Changes();
    EXPECT_EQ(changes.count("HKCU\\Software\\Lorvanta\\Qantivo 8\\ : Starts"), 1u) << "it ran";
    for (const auto& [name, what] : changes)
        EXPECT_EQ(name.find("5E0C2B7A"), name.npos) << "the handler is not registered: " << name;
}

// A package is damaged without its manifest, without its application, or with an application whose version begins with
// 0. Nothing is changed then.
TEST_F(Install, RefusesADamagedPackage) {
    const Text application = package + TEXT("\\QtvApp8.exe"), away = kScratch + TEXT("\\away");
    for (const Text& missing : {package + TEXT("\\QtvUnInst.log"), application, Text()}) {
        if (missing.empty()) SetFileVersion(application, 0, 5, 2, 0);
        ASSERT_TRUE(missing.empty() || MoveFileW(missing.c_str(), away.c_str()));
        Rebase();
        const BoxAnswers answers({IDOK});
        EXPECT_EQ(Setup(TEXT("-s")), 1u);
        EXPECT_TRUE(Same({}, Changes()));
        EXPECT_EQ(answers.Shown().at(0).caption, TEXT("Qantivo 8"));
        EXPECT_TRUE(
            answers.Shown()[0].text.starts_with(TEXT("This setup files are damaged, installation aborted.")));
        ASSERT_TRUE(missing.empty() || MoveFileW(away.c_str(), missing.c_str()));
    }
    // The question whether to replace the same version comes before the check of the package.
    SetFileVersion(application, 8, 5, 2, 0);
    EXPECT_EQ(Setup(TEXT("-s")), 0u);
    ASSERT_TRUE(DeleteFileW((package + TEXT("\\QtvUnInst.log")).c_str()));
    const BoxAnswers answers({IDYES, IDOK});
    EXPECT_EQ(Setup({}), 1u);
    EXPECT_TRUE(answers.Shown().at(1).text.starts_with(TEXT("This setup files are damaged")));
}

// ---- over an earlier installation, which is for all users in the default folder ----

class Update : public EndToEndTest {
  protected:
    void InstallEarlier(unsigned minor) {
        const Text application = package + TEXT("\\QtvApp8.exe");
        SetFileVersion(application, 8, minor, 2, 0);
        EXPECT_EQ(Setup(TEXT("-s")), 0u);
        SetFileVersion(application, 8, 5, 2, 0);
    }
    const Text folder = TEXT("C:\\Program Files\\Qantivo 8\\");
    const Plan plan = {.target = "C:\\Program Files\\Qantivo 8", .allUsers = true};
    // The clean-up of an update leaves folders with files in them, but marks them. x64 has no files.
    const State marks = Marks({"delete C:\\Program Files\\Qantivo 8\\Samples"});
};

TEST_F(Update, ReplacesEvenANewerVersionSilently) {
    InstallEarlier(6);
    for (const LPCWSTR help : {TEXT("QtvApp8Man.hlp"), TEXT("QtvApp8Man.chm")})
        MakeFile(folder + help, "help of an earlier version");
    EXPECT_EQ(Setup(TEXT("-s")), 0u);
    EXPECT_TRUE(Same(With(Installed(plan), marks), Changes()));
}

// A file that can be moved aside is replaced at once. Any other file waits for the next start of the machine.
TEST_F(Update, SurvivesFilesInUse) {
    if (IsBeforeRestart(1)) {
        InstallEarlier(4);
        const Text help = folder + TEXT("QtvApp8Man.chm");
        MakeFile(help, "help of an earlier version");
        const HMODULE loaded = LoadLibraryW((folder + TEXT("ThumbQvi32.dll")).c_str());
        ASSERT_TRUE(loaded);
        {
            const HeldFile held(help, Hold::NoDelete);
            EXPECT_EQ(Setup(TEXT("-s")), 0u);
        }
        const std::string chm = Narrow(help), dll = plan.target + "\\ThumbQvi32.dll";
        State pending = Marks({"delete " + plan.target + "\\Samples", "delete " + chm,
                               "move " + chm + ".new to " + chm, "delete " + dll + ".old"});
        pending[chm] = "";  // still the earlier one, checked below
        pending[chm + ".new"] = "= QtvApp8Man.chm";
        pending[dll + ".old"] = "= ThumbQvi32.dll";
        State changes = Changes();
        EXPECT_EQ(changes.erase(chm), 1u);
        EXPECT_EQ(FileBytes(help), "help of an earlier version");
        EXPECT_TRUE(Same(With(Installed(plan), pending), changes));
        FreeLibrary(loaded);
        RestartMachine();
    }
    EXPECT_TRUE(Same(Installed(plan), Changes()));
}

// A second run after the first leaves the same machine with the same log.
TEST_F(Update, RunTwiceIsRunOnce) {
    if (IsBeforeRestart(1)) {
        Setup(TEXT("-s -instdir C:\\Scratch\\Qantivo"));
        RestartMachine();
    }
    const auto log = FileBytes(target + TEXT("\\QtvUnInst.log"));
    Setup(TEXT("-s"));
    EXPECT_EQ(FileBytes(target + TEXT("\\QtvUnInst.log")), log);
    // The restart removed the empty x64 folder, so it is missing and is marked again.
    EXPECT_TRUE(Same(With(Installed({}), FolderMarks(Narrow(target))), Changes()));
}

}  // namespace
