#include "support/path_text.h"

#include <algorithm>
#include <iterator>

#include "engine/file_steps.h"
#include "harness/scratch.h"

TEST(PathText, ParentDirCutsTheLastComponent) {
    static const struct {
        LPCWSTR path;
        LPCWSTR parent;
    } kRows[] = {
        {TEXT("C:\\a\\b\\"), TEXT("C:\\a")},
        {TEXT("C:\\a"), TEXT("C:")},
        {TEXT("C:\\a\\\\"), TEXT("C:\\a")},
        {TEXT("C:/a/b"), TEXT("")},
        {TEXT("C:\\"), TEXT("")},
        {TEXT("\\"), TEXT("")},
        {nullptr, TEXT("")},
    };
    for (const auto& row : kRows)
        EXPECT_EQ(ParentDir(row.path).Text(), row.parent) << ::testing::PrintToString(CString(row.path));
}

TEST(PathText, SeparatorIsAddedOnce) {
    static const std::pair<LPCWSTR, LPCWSTR> kRows[] = {
        {TEXT("C:\\a"), TEXT("C:\\a\\")},
        {TEXT("C:\\a\\"), TEXT("C:\\a\\")},
        {TEXT("C:/a/"), TEXT("C:/a/")},
        {TEXT(""), TEXT("\\")},
    };
    for (const auto& [folder, expected] : kRows)
        EXPECT_EQ(WithSeparator(folder).Text(), expected);
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
