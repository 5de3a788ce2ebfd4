#include "install/shell_links.h"

#include "app/setup_state.h"
#include "machine/answers.h"

namespace {

class ShellLinks : public ScratchTest {
  protected:
    ShellLinks() {
        g_targetDir = kScratch.c_str();
        MakeFile(kLog, "");
        MakeFile(TEXT("C:\\Scratch\\a b.exe"), "12345");
    }
    const Text kLog = kScratch + TEXT("\\QtvUnInst.log");
    const Text kLink = kScratch + TEXT("\\Some Link.lnk");
};

TEST_F(ShellLinks, HoldWhatTheyAreGivenAndAreLogged) {
    std::string log;
    for (const LPCWSTR target : {TEXT("\"C:\\Scratch\\a b.exe"), TEXT("C:\\Scratch\\a b.exe\"")}) {
        EXPECT_EQ(
            MakeShellLink(target, kLink.c_str(), TEXT("Words"), 7, TEXT("-x \"y\""), TEXT("C:\\windows")),
            S_OK);
        const std::string link = FileBytes(kLink).value_or("");
        EXPECT_NE(link.find("C:\\Scratch\\a b.exe"), link.npos);
        ExpectAnswers({{"size of a link's target", std::to_string(link.at(52)), "5"}});
        EXPECT_EQ(link.at(60), 7) << "the show command";
        for (const char* quoted : {"\"C:", "exe\""})
            EXPECT_EQ(link.find(quoted), link.npos);
        for (const Text text : {TEXT("Words"), TEXT("-x \"y\""), TEXT("C:\\windows")})
            EXPECT_NE(link.find(std::string(reinterpret_cast<const char*>(text.data()), text.size() * 2)),
                      link.npos);
        log += "Shell Link: C:\\Scratch\\Some Link.lnk\r\n";
    }
    EXPECT_EQ(FileBytes(kLog), log);
}

TEST_F(ShellLinks, AreNotLoggedIfTheyCantBeSaved) {
    const auto make = [](const Text& target, const Text& link) {
        return MakeShellLink(target.c_str(), link.c_str(), TEXT(""), kDefaultShowCommand, nullptr, nullptr);
    };
    EXPECT_EQ(make(TEXT("C:\\x.exe"), kScratch + TEXT("\\") + Text(249, 'y')), E_INVALIDARG);
    EXPECT_EQ(make(Text(512, 'x'), kLink), E_INVALIDARG);
    EXPECT_LT(make(TEXT("C:\\x.exe"), TEXT("C:\\Scratch\\none\\x.lnk")), 0);
    EXPECT_EQ(Tree(), (std::vector<Text>{TEXT("QtvUnInst.log"), TEXT("a b.exe")}));
    EXPECT_EQ(FileBytes(kLog), "");
}

}  // namespace
