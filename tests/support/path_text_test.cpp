#include "support/path_text.h"

#include <algorithm>

#include "engine/file_steps.h"
#include "harness/scratch.h"

TEST(PathText, LastPartIsCutOffAndTheSeparatorAddedOnce) {
    const struct {
        LPCWSTR path, parent, closed;
    } rows[] = {
        {TEXT("C:\\a\\b\\"), TEXT("C:\\a"), TEXT("C:\\a\\b\\")},
        {TEXT("C:\\a"), TEXT("C:"), TEXT("C:\\a\\")},
        {TEXT("C:\\a\\\\"), TEXT("C:\\a"), TEXT("C:\\a\\\\")},
        {TEXT("C:/a/"), TEXT(""), TEXT("C:/a/")},
        {TEXT("C:\\"), TEXT(""), TEXT("C:\\")},
        {TEXT("\\"), TEXT(""), TEXT("\\")},
        {TEXT(""), TEXT(""), TEXT("\\")},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(ParentDir(row.path), row.parent);
        EXPECT_EQ(WithSeparator(row.path), row.closed);
    }
    EXPECT_TRUE(ParentDir(nullptr).IsEmpty());
}

TEST(PathText, FormatUnboundedTakesAnyLength) {
    WCHAR buffer[5001];
    const CString text = Text(4990, 'x').c_str();
    EXPECT_EQ(FormatUnbounded(buffer, TEXT("%s %02d"), static_cast<LPCWSTR>(text), 7), 4993);
    EXPECT_EQ(Text(buffer), text.Text() + TEXT(" 07"));
}

TEST(PathText, FormatBoundedRefusesWhatDoesNotFit) {
    constexpr WCHAR kGuard = TEXT('#');
    const Text text = TEXT("Qantivo 8.05.12");
    for (std::size_t cchBuffer = 0; cchBuffer <= text.size() + 2; ++cchBuffer) {
        WCHAR buffer[33] = {};
        std::fill_n(buffer, 32, kGuard);
        const int written =
            FormatBounded(buffer, cchBuffer, TEXT("%s %d.%02d.%02d"), TEXT("Qantivo"), 8, 5, 12);
        const bool fits = cchBuffer > text.size();
        EXPECT_EQ(written, fits ? static_cast<int>(text.size()) : -1) << cchBuffer;
        EXPECT_EQ(Text(buffer), fits ? text : Text(cchBuffer > 0 ? 0 : 32, kGuard)) << cchBuffer;
        EXPECT_EQ(buffer[cchBuffer], kGuard) << cchBuffer;
    }
}
