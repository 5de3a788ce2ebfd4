// Shell links as files: those that other programs wrote are read, even if damaged.
#include "shell/link_format.h"
#include "harness/scratch.h"

namespace {

class HostLinks : public ScratchTest {};

// Saved by Wine's shell, which keeps names outside the code page only in the list of item ids.
const std::string kForeignLink = BuildBytes(QTV_SOURCE_FOLDER "/tests/winhost/foreign.lnk");

TEST_F(HostLinks, AreReadFromAnotherShell) {
    const auto link = winhost::ParseLink(kForeignLink);
    ASSERT_TRUE(link);
    EXPECT_EQ(link->path, TEXT("C:\\Scratch\\\u00FC \u0416.exe"));
    EXPECT_EQ(link->description, TEXT("F\u00FC\u00DFe"));
    EXPECT_EQ(link->arguments, TEXT("-x \"y z\""));
    EXPECT_EQ(link->icon, 3);
}

}  // namespace
