#include "support/path_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>

#include "resource.h"

TEST(PathText, ParentDirCutsTheLastComponent) {
    static const struct {
        LPCWSTR path;
        LPCWSTR parent;
    } kRows[] = {
        {TEXT("C:\\a\\b"), TEXT("C:\\a")},
        {TEXT("C:\\a\\b\\"), TEXT("C:\\a")},
        {TEXT("C:\\a"), TEXT("C:")},
        {TEXT("C:\\a\\\\"), TEXT("C:\\a")},
        {TEXT("C:/a/b"), TEXT("")},
        {TEXT("C:\\"), TEXT("")},
        {TEXT("abc"), TEXT("")},
        {TEXT("\\abc"), TEXT("")},
        {TEXT("\\"), TEXT("")},
        {TEXT("\\\\server\\share"), TEXT("\\\\server")},
        {TEXT(""), TEXT("")},
        {nullptr, TEXT("")},
    };
    for (const auto& row : kRows)
        EXPECT_EQ(ParentDir(row.path).Text(), row.parent)
            << ::testing::PrintToString(CString(row.path).Text());
}

TEST(PathText, FormatBoundedRefusesWhatDoesNotFit) {
    constexpr WCHAR kGuard = TEXT('#');
    const std::basic_string<WCHAR> text = TEXT("Qantivo 8.05.12");
    for (std::size_t cchBuffer = 0; cchBuffer <= text.size() + 2; ++cchBuffer) {
        WCHAR buffer[32];
        std::fill(std::begin(buffer), std::end(buffer), kGuard);
        const int written =
            FormatBounded(buffer, cchBuffer, TEXT("%s %d.%02d.%02d"), TEXT("Qantivo"), 8, 5, 12);
        if (cchBuffer > text.size()) {
            EXPECT_EQ(written, static_cast<int>(text.size())) << cchBuffer;
            EXPECT_EQ(text, buffer) << cchBuffer;
        } else {
            EXPECT_EQ(written, -1) << cchBuffer;
            EXPECT_EQ(buffer[0], cchBuffer > 0 ? 0 : kGuard) << cchBuffer;
        }
        EXPECT_EQ(buffer[cchBuffer], kGuard) << cchBuffer;
    }
}

TEST(PathText, FormattingTakesWideText) {
    // Characters that no narrow text holds, and a first byte that is null when a narrow text is read in its
    // place.
    static const WCHAR kWide[] = {0x4E2D, 0x0100, 0x00E4, TEXT('x'), 0};
    WCHAR buffer[16];
    EXPECT_EQ(FormatBounded(buffer, 16, TEXT("<%s>"), kWide), 6);
    EXPECT_EQ(std::basic_string<WCHAR>(buffer), TEXT("<") + std::basic_string<WCHAR>(kWide) + TEXT(">"));
    EXPECT_EQ(FormatUnbounded(buffer, TEXT("%s%02d%%"), kWide, 7), 7);
    EXPECT_EQ(std::basic_string<WCHAR>(buffer), std::basic_string<WCHAR>(kWide) + TEXT("07%"));
}

TEST(PathText, AMissingResourceStringIsEmpty) {
    EXPECT_EQ(LoadResString(IDS_PRODUCT).Text(), TEXT("Qantivo 8"));
    EXPECT_TRUE(LoadResString(5).IsEmpty());
    EXPECT_TRUE(LoadResString(60000).IsEmpty());
}
