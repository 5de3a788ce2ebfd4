// Shell links as files: those that other programs wrote are read, even if damaged.
#include "shell/link_format.h"
#include "harness/scratch.h"

namespace {

class HostLinks : public ScratchTest {};

std::string FromHex(std::string_view digits) {
    std::string bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
        bytes += static_cast<char>(std::stoi(std::string(digits.substr(i, 2)), nullptr, 16));
    return bytes;
}

// Saved by Wine's shell, which keeps names outside the code page only in the list of item ids.
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

TEST_F(HostLinks, OfAnotherShellAreRead) {
    const auto link = winhost::ParseLink(kForeignLink);
    ASSERT_TRUE(link);
    EXPECT_EQ(link->path, TEXT("C:\\Scratch\\\u00FC \u0416.exe"));
    EXPECT_EQ(link->description, TEXT("F\u00FC\u00DFe"));
    EXPECT_EQ(link->arguments, TEXT("-x \"y z\""));
    EXPECT_EQ(link->icon, 3);
}

// Everything that is read can be saved again.
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
