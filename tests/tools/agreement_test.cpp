#include "package_make/agreement.h"

#include "harness/scratch.h"

namespace {

std::string Swapped(std::string bytes) {
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2)
        std::swap(bytes[i], bytes[i + 1]);
    return bytes;
}

TEST(Agreement, IsMadeOfEachEncoding) {
    const std::string text = "Agree? \xC3\xA4\n\nyes\r\rno\r\nend";
    const std::string wide = Utf16("Agree? ") + std::string("\xE4\0", 2) + Utf16("\n\nyes\r\rno\r\nend");
    const std::string made =
        Utf16("Agree? ") + std::string("\xE4\0", 2) + Utf16("\r\n\r\nyes\r\n\r\nno\r\nend");
    for (const std::string& bytes : {text, "\xEF\xBB\xBF" + text, wide, "\xFF\xFE" + wide, Swapped(wide),
                                     Swapped("\xFF\xFE" + wide), made, std::string("\xFF\xFE") + made})
        EXPECT_EQ(package_make::AgreementFor(bytes), made) << bytes;
    EXPECT_EQ(package_make::AgreementFor(""), "");
    for (const char* marked : {"\xFE\xFF\x4E\0", "\xFF\xFE\0\x4E"})
        EXPECT_EQ(package_make::AgreementFor({marked, 4}), std::string("\0\x4E", 2)) << "a mark decides";
    EXPECT_EQ(package_make::AgreementFor(std::string("\0\x4E\n\0", 4)), std::string("\0\x4E\r\0\n\0", 6))
        << "in doubt the lower byte comes first";
    EXPECT_EQ(package_make::AgreementFor("\xF0\x9F\x98\x80"), std::string("\x3D\xD8\x00\xDE", 4));
    for (const std::string& bytes : {std::string("\xE4gree"), "\xFF\xFE" + wide + "x", wide + "x"})
        EXPECT_EQ(package_make::AgreementFor(bytes), std::nullopt) << bytes;
}

}  // namespace
