// Shell links as files: those that other programs wrote are read, even if damaged.
#include "shell/link_format.h"
#include "harness/scratch.h"

namespace {

class HostLinks : public ScratchTest {};

// Saved by Wine's shell, which keeps names outside the code page only in the list of item ids.
const std::string kForeignLink = BuildBytes(QTV_SOURCE_FOLDER "/tests/winhost/foreign.lnk");

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

TEST_F(HostLinks, DamagedFilesAreHarmless) {
    ASSERT_FALSE(kForeignLink.empty());
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
