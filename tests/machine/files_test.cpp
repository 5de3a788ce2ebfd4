// Plain files and folders, as the program relies on them.
#include "harness/scratch.h"

#include <algorithm>

namespace {

using Texts = std::vector<Text>;

class Files : public ScratchTest {};

// The error of a call that returned false.
DWORD ErrorOf(BOOL done) {
    return done ? DWORD{ERROR_SUCCESS} : GetLastError();
}

TEST_F(Files, FailWithTheErrorThatTheirCallersTellApart) {
    MakeFile(TEXT("C:\\Scratch\\a"));
    MakeFile(TEXT("C:\\Scratch\\b"), "b");
    MakeFile(TEXT("C:\\Scratch\\full\\x"));
    MakeFolder(TEXT("C:\\Scratch\\empty"));
    const struct {
        const char* call;
        DWORD found, expected;
    } rows[] = {
        {"move onto a file", ErrorOf(MoveFileW(TEXT("a"), TEXT("B"))), ERROR_ALREADY_EXISTS},
        {"move into a missing folder", ErrorOf(MoveFileW(TEXT("a"), TEXT("none\\a"))), ERROR_PATH_NOT_FOUND},
        {"copy a missing file", ErrorOf(CopyFileW(TEXT("none"), TEXT("c"), FALSE)), ERROR_FILE_NOT_FOUND},
        {"copy into a missing folder", ErrorOf(CopyFileW(TEXT("a"), TEXT("none\\a"), FALSE)),
         ERROR_PATH_NOT_FOUND},
        {"copy a folder", ErrorOf(CopyFileW(TEXT("full"), TEXT("c"), FALSE)), ERROR_ACCESS_DENIED},
        {"copy onto a file that must not be there", ErrorOf(CopyFileW(TEXT("a"), TEXT("b"), TRUE)),
         ERROR_FILE_EXISTS},
        {"delete a folder", ErrorOf(DeleteFileW(TEXT("empty"))), ERROR_ACCESS_DENIED},
        {"make a folder where a file is", ErrorOf(CreateDirectoryW(TEXT("a"), nullptr)),
         ERROR_ALREADY_EXISTS},
        {"remove a full folder", ErrorOf(RemoveDirectoryW(TEXT("full"))), ERROR_DIR_NOT_EMPTY},
        {"remove the folder of all programs", ErrorOf(RemoveDirectoryW(TEXT("C:\\Program Files"))),
         ERROR_DIR_NOT_EMPTY},
        {"remove a file as a folder", ErrorOf(RemoveDirectoryW(TEXT("a"))), ERROR_DIRECTORY},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.found, row.expected) << row.call;
    EXPECT_EQ(Tree(), (Texts{TEXT("a"), TEXT("b"), TEXT("empty\\"), TEXT("full\\"), TEXT("full\\x")}));
    EXPECT_EQ(FileBytes(TEXT("C:\\Scratch\\b")), "b");
}

TEST_F(Files, ReadOnlyFileIsNeitherDeletedNorOverwrittenButMoved) {
    MakeFile(TEXT("C:\\Scratch\\a"), "new");
    MakeFile(TEXT("C:\\Scratch\\guarded"), "old");
    EXPECT_TRUE(SetFileAttributesW(TEXT("guarded"), FILE_ATTRIBUTE_READONLY));
    EXPECT_EQ(ErrorOf(DeleteFileW(TEXT("guarded"))), DWORD{ERROR_ACCESS_DENIED});
    if (!Deviates(Deviation::OverwritesReadOnly)) {
        EXPECT_EQ(ErrorOf(CopyFileW(TEXT("a"), TEXT("guarded"), FALSE)), DWORD{ERROR_ACCESS_DENIED});
        EXPECT_EQ(FileBytes(TEXT("C:\\Scratch\\guarded")), "old");
    }
    EXPECT_TRUE(MoveFileW(TEXT("guarded"), TEXT("moved")));
    EXPECT_TRUE(CopyFileW(TEXT("moved"), TEXT("copy"), FALSE));
    EXPECT_EQ(GetFileAttributesW(TEXT("copy")) & ~DWORD{FILE_ATTRIBUTE_ARCHIVE},
              DWORD{FILE_ATTRIBUTE_READONLY});
    EXPECT_TRUE(SetFileAttributesW(TEXT("copy"), FILE_ATTRIBUTE_NORMAL));
    EXPECT_TRUE(DeleteFileW(TEXT("copy")));
}

// The names that a search finds, sorted, with blanks between them.
Text Found(const Text& pattern) {
    Texts names;
    WIN32_FIND_DATAW data;
    const HANDLE find = FindFirstFileW(pattern.c_str(), &data);
    if (find != INVALID_HANDLE_VALUE) {
        do
            names.push_back(data.cFileName);
        while (FindNextFileW(find, &data));
        EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_MORE_FILES});
        FindClose(find);
    }
    std::sort(names.begin(), names.end());
    Text list;
    for (const Text& name : names)
        list += (list.empty() ? Text() : Text(TEXT(" "))) + name;
    return list;
}

TEST_F(Files, AreSearchedByWindowsWildcards) {
    for (const LPCWSTR name :
         {TEXT("a"), TEXT("aa"), TEXT("a.a"), TEXT("x 1 y"), TEXT(".a"), TEXT("page.html")})
        MakeFile(TEXT("C:\\Scratch\\found\\") + Text(name));
    const struct {
        LPCWSTR pattern, names;
        bool wildOnWindowsOnly = false;
    } rows[] = {
        {TEXT("?"), TEXT(". .. a"), true},
        {TEXT("??. "), TEXT(". .. a aa"), true},
        // Names that are no 8.3 names have one besides, and are found by it.
        {TEXT("*.htm"), TEXT("page.html")},
        {TEXT("page~?.h*"), TEXT("page.html"), true},
        {TEXT("*."), TEXT(". .. .a a aa x 1 y"), true},
        {TEXT("* .."), TEXT(". .. .a a aa x 1 y"), true},
        {TEXT("a*."), TEXT(".a a aa"), true},
        {TEXT(".*."), TEXT(". .. .a"), true},
        {TEXT("?.??."), TEXT(". .. .a a a.a"), true},
        {TEXT("a?"), TEXT("a aa"), true},
        {TEXT("x > y"), TEXT("x 1 y")},
        {TEXT("a\"a"), TEXT("a.a"), true},
        {TEXT("a<"), TEXT(".a a aa"), true},
    };
    for (const auto& row : rows) {
        if (row.wildOnWindowsOnly && Deviates(Deviation::SearchesByOtherRules)) continue;
        EXPECT_EQ(Found(TEXT("found\\") + Text(row.pattern)), row.names)
            << ::testing::PrintToString(Text(row.pattern));
    }
}

// The path with the 8.3 name of its last level, whatever it is.
Text Short(const Text& path) {
    WIN32_FIND_DATAW data = {};
    const HANDLE find = FindFirstFileW(path.c_str(), &data);
    EXPECT_TRUE(find != INVALID_HANDLE_VALUE && FindClose(find));
    EXPECT_NE(data.cAlternateFileName[0], 0);
    return path.substr(0, path.rfind('\\') + 1) + data.cAlternateFileName;
}

TEST_F(Files, AreTakenByTheirShortNames) {
    for (const LPCWSTR name :
         {TEXT("page.html"), TEXT("page.htmx"), TEXT("full of files\\x"), TEXT("empty folder\\x")})
        MakeFile(kScratch + TEXT("\\") + name, "old");
    MakeFile(TEXT("C:\\Scratch\\new"), "new");
    const Text page = Short(TEXT("C:\\Scratch\\page.html")), other = Short(TEXT("C:\\Scratch\\page.htmx"));
    const Text full = Short(TEXT("C:\\Scratch\\full of files")),
               empty = Short(TEXT("C:\\Scratch\\empty folder"));
    EXPECT_EQ(Found(page), TEXT("page.html"));
    EXPECT_TRUE(CopyFileW(TEXT("new"), page.c_str(), FALSE));
    EXPECT_TRUE(MoveFileW(TEXT("new"), (full + TEXT("\\new")).c_str()));
    EXPECT_TRUE(DeleteFileW(other.c_str()));
    EXPECT_EQ(Short(TEXT("C:\\Scratch\\page.html")), page) << "it stays when a neighbour goes";
    EXPECT_TRUE(DeleteFileW((empty + TEXT("\\x")).c_str()));
    EXPECT_TRUE(RemoveDirectoryW(empty.c_str()));
    EXPECT_EQ(Tree(), (Texts{TEXT("full of files\\"), TEXT("full of files\\new"), TEXT("full of files\\x"),
                             TEXT("page.html")}));
    EXPECT_EQ(FileBytes(TEXT("C:\\Scratch\\page.html")), "new");
    EXPECT_TRUE(MoveFileW(TEXT("page.html"), TEXT("longer name.html")));
    EXPECT_FALSE(Exists(page)) << "it goes with the name";
}

TEST_F(Files, AreSearchedByPattern) {
    for (const LPCWSTR name : {TEXT("one"), TEXT("two.txt"), TEXT("three.TXT"), TEXT("four.txt.bak")})
        MakeFile(TEXT("C:\\Scratch\\found\\") + Text(name));
    MakeFolder(TEXT("C:\\Scratch\\found\\none"));
    EXPECT_EQ(Found(TEXT("found\\*.*")), TEXT(". .. four.txt.bak none one three.TXT two.txt"));
    EXPECT_EQ(Found(TEXT("found\\T*.?xt")), TEXT("three.TXT two.txt"));
    EXPECT_EQ(Found(TEXT("found\\TWO.TXT")), TEXT("two.txt"));
    EXPECT_EQ(Found(TEXT("found\\none\\*.exe")), TEXT(""));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
    WIN32_FIND_DATAW data;
    EXPECT_EQ(FindFirstFileW(TEXT("missing\\*.*"), &data), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_PATH_NOT_FOUND});
}

}  // namespace
