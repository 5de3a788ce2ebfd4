// What a rehearsal judges, in more runs than Wine has time for, what it stands on, for which only the embedded machine can make
// calls fail, and the host's throwaway folders.
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <set>

#include "common/throwaway_folder.h"
#include "rehearse/told_calls.h"
#include "tools/rehearsed.h"
#include <winhost.h>

namespace fs = std::filesystem;

namespace {

std::string FaultsOf(const rehearse::Rehearsal& rehearsal) {
    std::string text;
    for (const auto& [step, what] : rehearsal.faults)
        text += step + ": " + what + "\n";
    return text;
}

TEST_F(Rehearsed, SortsLeftoversByWhetherTheyMayStay) {
    RequireRestarts();
    const std::string uninstaller = "File Copy: QtvUnInst.exe\r\n";
    const struct {
        const char* name;
        std::string records = {};
        const char* option = "-instdir";
        std::string left;
        const char* before = "";  // a file that is there already
        const char* faults = "";
    } rows[] = {
        // The next start removes the outer folder. Then nothing removes that of the installation.
        {.name = "portable, with folders named from the outside",
         .records = uninstaller + "File Copy prt: StartQV8.exe\r\nFile Copy prt: presets.dat > n\\x\r\n"
                                  "Make Dir: a\r\nMake Dir: a\\b\r\n",
         .option = "-instport",
         .left = "Apps\\ (on the way to the installation folder)\nApps\\Qantivo\\ ()\n"
                 "Apps\\StartQV8.exe (a portable installation's, in the parent folder)\n",
         .faults = "setup: C:\\Scratch\\Apps\\n\\x isn't there\n"},
        {.name = "a file in the system's folder",
         .records = uninstaller + "File Copy prt: presets.dat > ..\\..\\Windows\\System32\\planted.dll\r\n",
         .option = "-instport",
         .left = "Apps\\ (on the way to the installation folder)\nplanted.dll ()\n",
         .faults = "setup: C:\\Scratch\\Apps\\..\\..\\Windows\\System32\\planted.dll isn't there\n"},
        {.name = "no uninstaller",
         .left = "Apps\\ ()\nApps\\Qantivo\\ ()\nApps\\Qantivo\\QtvApp8.exe ()\n"
                 "Apps\\Qantivo\\QtvUnInst.log ()\n",
         .faults = "uninstall: showed: the machine has no uninstaller of the product  ->  nothing to run\n"},
        {.name = "a file of the user's goes",
         .records = uninstaller + "File Del: ..\\u.dat\r\n",
         .left = "Apps\\u.dat ()\n",
         .before = "\\u.dat"},
        {.name = "a file in the installation's folder goes",
         .records = uninstaller + "File Del: u.dat\r\nFile Copy: presets.dat > n\\x\r\n",
         .left = "Apps\\Qantivo\\ (the installation folder is the package's own)\n"
                 "Apps\\Qantivo\\u.dat (the installation folder is the package's own)\n",
         .before = "\\Qantivo\\u.dat",
         .faults = "setup: C:\\Scratch\\Apps\\Qantivo\\n\\x isn't there\n"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        MakePackage(kRehearsed, row.records);
        if (*row.before) MakeFile(kScratch + TEXT("\\Apps") + Wide(row.before), "");
        const auto rehearsal =
            rehearse::Rehearse({"-s", row.option, "C:\\Scratch\\Apps\\Qantivo"}, [](const auto&) {});
        EXPECT_EQ(rehearsal.ExitCode(), row.left.find("()") != std::string::npos || *row.faults);
        EXPECT_EQ(FaultsOf(rehearsal), row.faults);
        EXPECT_EQ(LeftFiles(rehearsal), row.left);
        EXPECT_TRUE(
            std::ranges::is_sorted(rehearsal.left, {}, [](const auto& each) { return each.change.name; }));
        for (const Text& item : {kRehearsed, kScratch + TEXT("\\Apps"), kPlanted})
            DeleteTree(item);
    }
}

TEST(ToldCalls, NameWhatWasDoneAndToWhat) {
    const std::pair<std::string, std::string> rows[] = {
        {"MoveFileW\tsource=C:\\a\ttarget=C:\\b", "moved C:\\a to C:\\b"},
        {"MoveFileExW\tsource=a\ttarget=b\tflags=1\t= 1", "moved a to b"},
        {"MoveFileExW\tsource=a\ttarget=null\tflags=4\terror 5",
         "not kept for the next start: delete a  (error 5)"},
        {"MoveFileExW\tsource=a\ttarget=b\tflags=5\t= 1", "kept for the next start: move a to b"},
        {"DeleteFileW\tpath=a\t= 1", "deleted a"},
        {"RemoveDirectoryW\tpath=a\terror 145", "folder not deleted a  (error 145)"},
        {"WritePrivateProfileSectionW\tsection=rename\tfile=a", "kept for the next start, in a"},
        {"RegDeleteKeyW\tkey=K\tname=n", "deleted key K\\n"},
        {"RegDeleteValueW\tkey=K\tname=n\terror 5", "value not deleted K : n  (error 5)"},
        {"DeleteFileW\tpath=a\terror 2", ""},
        {"IPersistFile::Save\ttext=a.lnk\t= 0", "made shortcut a.lnk"},
        {"_wexecl\tcommandLine=a b", "started a b"},
        {"CreateProcessW\tcommandLine=a b\terror 2", "not started a b  (error 2)"},
        {"ShellExecuteW\tfile=a", "opened a"},
        {"MessageBoxW\ttext=a b", "showed message a b"},
    };
    const tools::ThrowawayFolder folder("told", QTV_BUILD_FOLDER);
    const fs::path trace = folder.Path() / "trace";
    std::string expected;
    for (std::ofstream file(trace); const auto& [call, told] : rows) {
        file << "setup.exe\t1\t" << call << "\n";
        if (!told.empty()) expected += "setup.exe\t" + told + "\n";
    }
    EXPECT_EQ(rehearse::ToldByCalls(trace), expected);
}

// A machine that can't be read is no machine without differences.
TEST_F(ScratchTest, UnreadableMachineHasNoState) {
    for (const char* call : {"FindFirstFileW", "FindNextFileW", "CreateFileW", "ReadFile", "RegOpenKeyExW",
                             "RegEnumKeyW", "RegEnumValueW", "RegQueryValueExW"}) {
        MakeFile(kScratch + TEXT("\\file"));
        EXPECT_TRUE(MoveFileExW((kScratch + TEXT("\\file")).c_str(), nullptr, MOVEFILE_DELAY_UNTIL_REBOOT));
        winhost::SetFaults({{.call = call, .nth = 2}});
        EXPECT_THROW((void)lab::Take(), std::runtime_error) << call;
        winhost::SetFaults({});
    }
}

TEST(ThrowawayFolder, RemovesOnlyWhatAnEndedRunLeft) {
    const tools::ThrowawayFolder parent("parents", QTV_BUILD_FOLDER);
    std::set<std::string> stay = {".throwaway"};
    // Folders of a user, with names more and less alike, and with or without a file of the mark's name.
    for (const auto& [name, isMarked] : {std::pair{"t.notes", false},
                                         {"t.Abc123", false},
                                         {"t.Abc1234", true},
                                         {"t.ab.123", true},
                                         {"u.Abc123", true},
                                         {"t.Link12", false}}) {
        fs::create_directory(parent.Path() / name);
        if (isMarked) std::ofstream(parent.Path() / name / ".throwaway");
        stay.insert(name);
    }
    fs::create_symlink(parent.Path() / "u.Abc123/.throwaway", parent.Path() / "t.Link12/.throwaway");
    fs::create_directory_symlink("u.Abc123", parent.Path() / "t.Link34");
    stay.insert("t.Link34");
    const pid_t child = fork();
    if (child == 0) {
        const tools::ThrowawayFolder left("t", parent.Path());
        _exit(fs::exists(left.Path()) ? 0 : 1);
    }
    int status = 0;
    (void)waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    const tools::ThrowawayFolder used("t", parent.Path()), next("t", parent.Path());
    std::set<std::string> there;
    for (const auto& entry : fs::directory_iterator(parent.Path()))
        there.insert(entry.path().filename());
    stay.insert({used.Path().filename(), next.Path().filename()});
    EXPECT_EQ(there, stay);
}

}  // namespace
