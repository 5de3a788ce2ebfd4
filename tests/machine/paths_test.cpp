// How Windows reads the names of files and folders.
#include "machine/file_calls.h"

namespace {

class Paths : public ScratchTest {};

std::string CurrentAfter(const std::string& folder) {
    if (!SetCurrentDirectoryW(Wide(folder).c_str())) return Told(false);
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
        {"C:/test/  ....   ..   ", "C:\\test\\", ""},      {"C:/test/.. ", "C:\\test\\", ""},
        {"C:/test.. /file", "C:\\test.. \\file", "file"},  {"...", "c:\\SCRATCH\\", ""},
        {"C:/test../file", "C:\\test.\\file", "file"},     {"\\a", "c:\\a", "a"},
        {"C:/test /./file. .", "C:\\test \\file", "file"}, {"c:/test", "c:\\test", "test"},
        {"C:\\a\\..\\..\\b\\.\\\\c\\", "C:\\b\\c\\", ""},  {"nul", "\\\\.\\nul", ""},
        {"aux\\com0", "c:\\SCRATCH\\aux\\com0", "com0"},   {"C:lpt9 .x.y:", "\\\\.\\lpt9", ""},
        {"//foo/bar/../x/../y", "\\\\foo\\bar\\y", "y"},   {"\\\\foo", "\\\\foo", ""},
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
    MakeFiles({"App\\old", "App\\x", "a", "NAME.txt", "file"});
    MakeFolder(TEXT("C:\\Scratch\\onto"));
    const HANDLE shared = CreateFileW(TEXT("App\\x"), GENERIC_READ, 7, nullptr, OPEN_EXISTING, 0, nullptr);
    const std::string tooLong = "C:\\Scratch\\" + std::string(MAX_PATH - 1 - kScratch.size(), 'x');
    constexpr DWORD kReplace = MOVEFILE_REPLACE_EXISTING, kDelayed = MOVEFILE_DELAY_UNTIL_REBOOT;
    ExpectAnswers({
        // Inside a path, only one dot is cut from the blanks and dots at the end of a name.
        {"copy into 'App '", Copy("a", "App \\b"), "ERROR_PATH_NOT_FOUND"},
        {"copy into 'App..'", Copy("a", "App..\\b"), "ERROR_PATH_NOT_FOUND"},
        {"copy into 'App.'", Copy("a", "App.\\b"), "ok"},
        {"attributes in '...'", Attributes("App\\...\\a"), "ERROR_INVALID_NAME"},
        {"folder 'App .'", MakeDirectory("App ."), "ERROR_ALREADY_EXISTS"},
        {"folder 'New..\\'", MakeDirectory("New..\\"), "ok"},
        {"current folder 'App '", CurrentAfter("App \\"), "ERROR_FILE_NOT_FOUND"},
        {"current folder", CurrentAfter("c:aPP\\"), "C:\\Scratch\\aPP"},
        // Every existing folder contains the devices.
        {"attributes of NUL", Attributes("App\\NUL"), "ok"},
        {"attributes of aux.x", Attributes("none\\aux.x"), "ERROR_PATH_NOT_FOUND"},
        {"open NUL", Open("App\\NUL"), "ok"},
        {"open NUL.x", Open("NUL.x", GENERIC_WRITE, CREATE_ALWAYS), "ok"},
        {"copy to nul", Copy("a", "App\\nul"), "ok"},
        {"delete NUL", Delete("App\\NUL"), "ERROR_INVALID_PARAMETER"},
        {"remove NUL", Remove("App\\NUL"), "ERROR_DIRECTORY"},
        {"folder aux", MakeDirectory("App\\aux"), "ERROR_DIRECTORY"},
        {"current folder NUL", CurrentAfter("NUL"), "ERROR_DIRECTORY"},
        {"find nul", Found("App\\nul.x"), "nul"},
        {"find the second port", Found("App\\COM\xC2\xB2.x"), "COM\xC2\xB2"},
        {"find nul nowhere", Found("none\\nul"), "ERROR_PATH_NOT_FOUND"},
        // A file where a folder is expected, and the other way round.
        {"search in a file", Found("a\\*"), "ERROR_DIRECTORY"},
        {"find 'none\\'", Found("none\\"), "ERROR_PATH_NOT_FOUND"},
        {"find 'App\\'", Found("App\\"), "ERROR_FILE_NOT_FOUND"},
        {"find 'a\\'", Found("a\\"), "ERROR_DIRECTORY"},
        {"find in a missing folder", Found("missing\\*.*"), "ERROR_PATH_NOT_FOUND"},
        {"find nothing", Found("App\\*.exe"), "ERROR_FILE_NOT_FOUND"},
        {"open 'none\\'", Open("none\\"), "ERROR_FILE_NOT_FOUND"},
        {"make 'none\\'", Open("none\\", GENERIC_WRITE, OPEN_ALWAYS), "ERROR_INVALID_NAME"},
        {"open or make App", Open("App", GENERIC_READ, OPEN_ALWAYS), "ok"},
        // Which target may be replaced by what.
        {"replace a shared file", Move("a", "App\\x", kReplace), "ERROR_ACCESS_DENIED"},
        {"folder onto a file", Move("onto", "file", kReplace), "ok"},
        {"replace by another case", Move("App\\old", "name.TXT", kReplace), "ok"},
        {"copy onto a file", Copy("a", "App\\b"), "ok"},
        {"write", AttributesOnceWritten(TEXT("a")), std::to_string(FILE_ATTRIBUTE_ARCHIVE)},
        {"mark a long path", Move(tooLong, "", kDelayed), "ERROR_PATH_NOT_FOUND"},
        {"mark for a long path", Move("a", tooLong, kDelayed), "ERROR_PATH_NOT_FOUND"},
        {"mark a share", Move("\\\\server\\share\\a", "", kDelayed), "ok"},
        {"remove 'New..\\'", Remove("New..\\"), "ok"},
    });
    EXPECT_EQ(BootMarks().back(), Mark(TEXT("UNC\\server\\share\\a"), TEXT("")));
    CloseHandle(shared);
    ExpectAnswers({{"names left", Listed(Tree()), "App\\ App\\b App\\x a file\\ name.TXT"}});
}

}  // namespace
