// Shell links as files: those of others are read, damaged ones too, and those written here read back.
#include <shlobj.h>

#include <thread>

#include "shell_link.h"
#include "support/scratch.h"

namespace {

constexpr int kTextChars = 1024;

struct LinkText {
    Text target, description, folder, arguments, iconPath;
    int icon, showCommand;
    bool operator==(const LinkText&) const = default;
};

// A link with its two interfaces.
class Link {
  public:
    Link() {
        void* object;
        EXPECT_EQ(CoCreateInstance(CLSID_ShellLink, nullptr, CLSCTX_INPROC_SERVER, IID_IShellLinkW, &object),
                  S_OK);
        m_link = static_cast<IShellLinkW*>(object);
        EXPECT_EQ(m_link->QueryInterface(IID_IPersistFile, &object), S_OK);
        m_file = static_cast<IPersistFile*>(object);
    }
    ~Link() {
        EXPECT_EQ(m_file->Release(), 1u);
        EXPECT_EQ(m_link->Release(), 0u);
    }
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;
    IShellLinkW* operator->() const { return m_link; }
    IPersistFile& file() const { return *m_file; }

    LinkText Read() const {
        WCHAR text[5][kTextChars];
        LinkText read = {};
        (void)m_link->GetPath(text[0], kTextChars, nullptr, SLGP_RAWPATH);
        (void)m_link->GetDescription(text[1], kTextChars);
        (void)m_link->GetWorkingDirectory(text[2], kTextChars);
        (void)m_link->GetArguments(text[3], kTextChars);
        (void)m_link->GetIconLocation(text[4], kTextChars, &read.icon);
        (void)m_link->GetShowCmd(&read.showCommand);
        read.target = text[0], read.description = text[1], read.folder = text[2], read.arguments = text[3];
        read.iconPath = text[4];
        return read;
    }

  private:
    IShellLinkW* m_link;
    IPersistFile* m_file;
};

class HostLinks : public ScratchTest {
  protected:
    HostLinks() { (void)CoInitialize(nullptr); }
    ~HostLinks() override { CoUninitialize(); }
};

std::string FromHex(std::string_view digits) {
    std::string bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
        bytes += static_cast<char>(std::stoi(std::string(digits.substr(i, 2)), nullptr, 16));
    return bytes;
}

// Saved by Wine's shell, which keeps names beyond the code page in the list of item ids alone.
const std::string kForeignLink = FromHex(
    "4c0000000114020000000000c000000000000046f70000000000000000000000"
    "0000000000000000000000000000000000000000000000000300000001000000"
    "000000000000000000000000a70014001f00e04fd020ea3a6910a2d808002b30"
    "309d190023433a5c000000000000000000000000000000000000003c00310000"
    "000000785dd870100053637261746368002600000000000000785dd870785dc0"
    "70000000005300630072006100740063006800000016003c0032000000000000"
    "0000000000fc203f2e6578650026000000000000000000000000000000000000"
    "00fc00200016042e00650078006500000016000000410000001c000000010000"
    "001c0000002d0000000000000040000000110000000300000000000043100000"
    "0000433a5c536372617463685cfc203f2e657865000005004600fc00df006500"
    "0000040043003a005c00000009002d00780020002200790020007a0022000000"
    "090043003a005c0069002e00690063006f00000000000000");
const LinkText kForeignText = {TEXT("C:\\Scratch\\\u00FC \u0416.exe"),
                               TEXT("F\u00FC\u00DFe"),
                               TEXT("C:\\"),
                               TEXT("-x \"y z\""),
                               TEXT("C:\\i.ico"),
                               3,
                               SW_SHOWNORMAL};

TEST_F(HostLinks, OfAnotherShellAreRead) {
    MakeFile(TEXT("C:\\Scratch\\foreign.lnk"), kForeignLink);
    const Link link;
    ASSERT_EQ(link.file().Load(TEXT("C:\\Scratch\\foreign.lnk"), 0), S_OK);
    EXPECT_TRUE(link.Read() == kForeignText);
}

TEST_F(HostLinks, ReadBackAsTheyWereSaved) {
    MakeFile(TEXT("C:\\Scratch\\\u4E2D \u00E4\\a b.exe"));
    const LinkText rows[] = {
        {TEXT("C:\\Scratch\\\u4E2D \u00E4\\a b.exe"), TEXT("\u4E2D"), TEXT("D:\\"), TEXT("/a \"b\""),
         TEXT("x.ico"), -7, 3},
        {TEXT("C:\\Scratch"), TEXT(""), TEXT(""), TEXT(""), TEXT(""), 0, SW_SHOWNORMAL},
        {TEXT("C:\\none\\none.exe"), Text(1000, TEXT('d')), TEXT(""), TEXT(""), TEXT(""), 0, 7},
        {TEXT("D:\\"), TEXT("drive"), TEXT(""), TEXT(""), TEXT(""), 0, SW_SHOWNORMAL},
        {TEXT(""), TEXT("no target"), TEXT(""), TEXT(""), TEXT(""), 0, SW_SHOWNORMAL},
    };
    constexpr WCHAR kPath[] = TEXT("C:\\Scratch\\one.lnk");
    for (const LinkText& row : rows) {
        const Link saved;
        EXPECT_TRUE(SUCCEEDED(saved->SetPath(row.target.c_str())));
        EXPECT_EQ(saved->SetDescription(row.description.c_str()), S_OK);
        EXPECT_EQ(saved->SetWorkingDirectory(row.folder.c_str()), S_OK);
        EXPECT_EQ(saved->SetArguments(row.arguments.c_str()), S_OK);
        EXPECT_EQ(saved->SetIconLocation(row.iconPath.c_str(), row.icon), S_OK);
        EXPECT_EQ(saved->SetShowCmd(row.showCommand), S_OK);
        ASSERT_EQ(saved.file().Save(kPath, TRUE), S_OK);
        const Link loaded;
        ASSERT_EQ(loaded.file().Load(kPath, 0), S_OK);
        EXPECT_TRUE(loaded.Read() == row) << ::testing::PrintToString(loaded.Read().target);
    }
}

// Whatever is read can be saved again.
void ReadAndFormat(const std::string& bytes) {
    const auto link = winhost::ParseLink(bytes);
    if (!link) return;
    EXPECT_LT(link->path.size(), std::size_t{MAX_PATH});
    const auto again = winhost::ParseLink(winhost::FormatLink(*link));
    ASSERT_TRUE(again);
    EXPECT_EQ(again->path, link->path);
    EXPECT_EQ(again->description, link->description);
}

TEST_F(HostLinks, ThatAreDamagedDoNoHarm) {
    for (std::size_t at = 0; at < kForeignLink.size(); ++at) {
        ReadAndFormat(kForeignLink.substr(0, at));
        for (const char byte : {'\0', '\x01', '\x7F', '\x80', '\xFF'}) {
            std::string bytes = kForeignLink;
            bytes[at] = byte;
            ReadAndFormat(bytes);
        }
    }
}

}  // namespace
