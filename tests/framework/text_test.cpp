#include <framework.h>
#include <gtest/gtest.h>

TEST(CString, PartsAreClampedToTheText) {
    const CString text = TEXT("abcde");
    static const struct {
        CString part;
        LPCWSTR expected;
    } kRows[] = {
        {text.Left(2), TEXT("ab")},    {text.Left(9), TEXT("abcde")},   {text.Left(-1), TEXT("")},
        {text.Right(2), TEXT("de")},   {text.Right(9), TEXT("abcde")},  {text.Right(-1), TEXT("")},
        {text.Mid(2), TEXT("cde")},    {text.Mid(5), TEXT("")},         {text.Mid(9), TEXT("")},
        {text.Mid(-3), TEXT("abcde")}, {text.Mid(1, 2), TEXT("bc")},    {CString(TEXT("abc"), 2), TEXT("ab")},
        {CString(nullptr), TEXT("")},  {CString(nullptr, 0), TEXT("")},
    };
    for (const auto& row : kRows)
        EXPECT_EQ(row.part.Text(), row.expected);

    EXPECT_EQ(text.Last(), TEXT('e'));
    EXPECT_EQ(text[5], 0);
    EXPECT_EQ(CString().Last(), 0);
}

TEST(CString, ComparesByCodeUnitAndFoldsOnlyAToZ) {
    const CString text = TEXT("Setup\u00C9");
    EXPECT_LT(text.Compare(TEXT("setup")), 0);
    EXPECT_GT(text.Compare(nullptr), 0);
    EXPECT_EQ(text.CompareNoCase(TEXT("sETUP\u00C9")), 0);
    EXPECT_NE(text.CompareNoCase(TEXT("setup\u00E9")), 0);
    EXPECT_EQ(CString(text).MakeLower().Text(), TEXT("setup\u00C9"));
    EXPECT_EQ(CString(TEXT("az[\u00E9")).MakeUpper().Text(), TEXT("AZ[\u00E9"));
}

// The runtime library decides what is white space. It must be the same on every machine.
TEST(CString, TrimsTheRuntimeLibrarysWhiteSpace) {
    for (const WCHAR space :
         std::initializer_list<WCHAR>{0x09, 0x0A, 0x0B, 0x0C, 0x0D, 0x20, 0xA0, 0x1680, 0x2000, 0x200A,
                                      0x2028, 0x2029, 0x202F, 0x205F, 0x3000})
        EXPECT_TRUE((CString() + space).Trim().IsEmpty()) << std::hex << static_cast<unsigned>(space);
    for (const WCHAR other :
         std::initializer_list<WCHAR>{0x01, 0x08, 0x0E, 0x1F, 0x7F, 0x85, 0x180E, 0x200B, 0xFEFF})
        EXPECT_FALSE((CString() + other).Trim().IsEmpty()) << std::hex << static_cast<unsigned>(other);

    const CString text = TEXT(" \t a b\r\n");
    EXPECT_EQ(CString(text).TrimLeft().Text(), TEXT("a b\r\n"));
    EXPECT_EQ(CString(text).TrimRight().Text(), TEXT(" \t a b"));
    EXPECT_EQ(CString(TEXT("\\/a\\b/")).Trim(TEXT("\\/")).Text(), TEXT("a\\b"));
    EXPECT_EQ(CString(TEXT("\\\\")).Trim(TEXT("\\")).Text(), TEXT(""));
}

TEST(CDWordArray, ChecksEveryIndex) {
    CDWordArray numbers;
    EXPECT_THROW((void)numbers[0], CInvalidArgException);

    EXPECT_EQ(numbers.Add(0xFFFFFFFF), 0);
    numbers.SetSize(3);
    numbers.SetAt(2, 7);
    EXPECT_EQ(numbers[0], 0xFFFFFFFF);
    EXPECT_EQ(numbers[1], 0u);
    for (const int index : {-1, 3}) {
        EXPECT_THROW((void)numbers[index], CInvalidArgException);
        EXPECT_THROW(numbers.SetAt(index, 1), CInvalidArgException);
    }
    EXPECT_THROW(numbers.SetSize(-1), CInvalidArgException);
}
