// Files of the embedded machine, where the host itself would behave differently or no other target shows the case.
#include <fstream>

#include "files/files.h"
#include "harness/scratch.h"
#include "winhost.h"
#include "winhost/neighbour.h"

namespace {

using Texts = std::vector<Text>;

class HostFiles : public ScratchTest {};

DWORD ErrorOf(BOOL done) {
    return done ? DWORD{ERROR_SUCCESS} : GetLastError();
}

DWORD OpenError(LPCWSTR path, DWORD access, DWORD share) {
    const HANDLE file = CreateFileW(path, access, share, nullptr, OPEN_EXISTING, 0, nullptr);
    return file == INVALID_HANDLE_VALUE ? GetLastError() : ErrorOf(CloseHandle(file));
}

TEST_F(HostFiles, AreSharedAcrossProcessesAsBothSidesAllow) {
    constexpr DWORD kAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    MakeFile(TEXT("C:\\Scratch\\a"));
    const struct {
        DWORD heldAccess, heldShare, access, share;
        bool allowed;
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
            return CreateFileW(TEXT("a"), row.heldAccess, row.heldShare, nullptr, OPEN_EXISTING, 0,
                               nullptr) != INVALID_HANDLE_VALUE;
        });
        EXPECT_EQ(OpenError(TEXT("A"), row.access, row.share),
                  row.allowed ? DWORD{ERROR_SUCCESS} : DWORD{ERROR_SHARING_VIOLATION})
            << row.heldAccess << " " << row.heldShare << " " << row.access << " " << row.share;
    }
    EXPECT_EQ(OpenError(TEXT("a"), GENERIC_READ | GENERIC_WRITE, 0), DWORD{ERROR_SUCCESS})
        << "a claim ends with its process";
}

TEST_F(HostFiles, StayWhereAnotherProcessNeedsThem) {
    MakeFile(TEXT("C:\\Scratch\\top\\deep\\image"));
    MakeFolder(TEXT("C:\\Scratch\\top\\current"));
    {
        const Neighbour neighbour([] { return SetCurrentDirectoryW(TEXT("top\\current")); });
        EXPECT_EQ(ErrorOf(RemoveDirectoryW(TEXT("top\\current"))), DWORD{ERROR_SHARING_VIOLATION});
        EXPECT_EQ(ErrorOf(MoveFileW(TEXT("top\\current"), TEXT("x"))), DWORD{ERROR_SHARING_VIOLATION});
        EXPECT_EQ(ErrorOf(MoveFileW(TEXT("top"), TEXT("x"))), DWORD{ERROR_ACCESS_DENIED});
    }
    EXPECT_TRUE(RemoveDirectoryW(TEXT("top\\current")));
    const std::string image = winhost::HostPath(u"top\\deep\\image").native();
    const Neighbour neighbour([&] { return winhost::OpenFile::OpenImage(image).release() != nullptr; });
    EXPECT_EQ(ErrorOf(DeleteFileW(TEXT("top\\deep\\image"))), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_EQ(OpenError(TEXT("top\\deep\\image"), GENERIC_WRITE, 7), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_EQ(OpenError(TEXT("top\\deep\\image"), GENERIC_READ, 1), DWORD{ERROR_SUCCESS});
    EXPECT_TRUE(MoveFileW(TEXT("top\\deep\\image"), TEXT("top\\aside")));
    EXPECT_EQ(ErrorOf(DeleteFileW(TEXT("top\\aside"))), DWORD{ERROR_ACCESS_DENIED});
    EXPECT_TRUE(MoveFileW(TEXT("top"), TEXT("bottom")));
}

TEST_F(HostFiles, PathsFollowWindowsRules) {
    MakeFile(TEXT("C:\\Scratch\\dir\\File"));
    const struct {
        LPCWSTR path;
        DWORD error;
    } rows[] = {
        {TEXT("C:\\..\\..\\..\\Scratch\\dir\\file"), ERROR_SUCCESS},
        {TEXT("nowhere\\..\\dir\\file"), ERROR_SUCCESS},
        {TEXT("dir\\file\\"), ERROR_INVALID_NAME},
        {TEXT("dir\\file\\below"), ERROR_PATH_NOT_FOUND},
        {TEXT("dir\\a:b"), ERROR_INVALID_NAME},
        {TEXT("\\\\server\\share\\file"), ERROR_PATH_NOT_FOUND},
        {TEXT(""), ERROR_PATH_NOT_FOUND},
    };
    for (const auto& row : rows)
        EXPECT_EQ(ErrorOf(GetFileAttributesW(row.path) != INVALID_FILE_ATTRIBUTES), row.error)
            << ::testing::PrintToString(Text(row.path));
    const Text longest = kScratch + TEXT("\\") + Text(247 - kScratch.size() - 1, TEXT('x'));
    EXPECT_TRUE(CreateDirectoryW(longest.c_str(), nullptr));
    EXPECT_EQ(ErrorOf(CreateDirectoryW((longest + TEXT("x")).c_str(), nullptr)),
              DWORD{ERROR_FILENAME_EXCED_RANGE});
    EXPECT_TRUE(MoveFileW(TEXT("dir"), TEXT("DIR")));
    EXPECT_EQ(Tree()[0], TEXT("DIR\\"));
    EXPECT_FALSE(MoveFileW(TEXT("dir"), TEXT("dir\\inside")));
    EXPECT_EQ(ErrorOf(MoveFileW(TEXT("dir"), TEXT("D:\\dir"))), DWORD{ERROR_NOT_SAME_DEVICE});
    EXPECT_TRUE(MoveFileW(TEXT("dir\\file"), TEXT("D:\\moved")));
    EXPECT_TRUE(DeleteFileW(TEXT("D:\\moved")));
    EXPECT_FALSE(Exists(TEXT("dir\\file")));
}

// The 8.3 names of the folder's entries, with blanks between, in the order of the long names.
Text ShortNames(const Text& folder) {
    Text names;
    WIN32_FIND_DATAW data;
    const HANDLE find = FindFirstFileW((folder + TEXT("\\*")).c_str(), &data);
    do
        names += data.cAlternateFileName + Text(data.cAlternateFileName[0] ? 1 : 0, ' ');
    while (FindNextFileW(find, &data));
    FindClose(find);
    return names;
}

TEST_F(HostFiles, ShortNamesAreFixedWhenAnEntryIsMadeOrNamed) {
    MakeFile(TEXT("C:\\Scratch\\long1\\LONGNA~2.TXT"));
    for (const LPCWSTR name :
         {TEXT("long1\\longname.5.txt"), TEXT("long1\\longname.4.txt"), TEXT("long1\\longname.3.txt")})
        EXPECT_TRUE(CopyFileW(TEXT("long1\\longna~2.txt"), name, FALSE));
    EXPECT_EQ(ShortNames(TEXT("long1")), TEXT("LONGNA~4.TXT LONGNA~3.TXT LONGNA~1.TXT "));
    EXPECT_TRUE(DeleteFileW(TEXT("long1\\longname.5.txt")));
    EXPECT_TRUE(MoveFileW(TEXT("long1\\longname.3.txt"), TEXT("long1\\longname.6.txt")));
    EXPECT_EQ(ShortNames(TEXT("long1")), TEXT("LONGNA~3.TXT LONGNA~1.TXT "));
    EXPECT_TRUE(CreateDirectoryW(TEXT("long number 2"), nullptr));
    for (const LPCWSTR name : {TEXT("longname.4.txt"), TEXT("longname.6.txt")})
        EXPECT_TRUE(
            MoveFileW((TEXT("long1\\") + Text(name)).c_str(), (TEXT("LONGNU~1\\") + Text(name)).c_str()));
    EXPECT_EQ(ShortNames(TEXT("long number 2")), TEXT("LONGNA~1.TXT LONGNA~2.TXT "))
        << "anew in another folder";
    // The host renames one entry and adds another.
    const auto folder = winhost::HostPath(u"long number 2");
    std::filesystem::rename(folder / "longname.4.txt", folder / "renamed by host.txt");
    std::ofstream(folder / "longname.7.txt").put('x');
    EXPECT_EQ(ShortNames(TEXT("long number 2")), TEXT("LONGNA~2.TXT LONGNA~1.TXT RENAME~1.TXT "));
    winhost::CopyStored(folder / "longname.6.txt", folder.parent_path() / "longname.6.txt");
    EXPECT_TRUE(Exists(TEXT("longna~2.txt"))) << "a machine's copy has the same";
    winhost::SetHasShortNames(false);
    EXPECT_FALSE(Exists(TEXT("longna~2.txt")));
    EXPECT_EQ(ShortNames(TEXT("long number 2")), TEXT(""));
    winhost::SetHasShortNames(true);
}

TEST_F(HostFiles, ProfileFilesKeepTheirEncodingAndOtherSections) {
    const std::string wide("\xFF\xFE[\0a\0]\0\r\0\n\0", 12);
    const struct {
        std::string before;
        LPCWSTR entries;
        std::string after;
    } rows[] = {
        {"", TEXT("k=\u20AC\u0151\0v=2\0"), "[a]\r\nk=\x80?\r\nv=2\r\n"},
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
    EXPECT_EQ(Text(buffer, 12), Text(TEXT("k=1\0long=2\0"), 12));
    EXPECT_EQ(GetPrivateProfileSectionW(TEXT("a"), buffer, 8, TEXT("TEST.INI")), 6u) << "cut off";
    EXPECT_EQ(Text(buffer, 8), Text(TEXT("k=1\0lo\0"), 8));
    EXPECT_TRUE(DeleteFileW(TEXT("C:\\Windows\\test.ini")));
}

TEST_F(HostFiles, FullDiscRefusesAWholeCopyAndAWholeText) {
    constexpr LPCWSTR kProfile = TEXT("C:\\Scratch\\marks.ini");
    MakeFile(TEXT("C:\\Scratch\\source"), std::string(1000, 's'));
    EXPECT_TRUE(WritePrivateProfileSectionW(TEXT("rename"), TEXT("NUL=a\0"), kProfile));
    const std::uint64_t used = winhost::BytesUsed();
    winhost::SetLimits({.room = used + 999});
    EXPECT_EQ(ErrorOf(CopyFileW(TEXT("source"), TEXT("copy"), FALSE)), DWORD{ERROR_DISK_FULL});
    EXPECT_FALSE(Exists(TEXT("copy"))) << "Windows takes it away again";
    const Text longEntry = TEXT("NUL=") + Text(1200, 'b') + Text(1, 0);
    EXPECT_FALSE(WritePrivateProfileSectionW(TEXT("rename"), longEntry.c_str(), kProfile));
    EXPECT_EQ(FileBytes(kProfile), "[rename]\r\nNUL=a\r\n") << "the old entries stay";
    const winhost::LimitsMet met = winhost::LiftLimits();
    EXPECT_EQ(met.call, "CopyFileW");
    EXPECT_EQ(met.leastRefused, used + 1000);
    winhost::SetLimits({.room = used + 1000});
    EXPECT_TRUE(CopyFileW(TEXT("source"), TEXT("copy"), FALSE));
    EXPECT_EQ(winhost::LiftLimits().leastRefused, UINT64_MAX);
}

TEST_F(HostFiles, PowerGoesInTheMidstOfACopy) {
    MakeFile(TEXT("C:\\Scratch\\source"), std::string(1000, 's'));
    // Twelve steps: the file is made, it gets its size, and ten parts of 32 bytes are written.
    winhost::SetLimits({.steps = 12});
    const pid_t id = fork();
    if (id == 0) _exit(CopyFileW(TEXT("source"), TEXT("copy"), FALSE));
    int status = 0;
    EXPECT_EQ(waitpid(id, &status, 0), id);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_TRUE(winhost::LiftLimits().powerWent);
    EXPECT_EQ(FileBytes(TEXT("copy")), std::string(320, 's') + std::string(680, 0));
}

TEST_F(HostFiles, RestartKeepsWhatWindowsWouldKeep) {
    constexpr DWORD kDelayed = MOVEFILE_DELAY_UNTIL_REBOOT;
    for (const LPCWSTR name :
         {TEXT("guarded"), TEXT("new"), TEXT("shown"), TEXT("fresh"), TEXT("current\\x")})
        MakeFile(kScratch + TEXT("\\") + name, "new");
    for (const LPCWSTR name : {TEXT("hidden"), TEXT("stale")})
        MakeFile(kScratch + TEXT("\\") + name, "old");
    EXPECT_TRUE(SetFileAttributesW(TEXT("guarded"), FILE_ATTRIBUTE_READONLY));
    EXPECT_TRUE(MoveFileExW(TEXT("guarded"), nullptr, kDelayed));
    EXPECT_TRUE(MoveFileExW(TEXT("new"), TEXT("guarded"), kDelayed | MOVEFILE_REPLACE_EXISTING));
    EXPECT_TRUE(MoveFileExW(TEXT("missing"), TEXT("shown"), kDelayed | MOVEFILE_REPLACE_EXISTING));
    EXPECT_TRUE(MoveFileExW(TEXT("current\\x"), nullptr, kDelayed));
    EXPECT_TRUE(MoveFileExW(TEXT("current"), nullptr, kDelayed));
    EXPECT_TRUE(SetCurrentDirectoryW(TEXT("current")));
    EXPECT_TRUE(WritePrivateProfileSectionW(
        TEXT("rename"), TEXT("C:\\Scratch\\stale=C:\\Scratch\\fresh\0NUL=C:\\Scratch\\hidden\0"),
        TEXT("WININIT.INI")));
    winhost::SetCarriesOutWininit(true);
    RestartMachine();
    winhost::SetCarriesOutWininit(false);
    EXPECT_EQ(Tree(), (Texts{TEXT("guarded"), TEXT("new"), TEXT("shown"), TEXT("stale")}));
    EXPECT_EQ(FileBytes(TEXT("C:\\Scratch\\stale")), "new");
    EXPECT_TRUE(Exists(TEXT("C:\\Windows\\wininit.bak")));
    EXPECT_TRUE(DeleteFileW(TEXT("C:\\Windows\\wininit.bak")));
}

}  // namespace
