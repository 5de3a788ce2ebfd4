#include "end_to_end/run.h"

namespace {

const std::string kDefault = "C:\\Program Files\\Qantivo 8", kOwn = "C:\\Scratch\\Qantivo";

// The earlier version had a nested group, a start with the system, and another log, which names itself.
void LeaveOlderVersion(const Text& folder) {
    MakeFile(folder + TEXT("\\old.dll"));
    MakeFile(folder + TEXT("\\install.log"), "Shell Link: " + Narrow(Where("<Programs>")) +
                                                 "\\Qantivo Imaging\\Tools\\Qantivo.lnk\n"
                                                 "File Copy: old.dll\nFile Copy: install.log\n");
    MakeFile(Where("<Startup>\\Qantivo 8.lnk"));
}

std::shared_ptr<void> TakeItUpAndAddAFile(const Text& folder) {
    EXPECT_TRUE(Exists(Where("<Programs>\\Qantivo Imaging\\Tools\\Qantivo 8.lnk")));
    EXPECT_FALSE(Exists(Where("<Programs>\\Qantivo 8")));
    EXPECT_NE(FileBytes(Where("<Startup>\\Qantivo 8.lnk")).value_or("content"), "content");
    EXPECT_TRUE(CopyFileW((kScratch + TEXT("\\package\\readme-en.txt")).c_str(),
                          (folder + TEXT("\\my notes.txt")).c_str(), TRUE));
    return nullptr;
}

std::shared_ptr<void> RunCopyAndHoldReadme(const Text& folder) {
    return std::make_shared<std::pair<RunningProgram, HeldFile>>(
        StartCopy(folder), HeldFile(folder + TEXT("\\readme.txt"), Hold::NoDelete));
}

class Uninstalled : public EndToEndTest {
  protected:
    Uninstalled() {
        if (!IsBeforeRestart(1)) return;
        for (const LPCWSTR name : {TEXT("\\dl\\QtvApp8.ini"), TEXT("\\dl\\QtvApp8.reg")})
            MakeFile(kScratch + name, "settings");
        Rebase();
    }
};

struct Way {
    LPCWSTR options;
    std::string folder;
    // What it returns lasts until the uninstall has ended.
    std::shared_ptr<void> (*meanwhile)(const Text& folder) = nullptr;
    std::string waits = {};  // a file that the next start deletes
    State stays = {};
};

void PrintTo(const Way& way, std::ostream* stream) {
    *stream << way.folder;
}

class UninstalledIn : public Uninstalled, public ::testing::WithParamInterface<Way> {};

TEST_P(UninstalledIn, LeavesNothingButItsCopyAndThenNothing) {
    const Way& way = GetParam();
    const Text folder = Where(way.folder);
    if (IsBeforeRestart(1)) {
        if (way.waits == "install.log") LeaveOlderVersion(folder);
        Setup(way.options);
        RestartMachine();
    }
    if (IsBeforeRestart(2)) {
        // The copy comes first. A pattern that matches "." and ".." marks these. The x64 folder comes next; it is marked even if it is
        // missing.
        std::vector<std::string> marks = {"delete <Temp>\\uni*.tmp", "delete " + way.folder + "\\Samples",
                                          "delete " + way.folder, "delete " + way.folder + "\\x64"};
        // The restart removed the empty folder. The install had marked it before it existed.
        if (way.folder == kOwn) marks.push_back(marks.back());
        State left = With(way.stays, {{"<Temp>\\uni*.tmp", "= QtvUnInst.exe"}});
        if (!way.waits.empty()) {
            const std::string file = way.folder + "\\" + way.waits;
            marks.insert(marks.begin() + 1, "delete " + file);
            left[way.folder + "\\"] = "folder";
            left[file] = way.waits == "readme.txt" ? "= readme-en.txt" : "the log";
        }
        auto held = way.meanwhile ? way.meanwhile(folder) : nullptr;
        Uninstall(folder);
        EXPECT_TRUE(Same(With(left, Marks(marks)), Changes()));
        held.reset();
        RestartMachine();
    }
    EXPECT_TRUE(Same(way.stays, Changes()));
}

INSTANTIATE_TEST_SUITE_P(
    Ways, UninstalledIn,
    ::testing::Values(
        // The search through Samples marks the folder, so its mark comes after that of the file.
        Way{TEXT("-s -autostart -sfxname=C:\\Scratch\\dl\\pkg.exe"), kDefault, RunCopyAndHoldReadme,
            "readme.txt"},
        Way{TEXT("-s -instdir C:\\Scratch\\Qantivo"),
            kOwn,
            TakeItUpAndAddAFile,
            "install.log",
            {{kOwn + "\\", "folder"}, {kOwn + "\\my notes.txt", "= readme-en.txt"}}},
        // What a portable install copied into the parent folder stays.
        Way{.options = TEXT("-s -instport \"C:\\Scratch\\a b\\Qantivo\""),
            .folder = "C:\\Scratch\\a b\\Qantivo",
            .stays = {{"C:\\Scratch\\a b\\", "folder"},
                      {"C:\\Scratch\\a b\\StartQV8.exe", "= StartQV8.exe"}}}));

// Marks of an uninstall stay when the product is installed again. The next start then deletes the new files.
TEST_F(Uninstalled, OldMarksDeleteNewFiles) {
    const Text folder = Wide(kDefault);
    if (IsBeforeRestart(1)) {
        Setup(TEXT("-s"));
        {
            const HeldFile held(folder + TEXT("\\readme.txt"), Hold::NoDelete);
            Uninstall(folder);
        }
        Setup(TEXT("-s"));
        RestartMachine();
    }
    const State gone = {{kDefault + "\\readme.txt", ""}, {kDefault + "\\x64\\", ""}};
    EXPECT_TRUE(Same(With(Installed({.target = kDefault, .allUsers = true}), gone), Changes()));
}

}  // namespace
