#include "end_to_end/run.h"

namespace {

const std::string kDefault = "C:\\Program Files\\Qantivo 8";

Text Widen(const std::string& ascii) {
    return {ascii.begin(), ascii.end()};
}

State Marks(const std::vector<std::string>& what) {
    State state;
    for (std::size_t i = 0; i < what.size(); ++i)
        state["mark 00" + std::to_string(i + 1)] = what[i];
    return state;
}

// The marks of any uninstall: the copy first; for a pattern that matches "." and "..", those; then the x64
// folder, which is marked whether or not it is there.
std::vector<std::string> UsualMarks(const std::string& folder) {
    return {"delete <copy>", "delete " + folder + "\\Samples", "delete " + folder,
            "delete " + folder + "\\x64"};
}

class Uninstalled : public EndToEndTest {
  protected:
    Uninstalled() {
        // Setup's keys leave this parent behind; some systems have it from the start.
        HKEY key;
        EXPECT_EQ(RegCreateKeyW(HKEY_LOCAL_MACHINE, TEXT("SOFTWARE\\Classes\\Applications"), &key),
                  ERROR_SUCCESS);
        RegCloseKey(key);
        Rebase();
    }
    const Text folder = Widen(kDefault);
};

TEST_F(Uninstalled, LeavesNothingButItsCopyAndThenNothing) {
    struct Row {
        std::string options;
        std::string folder;
        bool x64Gone;  // the restart took the empty folder, which the install had marked when it wasn't there
                       // yet
        State stays;
    };
    for (const Row& row : {
             Row{"-s -autostart", kDefault, false, {}},
             Row{"-s -instdir C:\\Scratch\\Qantivo", "<Scratch>\\Qantivo", true, {}},
             // A portable install's files in the parent folder are nobody's to take.
             Row{"-s -instport \"C:\\Scratch\\a b\\Qantivo\"",
                 "<Scratch>\\a b\\Qantivo",
                 false,
                 {{"<Scratch>\\a b\\", "folder"}, {"<Scratch>\\a b\\StartQV8.exe", "= StartQV8.exe"}}},
         }) {
        SCOPED_TRACE(row.options);
        Setup(Widen(row.options));
        RestartMachine();
        Uninstall(Where(row.folder));
        std::vector<std::string> marks = UsualMarks(row.folder);
        if (row.x64Gone) marks.push_back("delete " + row.folder + "\\x64");
        EXPECT_TRUE(Same(With(With(row.stays, Marks(marks)), {{"<copy>", "= setup.exe"}}), Changes()));
        RestartMachine();
        EXPECT_TRUE(Same(row.stays, Changes()));
    }
}

// A nested group goes with its empty parents, an older log's files with those of the present one; the user's
// own file keeps the folder, and settings that came from the package stay when no record names them.
TEST_F(Uninstalled, TakesWhatTheLogsNameAndNothingElse) {
    MakeFile(kScratch + TEXT("\\dl\\QtvApp8.reg"), "settings");
    Rebase();
    Setup(TEXT("-s -sfxname=C:\\Scratch\\dl\\pkg.exe"));
    const Text programs = Where("<CommonPrograms>");
    const Text log = folder + TEXT("\\QtvUnInst.log");
    MakeFolder(programs + TEXT("\\Qantivo Imaging\\Tools"));
    AppendBytes(log, "Made Dir: " + Narrow(programs) + "\\Qantivo Imaging\\Tools\r\n");
    MakeFile(folder + TEXT("\\install.log"), "File Copy: old.dll | of version 7\nFile Copy: install.log\n");
    MakeFile(folder + TEXT("\\old.dll"));
    MakeFile(folder + TEXT("\\my picture.png"), "mine");
    Uninstall(folder);
    RestartMachine();
    EXPECT_EQ(FileBytes(folder + TEXT("\\my picture.png")), "mine");
    State changes = Changes();
    EXPECT_EQ(changes.erase(kDefault + "\\my picture.png"), 1u);
    EXPECT_TRUE(Same({{kDefault + "\\", "folder"}}, changes));
}

// A file in use and a library that is loaded are marked; the folder, which the walk over Samples has marked,
// goes too.
TEST_F(Uninstalled, MarksWhatIsInUse) {
    Setup(TEXT("-s"));
    const HMODULE loaded = LoadLibraryW((folder + TEXT("\\runtime9.dll")).c_str());
    ASSERT_TRUE(loaded);
    {
        const HeldFile held(folder + TEXT("\\readme.txt"), Hold::NoDelete);
        Uninstall(folder);
    }
    std::vector<std::string> marks = UsualMarks(kDefault);
    marks.insert(marks.begin() + 1,
                 {"delete " + kDefault + "\\readme.txt", "delete " + kDefault + "\\runtime9.dll"});
    const State left = {{"<copy>", "= setup.exe"},
                        {kDefault + "\\", "folder"},
                        {kDefault + "\\readme.txt", "= readme-en.txt"},
                        {kDefault + "\\runtime9.dll", "= runtime9.dll"}};
    State expected = With(Marks(marks), left);
    EXPECT_TRUE(Same(expected, Changes()));
    FreeLibrary(loaded);
    RestartMachine();
    EXPECT_TRUE(Same({}, Changes()));
}

// Marks outlive a new installation: what they name is taken from it at the next start.
TEST_F(Uninstalled, OldMarksTakeFromANewInstallation) {
    Setup(TEXT("-s"));
    {
        const HeldFile held(folder + TEXT("\\readme.txt"), Hold::NoDelete);
        Uninstall(folder);
    }
    Setup(TEXT("-s"));
    RestartMachine();
    State expected = Installed({.target = kDefault, .allUsers = true});
    for (const char* name : {"\\readme.txt", "\\x64\\"})
        expected.erase(kDefault + name);
    EXPECT_TRUE(Same(expected, Changes()));
}

}  // namespace
