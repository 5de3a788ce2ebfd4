// How Windows reads the names of files and folders.
#include "harness/scratch.h"
#include "machine/answers.h"

namespace {

class Paths : public ScratchTest {};

std::string Attributes(const Text& path) {
    return Told(GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES);
}

std::string Open(const Text& path, DWORD access = GENERIC_READ, DWORD disposition = OPEN_EXISTING) {
    const HANDLE file = CreateFileW(path.c_str(), access, FILE_SHARE_READ, nullptr, disposition,
                                    FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    return Told(file != INVALID_HANDLE_VALUE && CloseHandle(file));
}

std::string Find(const Text& pattern) {
    WIN32_FIND_DATAW data;
    const HANDLE find = FindFirstFileW(pattern.c_str(), &data);
    return find != INVALID_HANDLE_VALUE && FindClose(find) ? Narrow(data.cFileName) : Told(false);
}

std::string Copy(const Text& source, const Text& target) {
    SetLastError(ERROR_MORE_DATA);
    return Told(CopyFileW(source.c_str(), target.c_str(), FALSE) && GetLastError() == ERROR_SUCCESS);
}

std::string Make(const Text& folder) {
    return Told(CreateDirectoryW(folder.c_str(), nullptr));
}

std::string Move(const Text& source, LPCWSTR target, DWORD flags) {
    return Told(MoveFileExW(source.c_str(), target, flags));
}

std::string CurrentAfter(const Text& folder) {
    if (!SetCurrentDirectoryW(folder.c_str())) return Told(false);
    WCHAR path[MAX_PATH] = {};
    GetCurrentDirectoryW(MAX_PATH, path);
    SetCurrentDirectoryW(kScratch.c_str());
    return Narrow(path);
}

std::string AttributesOnceWritten(LPCWSTR path) {
    SetFileAttributesW(path, FILE_ATTRIBUTE_NORMAL);
    const HANDLE file = CreateFileW(path, GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    DWORD cbWritten = 0;
    EXPECT_TRUE(WriteFile(file, "x", 1, &cbWritten, nullptr));
    CloseHandle(file);
    return std::to_string(GetFileAttributesW(path));
}

TEST_F(Paths, Full) {
    SetCurrentDirectoryW(TEXT("c:\\SCRATCH"));
    const struct {
        std::string path, full, part;
    } rows[] = {
        {"C:/test/  ....   ..   ", "C:\\test\\", ""},
        {"C:/test/.. ", "C:\\test\\", ""},
        {"C:/test.. /file", "C:\\test.. \\file", "file"},
        {"C:/test../file", "C:\\test.\\file", "file"},
        {"C:/test /./file. .", "C:\\test \\file", "file"},
        {"C:\\a\\..\\..\\b\\.\\\\c\\", "C:\\b\\c\\", ""},
        {"...", "c:\\SCRATCH\\", ""},
        {"\\a", "c:\\a", "a"},
        {"c:/test", "c:\\test", "test"},
        {"nul", "\\\\.\\nul", ""},
        {"C:lpt9 .x.y:", "\\\\.\\lpt9", ""},
        {"aux\\com0", "c:\\SCRATCH\\aux\\com0", "com0"},
        {"\\\\foo", "\\\\foo", ""},
        {"//foo/bar/../x/../y", "\\\\foo\\bar\\y", "y"},
    };
    for (const auto& row : rows) {
        WCHAR path[MAX_PATH] = {};
        LPWSTR part = nullptr;
        EXPECT_EQ(GetFullPathNameW(Wide(row.path).c_str(), MAX_PATH, path, &part), row.full.size());
        EXPECT_EQ(Narrow(path), row.full) << row.path;
        EXPECT_EQ(Narrow(part ? part : TEXT("")), row.part) << row.path;
    }
}

TEST_F(Paths, OddNames) {
    for (const LPCWSTR name : {TEXT("App\\old"), TEXT("App\\x"), TEXT("a"), TEXT("NAME.txt"), TEXT("file")})
        MakeFile(kScratch + TEXT("\\") + name);
    MakeFolder(TEXT("C:\\Scratch\\onto"));
    const HANDLE shared = CreateFileW(TEXT("App\\x"), GENERIC_READ, 7, nullptr, OPEN_EXISTING, 0, nullptr);
    const Text tooLong = kScratch + TEXT("\\") + Text(MAX_PATH - 1 - kScratch.size(), TEXT('x'));
    constexpr DWORD kReplace = MOVEFILE_REPLACE_EXISTING, kDelayed = MOVEFILE_DELAY_UNTIL_REBOOT;
    const struct {
        std::string fact, found, windows;
    } rows[] = {
        // Inside a path, only one dot is cut from the blanks and dots at the end of a name.
        {"copy into 'App '", Copy(TEXT("a"), TEXT("App \\b")), "e3"},
        {"copy into 'App..'", Copy(TEXT("a"), TEXT("App..\\b")), "e3"},
        {"copy into 'App.'", Copy(TEXT("a"), TEXT("App.\\b")), "ok"},
        {"attributes in '...'", Attributes(TEXT("App\\...\\a")), "e123"},
        {"folder 'App .'", Make(TEXT("App .")), "e183"},
        {"folder 'New..\\'", Make(TEXT("New..\\")), "ok"},
        {"current folder 'App '", CurrentAfter(TEXT("App \\")), "e2"},
        {"current folder", CurrentAfter(TEXT("c:aPP\\")), "C:\\Scratch\\aPP"},
        // Every existing folder contains the devices.
        {"attributes of NUL", Attributes(TEXT("App\\NUL")), "ok"},
        {"attributes of aux.x", Attributes(TEXT("none\\aux.x")), "e3"},
        {"open NUL", Open(TEXT("App\\NUL")), "ok"},
        {"open NUL.x", Open(TEXT("NUL.x"), GENERIC_WRITE, CREATE_ALWAYS), "ok"},
        {"copy to nul", Copy(TEXT("a"), TEXT("App\\nul")), "ok"},
        {"delete NUL", Told(DeleteFileW(TEXT("App\\NUL"))), "e87"},
        {"remove NUL", Told(RemoveDirectoryW(TEXT("App\\NUL"))), "e267"},
        {"folder aux", Make(TEXT("App\\aux")), "e267"},
        {"current folder NUL", CurrentAfter(TEXT("NUL")), "e267"},
        {"find nul", Find(TEXT("App\\nul.x")), "nul"},
        {"find nul nowhere", Find(TEXT("none\\nul")), "e3"},
        // A file where a folder is expected, and the other way round.
        {"search in a file", Find(TEXT("a\\*")), "e267"},
        {"find 'none\\'", Find(TEXT("none\\")), "e3"},
        {"find 'App\\'", Find(TEXT("App\\")), "e2"},
        {"find 'a\\'", Find(TEXT("a\\")), "e267"},
        {"open 'none\\'", Open(TEXT("none\\")), "e2"},
        {"make 'none\\'", Open(TEXT("none\\"), GENERIC_WRITE, OPEN_ALWAYS), "e123"},
        {"open or make App", Open(TEXT("App"), GENERIC_READ, OPEN_ALWAYS), "ok"},
        // Which target may be replaced by what.
        {"replace a shared file", Move(TEXT("a"), TEXT("App\\x"), kReplace), "e5"},
        {"folder onto a file", Move(TEXT("onto"), TEXT("file"), kReplace), "ok"},
        {"replace by another case", Move(TEXT("App\\old"), TEXT("name.TXT"), kReplace), "ok"},
        {"copy onto a file", Copy(TEXT("a"), TEXT("App\\b")), "ok"},
        {"write", AttributesOnceWritten(TEXT("a")), std::to_string(FILE_ATTRIBUTE_ARCHIVE)},
        {"mark a long path", Move(tooLong, nullptr, kDelayed), "e3"},
        {"mark for a long path", Move(TEXT("a"), tooLong.c_str(), kDelayed), "e3"},
        {"mark a share", Move(TEXT("\\\\server\\share\\a"), nullptr, kDelayed), "ok"},
        {"remove 'New..\\'", Told(RemoveDirectoryW(TEXT("New..\\"))), "ok"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.found, Expected(row.fact, row.windows)) << row.fact;
    EXPECT_EQ(BootMarks().back(), Mark(TEXT("UNC\\server\\share\\a"), TEXT("")));
    CloseHandle(shared);
    std::string names;
    for (const Text& name : Tree())
        names += Narrow(name) + " ";
    EXPECT_EQ(names, Expected("names left", "App\\ App\\b App\\x a file\\ name.TXT "));
}

}  // namespace
