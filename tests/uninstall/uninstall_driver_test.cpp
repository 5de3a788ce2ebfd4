#include "uninstall/uninstall_driver.h"

#include <shlobj.h>

#include "app/setup_state.h"
#include "harness/machine_view.h"
#include "harness/registry_values.h"
#include "resource.h"
#include "support/path_text.h"
#include "support/shell_folders.h"
#include "uninstall/relaunch.h"

namespace {

const Text kFolder = kScratch + TEXT("\\a b");
const Text kMarked = kFolder + TEXT("\\");

using Uninstall = ScratchTest;

// Only the first item is named by a log. The others are found by the product's name, for the machine and for every user.
TEST_F(Uninstall, DeletesLinksAndGroupsByTheProductsName) {
    std::vector<Text> paths = {kScratch + TEXT("\\old.lnk")};
    MakeFile(kMarked + TEXT("install.log"), "Shell Link: C:\\Scratch\\old.lnk\n");
    for (const int links :
         {CSIDL_COMMON_STARTUP, CSIDL_COMMON_DESKTOPDIRECTORY, CSIDL_STARTUP, CSIDL_DESKTOP})
        paths.push_back(GetShellFolder(links).Text() + TEXT("\\Qantivo 8.lnk"));
    for (const Text& path : paths)
        MakeFile(path);
    for (const int groups : {CSIDL_COMMON_PROGRAMS, CSIDL_PROGRAMS}) {
        paths.push_back(GetShellFolder(groups).Text() + TEXT("\\Qantivo 8"));
        MakeFile(paths.back() + TEXT("\\of the user.txt"));
    }
    const Text png = TEXT("Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\FileExts\\.png");
    PutValue(HKEY_CURRENT_USER, png + TEXT("\\UserChoice"), TEXT("Progid"), Sz(kApplicationProgId));
    PerformUninstall(kMarked.c_str());
    for (const Text& path : paths)
        EXPECT_FALSE(Exists(path)) << ::testing::PrintToString(path);
    EXPECT_FALSE(HasKey(HKEY_CURRENT_USER, png + TEXT("\\UserChoice")));
    DeleteKeyTree(HKEY_CURRENT_USER, png);
}

// A value without a usable text names no folder. It never names the root of the drive.
TEST_F(Uninstall, IgnoresOddFoldersOfAUser) {
    const Text key = Text(TEXT(".DEFAULT\\")) + kShellFoldersKey;
    const Text link = TEXT("C:\\Qantivo 8.lnk"), group = TEXT("C:\\Qantivo 8");
    const std::optional<StoredValue> odd[] = {
        {}, Sz(TEXT("")), Number(0), Sz(Text(600, 'x')), StoredValue{REG_BINARY, std::string(1024, 'A')}};
    for (const auto& value : odd) {
        MakeFile(link);
        MakeFolder(group);
        MakeFile(kScratch + TEXT("\\Qantivo 8.lnk"));
        DeleteKeyTree(HKEY_USERS, key);
        // The type of a text doesn't matter.
        PutValue(HKEY_USERS, key, TEXT("Desktop"), Sz(kScratch, REG_BINARY));
        for (const LPCWSTR name : {TEXT("Startup"), TEXT("Programs")})
            if (value) PutValue(HKEY_USERS, key, name, *value);
        PerformUninstall(kMarked.c_str());
        EXPECT_TRUE(Exists(link) && Exists(group)) << &value - odd;
        EXPECT_TRUE(Tree().empty()) << &value - odd;
    }
    DeleteTree(link);
    DeleteTree(group);
    DeleteKeyTree(HKEY_USERS, key);
}

// Which folders are marked for the next start: the x64 folder even if it is missing, and the installation folder
// only if the x32 folder is there.
TEST_F(Uninstall, MarksFoldersThatStay) {
    const Mark x64 = {kMarked + TEXT("x64"), {}}, x32 = {kMarked + TEXT("x32"), {}}, whole = {kMarked, {}};
    const std::pair<std::string, std::vector<Mark>> rows[] = {
        {"", {x64}}, {"x64\\", {}}, {"x64\\file:1", {x64}}, {"x32\\file:1", {x64, x32, whole}}};
    for (const auto& [items, marks] : rows) {
        Make(items, kFolder);
        // As after a double click, the current folder is the one to be removed.
        EXPECT_TRUE(SetCurrentDirectoryW(kFolder.c_str()));
        PerformUninstall(kMarked.c_str());
        EXPECT_EQ(BootMarks(), marks);
        EXPECT_EQ(Exists(kFolder), items.ends_with(":1"));
        DeleteTree(kFolder);
        ForgetMarks();
    }
}

TEST_F(Uninstall, RemovesTheFolderAboveForANameOfSeveralLevels) {
    for (const std::string items : {"x\\file:1", ""}) {
        Make(items, kFolder);
        RemoveParentFolder((kMarked + TEXT("c\\\\")).c_str(), TEXT("c"));
        EXPECT_TRUE(Exists(kFolder) && BootMarks().empty());
        RemoveParentFolder((kMarked + TEXT("c\\\\")).c_str(), TEXT("a b\\c"));
        EXPECT_EQ(Exists(kFolder), !items.empty());
        EXPECT_EQ(BootMarks(), std::vector<Mark>(items.empty() ? 0 : 1, {kFolder, {}}));
        DeleteTree(kFolder);
        ForgetMarks();
    }
}

// Its own folder is also the temporary folder. With an argument the uninstall isn't silent.
CHILD_PROGRAM(Relaunches) {
    if (__argc > 2) {
        MakeFile(kScratch + TEXT("\\line"), Narrow(GetCommandLineW()));
        return 0;
    }
    g_silentMode = __argc == 1 ? 2 : 0;
    (void)SetEnvironmentVariableW(TEXT("TMP"), ParentDir(__wargv[0]));
    RelaunchFromTemp();
    return 1;
}

TEST_F(Uninstall, CopyGetsFullPaths) {
    for (const std::string folder : {"C:\\Scratch\\t m p\\", "C:\\Scratch\\tmp\\"}) {
        const bool silent = folder.ends_with("tmp\\");
        const std::string first = folder + "QtvUnInst.exe", quote = silent ? "" : "\"";
        (void)RunChild("Relaunches", Wide(first), silent ? TEXT("") : TEXT("-v"));
        const std::string line = FileBytes(kScratch + TEXT("\\line")).value_or("");
        EXPECT_TRUE(line.starts_with(quote + folder + "uni")) << line;
        EXPECT_TRUE(
            line.ends_with(".tmp" + quote + " -delself " + quote + first + quote + (silent ? " -s" : "")))
            << line;
    }
}

// A fourth argument stands for `-sconf`.
CHILD_PROGRAM(TemporaryCopy) {
    g_silentMode = __argc > 3 ? 2 : 0;
    RunTemporaryCopy();
}

// The copy, started by hand, works on the folder that it is given. For a name without a folder it works on the current
// folder. It says that it is done unless it is silent.
TEST_F(Uninstall, CopyStartedByHand) {
    const struct {
        Text firstProgram;
        LPCWSTR more;
        bool fits, told;
    } rows[] = {
        {kScratch + TEXT("\\") + Text(260, 'x') + TEXT("\\QtvUnInst.exe"), TEXT(""), false, false},
        // The folder is a little longer than the runtime's buffer, which then stays empty. That doesn't mean the current folder.
        {TEXT("C:\\") + Text(252, 'x') + TEXT("\\f"), TEXT(""), false, false},
        {TEXT("C:/") + Text(253, 'x') + TEXT("/f"), TEXT(""), false, false},
        {kScratch + TEXT("\\") + Text(249, 'x'), TEXT(""), false, false},
        {TEXT("foo"), TEXT(""), true, true},
        {TEXT("foo"), TEXT(" -sconf"), true, false},
    };
    for (const auto& row : rows) {
        for (const LPCWSTR file : {TEXT("\\foo"), TEXT("\\QtvUnInst.log"), TEXT("\\a b\\QtvUnInst.log")})
            MakeFile(kScratch + file);
        const BoxAnswers boxes(row.told ? std::vector<int>{IDOK} : std::vector<int>{});
        EXPECT_EQ(RunChild("TemporaryCopy", kScratch + TEXT("\\copy.exe"),
                           TEXT("-delself \"") + row.firstProgram + TEXT("\"") + row.more),
                  0u);
        for (const ShownBox& box : boxes.Shown())
            EXPECT_TRUE(box.text == LoadResString(IDS_UNINSTALLED).Text() && box.HasStyle(MB_OK));
        EXPECT_EQ(Tree().size(), row.fits ? 3u : 5u);
        EXPECT_TRUE(Exists(kMarked + TEXT("QtvUnInst.log")));
        // The copy marks itself for the next start, whatever folder it was told.
        EXPECT_EQ(BootMarks().at(0).first, kScratch + TEXT("\\copy.exe"));
        ForgetMarks();
    }
}

}  // namespace
