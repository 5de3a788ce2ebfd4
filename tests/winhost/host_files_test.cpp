// Files of the embedded machine, where the host itself would behave differently or no other target shows the case.
#include <fstream>

#include "files/files.h"
#include "machine/file_calls.h"
#include "shell/link_format.h"
#include <winhost.h>
#include "winhost/neighbour.h"

using namespace std::string_literals;

namespace {

class HostFiles : public ScratchTest {};

TEST_F(HostFiles, AreSharedAsBothProcessesAllow) {
    constexpr DWORD kAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    MakeFile(TEXT("C:\\Scratch\\a"));
    const struct {
        DWORD held, heldShare, asked, askedShare;
        bool isAllowed;
    } rows[] = {
        {GENERIC_READ, FILE_SHARE_READ, GENERIC_READ, FILE_SHARE_READ, true},
        {GENERIC_READ, FILE_SHARE_READ, GENERIC_READ, 0, false},
        {GENERIC_WRITE, kAll, GENERIC_READ, FILE_SHARE_READ, false},
        {GENERIC_WRITE, kAll, GENERIC_READ | GENERIC_WRITE, kAll, true},
        {GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, DELETE, kAll, false},
        {DELETE, kAll, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, false},
        {GENERIC_READ, 0, 0, 0, true},
    };
    for (const auto& row : rows) {
        const Neighbour neighbour([&] {
            return CreateFileW(TEXT("a"), row.held, row.heldShare, nullptr, OPEN_EXISTING, 0, nullptr) !=
                   INVALID_HANDLE_VALUE;
        });
        EXPECT_EQ(Open("A", row.asked, OPEN_EXISTING, row.askedShare),
                  row.isAllowed ? "ok" : "ERROR_SHARING_VIOLATION")
            << row.held << " " << row.heldShare << " " << row.asked << " " << row.askedShare;
    }
    EXPECT_EQ(Open("a", GENERIC_READ | GENERIC_WRITE, OPEN_EXISTING, 0), "ok")
        << "a claim ends with its process";
}

TEST_F(HostFiles, AreKeptWhileAnotherProcessUsesThem) {
    MakeFiles({"top\\deep\\image"});
    MakeFolder(TEXT("C:\\Scratch\\top\\current"));
    {
        const Neighbour neighbour([] { return SetCurrentDirectoryW(TEXT("top\\current")); });
        ExpectAnswers({{"remove a current folder", Remove("top\\current"), "ERROR_SHARING_VIOLATION"},
                       {"move a current folder", Move("top\\current", "x"), "ERROR_SHARING_VIOLATION"},
                       {"move the folder of a current folder", Move("top", "x"), "ERROR_ACCESS_DENIED"}});
    }
    const std::string image = winhost::HostPath(u"top\\deep\\image").native();
    const Neighbour neighbour([&] { return winhost::OpenFile::OpenImage(image).release() != nullptr; });
    ExpectAnswers({
        {"remove it afterwards", Remove("top\\current"), "ok"},
        {"delete a running program", Delete("top\\deep\\image"), "ERROR_ACCESS_DENIED"},
        {"open it for writing", Open("top\\deep\\image", GENERIC_WRITE, OPEN_EXISTING, 7),
         "ERROR_SHARING_VIOLATION"},
        {"open it for reading", Open("top\\deep\\image"), "ok"},
        {"move it", Move("top\\deep\\image", "top\\aside"), "ok"},
        {"delete it elsewhere", Delete("top\\aside"), "ERROR_ACCESS_DENIED"},
        {"move its folder", Move("top", "bottom"), "ok"},
    });
}

TEST_F(HostFiles, PathsFollowWindowsRules) {
    MakeFiles({"dir\\File"});
    const std::string longest = "C:\\Scratch\\" + std::string(247 - kScratch.size() - 1, 'x');
    ExpectAnswers({
        {"above the root", Attributes("C:\\..\\..\\..\\Scratch\\dir\\file"), "ok"},
        {"out of a missing folder", Attributes("nowhere\\..\\dir\\file"), "ok"},
        {"a file as a folder", Attributes("dir\\file\\"), "ERROR_INVALID_NAME"},
        {"below a file", Attributes("dir\\file\\below"), "ERROR_PATH_NOT_FOUND"},
        {"a colon in a name", Attributes("dir\\a:b"), "ERROR_INVALID_NAME"},
        {"a share", Attributes("\\\\server\\share\\file"), "53"},
        {"a search there", Found("\\\\server\\share\\*"), "53"},
        {"no name", Attributes(""), "ERROR_PATH_NOT_FOUND"},
        {"the longest folder", MakeDirectory(longest), "ok"},
        {"a longer folder", MakeDirectory(longest + "x"), "ERROR_FILENAME_EXCED_RANGE"},
        {"another case", Move("dir", "DIR"), "ok"},
        {"its spelling", Narrow(Tree()[0]), "DIR\\"},
        {"a folder into itself", Move("dir", "dir\\inside"), "ERROR_SHARING_VIOLATION"},
        {"a folder to another drive", Move("dir", "D:\\dir"), "ERROR_ACCESS_DENIED"},
        {"without a copy", Move("dir", "D:\\dir", 0), "ERROR_NOT_SAME_DEVICE"},
        {"a file to another drive", Move("dir\\file", "D:\\moved"), "ok"},
        {"the moved file", Delete("D:\\moved"), "ok"},
        {"the file where it was", Attributes("dir\\file"), "ERROR_FILE_NOT_FOUND"},
    });
    for (const char* literal : {"\\\\?\\C:\\Scratch\\a/b", "\\\\?\\C:/Scratch"})
        EXPECT_DEATH((void)Attributes(literal), "not modelled: a path of the system's own objects");
    ULARGE_INTEGER free;
    EXPECT_DEATH((void)GetDiskFreeSpaceExW(TEXT("gone"), &free, nullptr, nullptr),
                 "not modelled: a folder that is");
}

// The 8.3 names of the folder's entries, with blanks between, in the order of the long names.
std::string ShortNames(const std::string& folder) {
    std::vector<Text> names;
    for (const WIN32_FIND_DATAW& each : Search(Wide(folder) + TEXT("\\*")))
        if (each.cAlternateFileName[0]) names.push_back(each.cAlternateFileName);
    return Listed(names);
}

TEST_F(HostFiles, ShortNamesAreFixedWhenAnEntryIsMadeOrNamed) {
    MakeFiles({"long1\\LONGNA~2.TXT"});
    for (const std::string name : {"longname.5.txt", "longname.4.txt", "longname.3.txt"})
        EXPECT_EQ(Copy("long1\\longna~2.txt", "long1\\" + name), "ok");
    EXPECT_EQ(ShortNames("long1"), "LONGNA~4.TXT LONGNA~3.TXT LONGNA~1.TXT");
    EXPECT_EQ(Delete("long1\\longname.5.txt"), "ok");
    EXPECT_EQ(Move("long1\\longname.3.txt", "long1\\longname.6.txt"), "ok");
    EXPECT_EQ(ShortNames("long1"), "LONGNA~3.TXT LONGNA~1.TXT");
    EXPECT_EQ(MakeDirectory("long number 2"), "ok");
    for (const std::string name : {"longname.4.txt", "longname.6.txt"})
        EXPECT_EQ(Move("long1\\" + name, "LONGNU~1\\" + name), "ok");
    EXPECT_EQ(ShortNames("long number 2"), "LONGNA~1.TXT LONGNA~2.TXT") << "anew in another folder";
    // The host renames one entry and adds another.
    const auto folder = winhost::HostPath(u"long number 2");
    std::filesystem::rename(folder / "longname.4.txt", folder / "renamed by host.txt");
    std::ofstream(folder / "longname.7.txt").put('x');
    EXPECT_EQ(ShortNames("long number 2"), "LONGNA~2.TXT LONGNA~1.TXT RENAME~1.TXT");
    // This process knows the folder. Then another process adds an entry, and the host one whose name is a short name.
    EXPECT_EQ(Copy("long number 2\\longname.6.txt", "long number 2\\new name 1.txt"), "ok");
    {
        const Neighbour other([] { return MakeDirectory("long number 2\\new name 2.txt") == "ok"; });
    }
    EXPECT_EQ(MakeDirectory("long number 2\\new name 3.txt"), "ok");
    std::ofstream(folder / "newnam~4.txt").put('x');
    EXPECT_EQ(MakeDirectory("long number 2\\new name 4.txt"), "ok");
    EXPECT_EQ(ShortNames("long number 2"),
              "LONGNA~2.TXT LONGNA~1.TXT NEWNAM~1.TXT NEWNAM~2.TXT NEWNAM~3.TXT NEAE90~1.TXT RENAME~1.TXT");
    winhost::CopyStored(folder / "longname.6.txt", folder.parent_path() / "longname.6.txt");
    EXPECT_EQ(Attributes("longna~2.txt"), "ok") << "a machine's copy has the same";
    winhost::SetHasShortNames(false);
    EXPECT_EQ(Attributes("longna~2.txt"), "ERROR_FILE_NOT_FOUND");
    EXPECT_EQ(ShortNames("long number 2"), "");
    winhost::SetHasShortNames(true);
}

// A process remembers the names in a large folder. Whatever others change there, it answers as if it had just looked.
TEST_F(HostFiles, LargeFoldersShowChangesOfOthers) {
    for (int i = 0; i < 100; ++i)
        MakeFile(TEXT("C:\\Scratch\\large\\Long name ") + Wide(std::to_string(i)));
    const auto folder = winhost::HostPath(u"large");
    EXPECT_EQ(Attributes("large\\LONG NAME 7"), "ok");
    EXPECT_EQ(Attributes("large\\NEW"), "ERROR_FILE_NOT_FOUND");
    std::ofstream(folder / "New").put('x');
    std::filesystem::rename(folder / "Long name 7", folder / "Moved");
    std::filesystem::remove(folder / "Long name 8");
    {
        const Neighbour other(
            [] { return MakeDirectory("large\\Long name 100") == "ok" && Attributes("large\\NEW") == "ok"; });
    }
    std::ofstream(folder / "Of the host").put('x');
    ExpectAnswers({{"made by the host", Attributes("large\\NEW"), "ok"},
                   {"its new name", Attributes("large\\MOVED"), "ok"},
                   {"its former one", Attributes("large\\LONG NAME 7"), "ERROR_FILE_NOT_FOUND"},
                   {"removed", Attributes("large\\LONG NAME 8"), "ERROR_FILE_NOT_FOUND"},
                   {"made by another process", Attributes("large\\LONG NAME 100"), "ok"},
                   {"a short name", Attributes("large\\longna~1"), "ok"},
                   {"that of the host's entry", Attributes("large\\oftheh~1"), "ok"}});
    std::filesystem::remove(folder / "Long name 0");
    EXPECT_EQ(MakeDirectory("large\\Long name 101"), "ok");
    EXPECT_EQ(Attributes("large\\longna~1"), "ok") << "a short name that is free again";
    std::filesystem::rename(folder, folder.parent_path() / "aside");
    std::filesystem::create_directory(folder);
    EXPECT_EQ(Attributes("large\\NEW"), "ERROR_FILE_NOT_FOUND") << "another folder of that name";
    EXPECT_EQ(Attributes("aside\\NEW"), "ok");
    EXPECT_EQ(Attributes("aside\\LONGNA~2"), "ok");
}

TEST_F(HostFiles, ProfileFilesKeepTheirEncodingAndOtherSections) {
    const std::string wide("\xFF\xFE[\0a\0]\0\r\0\n\0", 12);
    const struct {
        std::string before;
        LPCWSTR entries;
        std::string after;
    } rows[] = {
        {"", TEXT("k=\u20AC\0v=2\0"), "[a]\r\nk=\x80\r\nv=2\r\n"},
        {"[A]\r\nold=1\r\n; remark\r\n\r\n[b]\nx= 1\n", TEXT("k=1\0"), "[a]\r\nk=1\r\n\r\n[b]\r\nx= 1\r\n"},
        {"[x]\r\n[a]\r\nold=1\r\n[b]\r\n", TEXT("\0"), "[x]\r\n[a]\r\n[b]\r\n"},
        {"[x]\r\n[a]\r\nold=1\r\n\r\n[b]\r\n", nullptr, "[x]\r\n[b]\r\n"},
        {wide, TEXT("\u0151=\0"), wide + std::string("\x51\x01=\0\r\0\n\0", 8)},
    };
    for (const auto& row : rows) {
        MakeFile(TEXT("C:\\Windows\\test.ini"), row.before);
        EXPECT_TRUE(WritePrivateProfileSectionW(TEXT("a"), row.entries, TEXT("test.ini")));
        EXPECT_EQ(FileBytes(TEXT("C:\\Windows\\test.ini")), row.after);
    }
    MakeFile(TEXT("C:\\Windows\\test.ini"), "[x]\r\n[A]\r\n  k = 1  \r\n\r\n; remark\r\nlong=2\r\n[b]\r\n");
    WCHAR buffer[20];
    EXPECT_EQ(GetPrivateProfileSectionW(TEXT("a"), buffer, 20, TEXT("TEST.INI")), 11u);
    EXPECT_EQ(Text(buffer, 12), Text(TEXT("k=1\0long=2\0\0"), 12));
    EXPECT_EQ(GetPrivateProfileSectionW(TEXT("a"), buffer, 8, TEXT("TEST.INI")), 6u) << "cut off";
    EXPECT_EQ(Text(buffer, 8), Text(TEXT("k=1\0lo\0\0"), 8));
    EXPECT_TRUE(DeleteFileW(TEXT("C:\\Windows\\test.ini")));
}

// Returns the errno of a failed _wfopen, and 0 if the file was opened.
int ErrnoOfOpen(LPCWSTR path, LPCWSTR mode) {
    FILE* const file = _wfopen(path, mode);
    return file ? std::fclose(file) : errno;
}

TEST_F(HostFiles, RuntimeRefusesWrongParameters) {
    MakeFiles({"a"});
    for (const LPCWSTR mode : {LPCWSTR{}, TEXT(""), TEXT(" "), TEXT("q"), TEXT("wq"), TEXT("\u0177")})
        EXPECT_EQ(ErrnoOfOpen(TEXT("a"), mode), EINVAL)
            << ::testing::PrintToString(Text(mode ? mode : TEXT("none")));
    EXPECT_EQ(ErrnoOfOpen(nullptr, TEXT("r")), EINVAL);
    EXPECT_EQ(ErrnoOfOpen(TEXT("a"), TEXT("rb")), 0);
    EXPECT_EQ(ErrnoOfOpen(TEXT("none"), TEXT("r")), ENOENT);
    for (const auto& [error, number] : {std::pair(ERROR_TOO_MANY_OPEN_FILES, EMFILE),
                                        {ERROR_BAD_PATHNAME, ENOENT},
                                        {ERROR_BAD_NETPATH, ENOENT}}) {
        winhost::SetFaults({{.call = "_wfopen", .error = static_cast<DWORD>(error)}});
        EXPECT_EQ(ErrnoOfOpen(TEXT("a"), TEXT("r")), number);
        winhost::SetFaults({});
    }
    for (const int mode : {1, 8, -1})
        EXPECT_TRUE(_waccess(TEXT("a"), mode) == -1 && errno == EINVAL) << mode;
    EXPECT_EQ(_waccess(nullptr, 0), -1);
    EXPECT_EQ(FileBytes(TEXT("C:\\Scratch\\a")), "content");
    for (const LPCWSTR mode : {TEXT("r+"), TEXT(" r"), TEXT("rt"), TEXT("r, ccs=UTF-8")})
        EXPECT_DEATH((void)ErrnoOfOpen(TEXT("a"), mode), "not modelled: mode");
}

TEST_F(HostFiles, ProfilesHaveTheTextOfWindows1252OrUtf16) {
    WCHAR text[9];
    for (const std::string& bytes : {"\xFE\xFF"s, "\xEF\xBB\xBF"s, "[\0s\0]\0"s}) {
        MakeFiles({"x.ini"}, bytes);
        EXPECT_DEATH((void)GetPrivateProfileSectionW(TEXT("s"), text, 9, TEXT("C:\\Scratch\\x.ini")),
                     "not modelled: the code of a profile's text");
    }
    EXPECT_DEATH((void)WritePrivateProfileSectionW(TEXT("s"), TEXT("\u0141=1\0"), TEXT("C:\\Scratch\\y.ini")),
                 "not modelled: a character that Windows replaces");
}

TEST_F(HostFiles, FullDiskRefusesWholeCopiesAndTexts) {
    constexpr LPCWSTR kProfile = TEXT("C:\\Scratch\\marks.ini");
    MakeFiles({"source"}, std::string(1000, 's'));
    EXPECT_TRUE(WritePrivateProfileSectionW(TEXT("rename"), TEXT("NUL=a\0"), kProfile));
    const std::uint64_t used = winhost::BytesUsed();
    winhost::SetLimits({.space = used + 999});
    EXPECT_EQ(Copy("source", "copy"), "ERROR_DISK_FULL");
    EXPECT_FALSE(Exists(TEXT("copy"))) << "Windows takes it away again";
    const Text longEntry = TEXT("NUL=") + Text(1200, 'b') + Text(1, 0);
    EXPECT_FALSE(WritePrivateProfileSectionW(TEXT("rename"), longEntry.c_str(), kProfile));
    EXPECT_EQ(FileBytes(kProfile), "[rename]\r\nNUL=a\r\n") << "the old entries stay";
    const winhost::LimitsMet met = winhost::LiftLimits();
    EXPECT_EQ(met.call, "CopyFileW");
    EXPECT_EQ(met.leastRefused, used + 1000);
    winhost::SetLimits({.space = used + 1000});
    EXPECT_EQ(Copy("source", "copy"), "ok");
    EXPECT_EQ(winhost::LiftLimits().leastRefused, UINT64_MAX);
}

TEST_F(HostFiles, PowerIsCutDuringACopy) {
    MakeFiles({"source"}, std::string(1000, 's'));
    // Twelve steps: the file is made, it gets its size, and ten parts of 32 bytes are written.
    winhost::SetLimits({.steps = 12});
    EXPECT_EXIT((void)Copy("source", "copy"), ::testing::KilledBySignal(SIGKILL), "");
    EXPECT_TRUE(winhost::LiftLimits().powerCut);
    EXPECT_EQ(FileBytes(TEXT("copy")), std::string(320, 's') + std::string(680, 0));
}

TEST_F(HostFiles, RestartKeepsWhatWindowsWouldKeep) {
    constexpr DWORD kDelayed = MOVEFILE_DELAY_UNTIL_REBOOT;
    constexpr DWORD kReplacing = kDelayed | MOVEFILE_REPLACE_EXISTING;
    MakeFiles({"guarded", "new", "shown", "fresh", "current\\x"}, "new");
    MakeFiles({"hidden", "stale"}, "old");
    EXPECT_TRUE(SetFileAttributesW(TEXT("guarded"), FILE_ATTRIBUTE_READONLY));
    ExpectAnswers({{"mark a guarded file", Move("guarded", "", kDelayed), "ok"},
                   {"mark to replace it", Move("new", "guarded", kReplacing), "ok"},
                   {"mark a missing file", Move("missing", "shown", kReplacing), "ok"},
                   {"mark a file in the current folder", Move("current\\x", "", kDelayed), "ok"},
                   {"mark the current folder", Move("current", "", kDelayed), "ok"}});
    EXPECT_TRUE(SetCurrentDirectoryW(TEXT("current")));
    EXPECT_TRUE(WritePrivateProfileSectionW(
        TEXT("rename"), TEXT("C:\\Scratch\\stale=C:\\Scratch\\fresh\0NUL=C:\\Scratch\\hidden\0"),
        TEXT("WININIT.INI")));
    winhost::SetCarriesOutWininit(true);
    RestartMachine();
    winhost::SetCarriesOutWininit(false);
    EXPECT_EQ(Listed(Tree()), "guarded new shown stale");
    EXPECT_EQ(FileBytes(TEXT("C:\\Scratch\\stale")), "new");
    EXPECT_TRUE(DeleteFileW(TEXT("C:\\Windows\\wininit.bak")));
}

// Saved by Wine's shell, which keeps names outside the code page only in the list of item ids.
TEST_F(HostFiles, LinksOfAnotherShellAreRead) {
    const std::string bytes = BuildBytes(QTV_SOURCE_FOLDER "/tests/winhost/foreign.lnk");
    const auto link = winhost::ParseLink(bytes);
    ASSERT_TRUE(link);
    EXPECT_EQ(link->path, TEXT("C:\\Scratch\\\u00FC \u0416.exe"));
    EXPECT_EQ(link->description, TEXT("F\u00FC\u00DFe"));
    EXPECT_EQ(link->arguments, TEXT("-x \"y z\""));
    EXPECT_EQ(link->icon, 3);
}

}  // namespace
