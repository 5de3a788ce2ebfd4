#include "install/shell_links.h"

#include <shlobj.h>

#include "app/setup_state.h"
#include "support/scratch.h"

namespace {

constexpr int kTextChars = 1024;
constexpr std::size_t kShowCommandOffset = 60;

// Target, description, arguments and folder, parted by bars, and the show command.
Text ReadLink(const Text& path) {
    void* object;
    EXPECT_EQ(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW, &object),
              S_OK);
    IShellLinkW* const link = static_cast<IShellLinkW*>(object);
    EXPECT_EQ(link->QueryInterface(IID_IPersistFile, &object), S_OK);
    IPersistFile* const file = static_cast<IPersistFile*>(object);
    EXPECT_EQ(file->Load(path.c_str(), 0), S_OK);
    WCHAR text[4][kTextChars] = {};
    (void)link->GetPath(text[0], kTextChars, nullptr, SLGP_RAWPATH);
    (void)link->GetDescription(text[1], kTextChars);
    (void)link->GetArguments(text[2], kTextChars);
    (void)link->GetWorkingDirectory(text[3], kTextChars);
    file->Release();
    link->Release();
    Text read;
    for (const WCHAR* part : text)
        read += part + Text(TEXT("|"));
    // Wine doesn't load the show command; the file holds it behind the times and the size of the target.
    const char command = FileBytes(path).value_or(std::string(kShowCommandOffset + 1, 0))[kShowCommandOffset];
    return read + static_cast<WCHAR>('0' + command);
}

class ShellLinks : public ScratchTest {
  protected:
    ShellLinks() {
        g_targetDir = kScratch.c_str();
        MakeFile(kLog, "");
        MakeFile(TEXT("C:\\Scratch\\a b.exe"));
    }
    const Text kLog = kScratch + TEXT("\\QtvUnInst.log");
    const Text kLink = kScratch + TEXT("\\Some Link.lnk");
};

TEST_F(ShellLinks, HoldWhatTheyAreGivenAndAreLogged) {
    const struct {
        LPCWSTR target, description;
        DWORD showCommand;
        LPCWSTR arguments, folder, expected;
    } rows[] = {
        {TEXT("C:\\Scratch\\a b.exe"), TEXT(""), 1, nullptr, nullptr, TEXT("C:\\Scratch\\a b.exe||||1")},
        {TEXT("\"C:\\Scratch\\a b.exe\""), TEXT("Words"), 7, TEXT("-x \"y\""), TEXT("C:\\windows"),
         TEXT("C:\\Scratch\\a b.exe|Words|-x \"y\"|C:\\windows|7")},
        {TEXT("\"C:\\Scratch\\a b.exe"), TEXT(""), 3, nullptr, nullptr, TEXT("C:\\Scratch\\a b.exe||||3")},
        {TEXT("C:\\Scratch\\a b.exe\""), TEXT(""), 1, TEXT(""), nullptr, TEXT("C:\\Scratch\\a b.exe||||1")},
    };
    std::string log;
    for (const auto& row : rows) {
        EXPECT_EQ(MakeShellLink(row.target, kLink.c_str(), row.description, row.showCommand, row.arguments,
                                row.folder),
                  S_OK);
        EXPECT_EQ(ReadLink(kLink), row.expected);
        log += "Shell Link: C:\\Scratch\\Some Link.lnk\r\n";
    }
    EXPECT_EQ(FileBytes(kLog), log);
}

TEST_F(ShellLinks, ThatCantBeSavedAreNotLogged) {
    const auto make = [](const Text& target, const Text& link) {
        return MakeShellLink(target.c_str(), link.c_str(), TEXT(""), kDefaultShowCommand, nullptr, nullptr);
    };
    EXPECT_EQ(make(TEXT("C:\\x.exe"), kLink + Text(MAX_PATH, 'y')), E_INVALIDARG);
    EXPECT_EQ(make(Text(512, 'x'), kLink), E_INVALIDARG);
    EXPECT_LT(make(TEXT("C:\\x.exe"), TEXT("C:\\Scratch\\none\\x.lnk")), 0);
    EXPECT_EQ(Tree(), (std::vector<Text>{TEXT("QtvUnInst.log"), TEXT("a b.exe")}));
    EXPECT_EQ(FileBytes(kLog), "");
}

}  // namespace
