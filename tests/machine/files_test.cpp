// Plain files and folders, as the program relies on them.
#include <io.h>

#include "machine/file_calls.h"

namespace {

class PlainFiles : public ScratchTest {};

TEST_F(PlainFiles, FailWithTheErrorsOfWindows) {
    MakeFiles({"a", "full\\x"});
    MakeFiles({"b"}, "b");
    MakeFolder(TEXT("C:\\Scratch\\empty"));
    ExpectAnswers({
        {"move onto a file", Move("a", "B"), "ERROR_ALREADY_EXISTS"},
        {"move into a missing folder", Move("a", "none\\a"), "ERROR_PATH_NOT_FOUND"},
        {"copy a missing file", Copy("none", "c"), "ERROR_FILE_NOT_FOUND"},
        {"copy into a missing folder", Copy("a", "none\\a"), "ERROR_PATH_NOT_FOUND"},
        {"copy a folder", Copy("full", "c"), "ERROR_ACCESS_DENIED"},
        {"copy onto a file that must not be there", Copy("a", "b", TRUE), "ERROR_FILE_EXISTS"},
        {"delete a folder", Delete("empty"), "ERROR_ACCESS_DENIED"},
        {"make a folder where a file is", MakeDirectory("a"), "ERROR_ALREADY_EXISTS"},
        {"remove a full folder", Remove("full"), "ERROR_DIR_NOT_EMPTY"},
        {"remove the folder of all programs", Remove("C:\\Program Files"), "ERROR_DIR_NOT_EMPTY"},
        {"remove a file as a folder", Remove("a"), "ERROR_DIRECTORY"},
    });
    EXPECT_EQ(Listed(Tree()), "a b empty\\ full\\ full\\x");
    EXPECT_EQ(FileBytes(TEXT("C:\\Scratch\\b")), "b");
}

TEST_F(PlainFiles, ReadOnlyFileIsNeitherDeletedNorOverwrittenButMoved) {
    MakeFiles({"a"}, "new");
    MakeFiles({"guarded"}, "old");
    EXPECT_TRUE(SetFileAttributesW(TEXT("guarded"), FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(Delete("guarded"), "ERROR_ACCESS_DENIED");
    if (!UnderWine()) {
        EXPECT_EQ(Copy("a", "guarded"), "ERROR_ACCESS_DENIED");
        EXPECT_EQ(FileBytes(TEXT("C:\\Scratch\\guarded")), "old");
    }
    EXPECT_EQ(Move("guarded", "moved"), "ok");
    EXPECT_EQ(Copy("moved", "copy"), "ok");
    EXPECT_EQ(GetFileAttributesW(TEXT("copy")) & ~DWORD{FILE_ATTRIBUTE_ARCHIVE},
              DWORD{FILE_ATTRIBUTE_READONLY});
    EXPECT_TRUE(SetFileAttributesW(TEXT("copy"), FILE_ATTRIBUTE_NORMAL));
    EXPECT_EQ(Delete("copy"), "ok");
}

std::string MakeTemporary(UINT number) {
    WCHAR name[MAX_PATH] = {};
    GetTempFileNameW(TEXT("."), TEXT("x"), number, name);
    return Attributes(Narrow(name));
}

// The attributes that a file has then.
std::string SetAttributes(const std::string& path, DWORD attributes) {
    if (!SetFileAttributesW(Wide(path).c_str(), attributes)) return Told(false);
    return std::to_string(GetFileAttributesW(Wide(path).c_str()));
}

TEST_F(PlainFiles, AnswerAsWindowsDoes) {
    MakeFolder(TEXT("folder"));
    const HANDLE file = CreateFileW(TEXT("a"), GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, 0, nullptr);
    LARGE_INTEGER below;
    below.QuadPart = -1;
    const std::string sought = Told(SetFilePointerEx(file, below, nullptr, FILE_BEGIN));
    // Five units of 100 ns before 1970. No time changes nothing.
    constexpr FILETIME kBefore1970 = {0xD53E7FFB, 0x019DB1DE}, kNone = {};
    EXPECT_TRUE(SetFileTime(file, nullptr, nullptr, &kBefore1970));
    EXPECT_TRUE(SetFileTime(file, nullptr, nullptr, &kNone));
    CloseHandle(file);
    const FILETIME written = Search(TEXT("a")).at(0).ftLastWriteTime;
    EXPECT_EQ(written.dwLowDateTime, kBefore1970.dwLowDateTime);
    EXPECT_EQ(written.dwHighDateTime, kBefore1970.dwHighDateTime);
    WIN32_FIND_DATAW data;
    const HANDLE search = FindFirstFileW(TEXT("*"), &data);
    ExpectAnswers({
        {"seek below zero", sought, "131"},
        {"close no file", Told(CloseHandle(INVALID_HANDLE_VALUE)), "ok"},
        {"close a search as a file", Told(CloseHandle(search)), "ERROR_INVALID_HANDLE"},
        {"temporary file of a number", MakeTemporary(0x10001), "ERROR_FILE_NOT_FOUND"},
        {"temporary file of a number that is cut to 0", MakeTemporary(0x10000), "ok"},
        {"attributes that stay", SetAttributes("a", 0x3100), "12544"},
        {"a temporary folder", SetAttributes("folder", 0x100), "ERROR_INVALID_PARAMETER"},
        {"access to NUL", std::to_string(_waccess(TEXT("NUL"), 0)), "0"},
    });
    FindClose(search);
}

TEST_F(PlainFiles, AreSearchedByWindowsWildcards) {
    MakeFiles({"odd\\a", "odd\\aa", "odd\\a.a", "odd\\x 1 y", "odd\\.a", "odd\\page.html"});
    MakeFiles({"found\\one", "found\\two.txt", "found\\three.TXT", "found\\four.txt.bak", "found\\below\\x"});
    // Names that are no 8.3 names have one besides, and are found by it.
    const struct {
        const char *pattern, *names;
    } rows[] = {
        {"odd\\?", ". .. a"},       {"found\\*.*", ". .. below four.txt.bak one three.TXT two.txt"},
        {"odd\\??. ", ". .. a aa"}, {"found\\T*.?xt", "three.TXT two.txt"},
        {"odd\\a*.", ".a a aa"},    {"found\\TWO.TXT", "two.txt"},
        {"odd\\.*.", ". .. .a"},    {"odd\\*.htm", "page.html"},
        {"odd\\a?", "a aa"},        {"odd\\page~?.h*", "page.html"},
        {"odd\\x > y", "x 1 y"},    {"odd\\*.", ". .. .a a aa x 1 y"},
        {"odd\\a\"a", "a.a"},       {"odd\\* ..", ". .. .a a aa x 1 y"},
        {"odd\\a<", ".a a aa"},     {"odd\\?.??.", ". .. .a a a.a"},
    };
    for (const auto& row : rows)
        ExpectAnswers({{std::string("search ") + row.pattern, Found(row.pattern), row.names}});
}

// The path with the 8.3 name of its last level, whatever it is.
std::string Short(const std::string& path) {
    const Text name = Search(Wide(path)).at(0).cAlternateFileName;
    EXPECT_FALSE(name.empty());
    return path.substr(0, path.rfind('\\') + 1) + Narrow(name);
}

TEST_F(PlainFiles, AreTakenByTheirShortNames) {
    MakeFiles({"page.html", "page.htmx", "full of files\\x", "empty folder\\x"}, "old");
    MakeFiles({"new"}, "new");
    const std::string page = Short("C:\\Scratch\\page.html"), other = Short("C:\\Scratch\\page.htmx"),
                      full = Short("C:\\Scratch\\full of files"), empty = Short("C:\\Scratch\\empty folder");
    EXPECT_EQ(Found(page), "page.html");
    EXPECT_EQ(Copy("new", page), "ok");
    EXPECT_EQ(Move("new", full + "\\new"), "ok");
    EXPECT_EQ(Delete(other), "ok");
    EXPECT_EQ(Short("C:\\Scratch\\page.html"), page) << "it stays when a neighbour goes";
    EXPECT_EQ(Delete(empty + "\\x"), "ok");
    EXPECT_EQ(Remove(empty), "ok");
    EXPECT_EQ(Listed(Tree()), "full of files\\ full of files\\new full of files\\x page.html");
    EXPECT_EQ(FileBytes(TEXT("C:\\Scratch\\page.html")), "new");
    EXPECT_EQ(Move("page.html", "longer name.html"), "ok");
    EXPECT_EQ(Attributes(page), "ERROR_FILE_NOT_FOUND") << "it goes with the name";
}

}  // namespace
