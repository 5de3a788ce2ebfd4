// Plain files, folders and profile files, as the program relies on them.
#include "support/scratch.h"

#include <algorithm>

namespace {

using Texts = std::vector<Text>;

class Files : public ScratchTest {};

// The error of a call that gave false.
DWORD ErrorOf(BOOL done) {
    return done ? DWORD{ERROR_SUCCESS} : GetLastError();
}

DWORD Attributes(LPCWSTR path) {
    return GetFileAttributesW(path) & ~DWORD{FILE_ATTRIBUTE_ARCHIVE};
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
        {"move onto a folder", ErrorOf(MoveFileW(TEXT("a"), TEXT("full"))), ERROR_ALREADY_EXISTS},
        {"move a missing file", ErrorOf(MoveFileW(TEXT("none"), TEXT("c"))), ERROR_FILE_NOT_FOUND},
        {"move into a missing folder", ErrorOf(MoveFileW(TEXT("a"), TEXT("none\\a"))), ERROR_PATH_NOT_FOUND},
        {"copy a missing file", ErrorOf(CopyFileW(TEXT("none"), TEXT("c"), FALSE)), ERROR_FILE_NOT_FOUND},
        {"copy from a missing folder", ErrorOf(CopyFileW(TEXT("none\\a"), TEXT("c"), FALSE)),
         ERROR_PATH_NOT_FOUND},
        {"copy into a missing folder", ErrorOf(CopyFileW(TEXT("a"), TEXT("none\\a"), FALSE)),
         ERROR_PATH_NOT_FOUND},
        {"copy a folder", ErrorOf(CopyFileW(TEXT("full"), TEXT("c"), FALSE)), ERROR_ACCESS_DENIED},
        {"copy onto a folder", ErrorOf(CopyFileW(TEXT("a"), TEXT("full"), FALSE)), ERROR_ACCESS_DENIED},
        {"copy onto a file that must not be there", ErrorOf(CopyFileW(TEXT("a"), TEXT("b"), TRUE)),
         ERROR_FILE_EXISTS},
        {"delete a missing file", ErrorOf(DeleteFileW(TEXT("none"))), ERROR_FILE_NOT_FOUND},
        {"delete in a missing folder", ErrorOf(DeleteFileW(TEXT("none\\a"))), ERROR_PATH_NOT_FOUND},
        {"delete a folder", ErrorOf(DeleteFileW(TEXT("empty"))), ERROR_ACCESS_DENIED},
        {"make a folder again", ErrorOf(CreateDirectoryW(TEXT("EMPTY"), nullptr)), ERROR_ALREADY_EXISTS},
        {"make a folder where a file is", ErrorOf(CreateDirectoryW(TEXT("a"), nullptr)),
         ERROR_ALREADY_EXISTS},
        {"make a folder below a missing one", ErrorOf(CreateDirectoryW(TEXT("none\\a"), nullptr)),
         ERROR_PATH_NOT_FOUND},
        {"remove a full folder", ErrorOf(RemoveDirectoryW(TEXT("full"))), ERROR_DIR_NOT_EMPTY},
        {"remove a file as a folder", ErrorOf(RemoveDirectoryW(TEXT("a"))), ERROR_DIRECTORY},
        {"remove a missing folder", ErrorOf(RemoveDirectoryW(TEXT("none"))), ERROR_FILE_NOT_FOUND},
        {"enter a missing folder", ErrorOf(SetCurrentDirectoryW(TEXT("none"))), ERROR_FILE_NOT_FOUND},
        {"remove an empty folder", ErrorOf(RemoveDirectoryW(TEXT("empty\\"))), ERROR_SUCCESS},
        {"set a missing file's attributes", ErrorOf(SetFileAttributesW(TEXT("none"), FILE_ATTRIBUTE_NORMAL)),
         ERROR_FILE_NOT_FOUND},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.found, row.expected) << row.call;
    EXPECT_EQ(Tree(), (Texts{TEXT("a"), TEXT("b"), TEXT("full\\"), TEXT("full\\x")}));
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
    EXPECT_EQ(Attributes(TEXT("moved")), DWORD{FILE_ATTRIBUTE_READONLY});
    EXPECT_TRUE(SetFileAttributesW(TEXT("moved"), FILE_ATTRIBUTE_NORMAL));
    EXPECT_TRUE(DeleteFileW(TEXT("moved")));
}

TEST_F(Files, KeepTheirAttributesInCopies) {
    for (const DWORD attributes : {FILE_ATTRIBUTE_READONLY, FILE_ATTRIBUTE_HIDDEN, FILE_ATTRIBUTE_SYSTEM,
                                   FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM}) {
        MakeFile(TEXT("C:\\Scratch\\a"));
        EXPECT_TRUE(SetFileAttributesW(TEXT("a"), attributes));
        EXPECT_TRUE(CopyFileW(TEXT("a"), TEXT("copy"), FALSE)) << GetLastError();
        EXPECT_EQ(Attributes(TEXT("copy")), attributes);
        DeleteTree(TEXT("C:\\Scratch\\a"));
        DeleteTree(TEXT("C:\\Scratch\\copy"));
    }
}

TEST_F(Files, AreFoundByNameWithoutRegardToCase) {
    MakeFile(TEXT("C:\\Scratch\\MiXed.TxT"), "text");
    EXPECT_EQ(FileBytes(TEXT("c:/scratch\\.\\none\\..\\mixed.txt")), "text");
    EXPECT_EQ(FileBytes(TEXT("mIxED.tXt")), "text");
    MakeFile(TEXT("C:\\Scratch\\mixed.txt"), "other");
    EXPECT_EQ(Tree(), Texts{TEXT("MiXed.TxT")});
    EXPECT_EQ(FileBytes(TEXT("C:\\..\\Scratch\\mixed.txt")), "other");
}

TEST_F(Files, AreSearchedByPattern) {
    for (const LPCWSTR name : {TEXT("one"), TEXT("two.txt"), TEXT("three.TXT"), TEXT("four.txt.bak")})
        MakeFile(TEXT("C:\\Scratch\\found\\") + Text(name));
    MakeFolder(TEXT("C:\\Scratch\\found\\sub"));
    MakeFolder(TEXT("C:\\Scratch\\found\\none"));
    const struct {
        LPCWSTR pattern;
        Texts names;
    } rows[] = {
        {TEXT("*.*"),
         {TEXT("."), TEXT(".."), TEXT("four.txt.bak"), TEXT("none"), TEXT("one"), TEXT("sub"),
          TEXT("three.TXT"), TEXT("two.txt")}},
        {TEXT("*"),
         {TEXT("."), TEXT(".."), TEXT("four.txt.bak"), TEXT("none"), TEXT("one"), TEXT("sub"),
          TEXT("three.TXT"), TEXT("two.txt")}},
        {TEXT("*.txt"), {TEXT("three.TXT"), TEXT("two.txt")}},
        {TEXT("T*.?xt"), {TEXT("three.TXT"), TEXT("two.txt")}},
        {TEXT("o?e"), {TEXT("one")}},
        {TEXT("TWO.TXT"), {TEXT("two.txt")}},
        {TEXT("sub"), {TEXT("sub")}},
        {TEXT("*.exe"), {}},
        {TEXT("none\\*.exe"), {}},
    };
    for (const auto& row : rows) {
        Texts names;
        WIN32_FIND_DATAW data;
        const HANDLE find = FindFirstFileW((TEXT("found\\") + Text(row.pattern)).c_str(), &data);
        if (find == INVALID_HANDLE_VALUE) {
            EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
        } else {
            do
                names.push_back(data.cFileName);
            while (FindNextFileW(find, &data));
            EXPECT_EQ(GetLastError(), DWORD{ERROR_NO_MORE_FILES});
            FindClose(find);
        }
        std::sort(names.begin(), names.end());
        EXPECT_EQ(names, row.names) << ::testing::PrintToString(Text(row.pattern));
    }
    WIN32_FIND_DATAW data;
    EXPECT_EQ(FindFirstFileW(TEXT("missing\\*.*"), &data), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_PATH_NOT_FOUND});
    EXPECT_EQ(FindFirstFileW(TEXT("found\\"), &data), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
}

TEST_F(Files, MayBeDeletedDuringTheirSearch) {
    for (int i = 0; i < 300; ++i)
        MakeFile(TEXT("C:\\Scratch\\many\\") +
                 Text(1 + static_cast<std::size_t>(i), TEXT('x')).substr(0, 100) +
                 Text(1, static_cast<WCHAR>(0x4E00 + i)));
    WIN32_FIND_DATAW data;
    const HANDLE find = FindFirstFileW(TEXT("many\\*"), &data);
    ASSERT_NE(find, INVALID_HANDLE_VALUE);
    do
        (void)DeleteFileW((TEXT("many\\") + Text(data.cFileName)).c_str());
    while (FindNextFileW(find, &data));
    FindClose(find);
    EXPECT_TRUE(RemoveDirectoryW(TEXT("many"))) << GetLastError();
}

TEST_F(Files, TemporaryNameIsMadeAsAnEmptyFile) {
    WCHAR name[MAX_PATH] = {};
    EXPECT_NE(GetTempFileNameW(TEXT("C:\\Scratch"), TEXT("unique"), 0, name), 0u);
    EXPECT_EQ(Text(name).substr(0, 14), TEXT("C:\\Scratch\\uni"));
    EXPECT_EQ(Text(name).substr(Text(name).size() - 4), TEXT(".tmp"));
    EXPECT_EQ(FileBytes(name), "");
    EXPECT_EQ(GetTempFileNameW(TEXT("C:\\Scratch\\none"), TEXT("uni"), 0, name), 0u);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_DIRECTORY});
    WCHAR folder[MAX_PATH];
    const DWORD cch = GetTempPathW(MAX_PATH, folder);
    EXPECT_EQ(Text(folder).size(), cch);
    EXPECT_EQ(folder[cch - 1], TEXT('\\'));
}

TEST_F(Files, ProfileSectionIsReadWithItsEntriesAlone) {
    const LPCWSTR file = TEXT("C:\\Scratch\\set.ini");
    MakeFile(file,
             "; a remark\r\n[first]\r\nx=1\r\n[Rename]\r\nNUL=C:\\a\r\n  C:\\b = C:\\c  \r\n\r\n; "
             "remark\r\nNUL=C:\\d\r\n[last]\r\ny=2\r\n");
    // What lies in the buffer, a terminator shown as '|'.
    const struct {
        LPCWSTR section;
        DWORD cchBuffer;
        Text left;
        DWORD cch;
    } rows[] = {
        {TEXT("rename"), 100, TEXT("NUL=C:\\a|C:\\b=C:\\c|NUL=C:\\d||"), 28},
        {TEXT("rename"), 28, TEXT("NUL=C:\\a|C:\\b=C:\\c|NUL=C:\\||"), 26},
        {TEXT("rename"), 20, TEXT("NUL=C:\\a|C:\\b=C:\\c||"), 18},
        {TEXT("none"), 100, TEXT("|"), 0},
    };
    for (const auto& row : rows) {
        WCHAR buffer[100];
        std::fill(std::begin(buffer), std::end(buffer), TEXT('#'));
        EXPECT_EQ(GetPrivateProfileSectionW(row.section, buffer, row.cchBuffer, file), row.cch);
        Text left(buffer, row.left.size());
        std::replace(left.begin(), left.end(), WCHAR{0}, WCHAR{'|'});
        EXPECT_EQ(left, row.left);
    }
}

}  // namespace
