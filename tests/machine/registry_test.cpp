// The registry's calls, as the program relies on them.
#include <string>
#include <vector>

#include "harness/registry_values.h"
#include "harness/scratch.h"

namespace {

constexpr WCHAR kProbe[] = TEXT("Software\\Lorvanta\\Probe");
constexpr DWORD kTextChars = 300;
constexpr LSTATUS kBadPathname = 161, kKeyDeleted = 1018;

// Every test has its own empty key.
class Registry : public ScratchTest {
  protected:
    Registry() { EXPECT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, kProbe, &m_key), ERROR_SUCCESS); }
    ~Registry() override { RegCloseKey(m_key); }

    HKEY m_key = nullptr;
};

LSTATUS OpenError(HKEY parent, LPCWSTR name) {
    HKEY key = nullptr;
    const LSTATUS error = RegOpenKeyExW(parent, name, 0, KEY_READ, &key);
    if (error == ERROR_SUCCESS) RegCloseKey(key);
    return error;
}

LSTATUS MakeError(HKEY parent, LPCWSTR name) {
    HKEY key = nullptr;
    const LSTATUS error = RegCreateKeyW(parent, name, &key);
    if (error == ERROR_SUCCESS) RegCloseKey(key);
    return error;
}

LSTATUS SetError(HKEY key) {
    return RegSetValueExW(key, TEXT("x"), 0, REG_DWORD, reinterpret_cast<const BYTE*>("abcd"), 4);
}

LSTATUS EnumError(HKEY key, DWORD index, DWORD cchName) {
    WCHAR name[kTextChars];
    return RegEnumKeyW(key, index, name, cchName);
}

TEST_F(Registry, FailsWithTheErrorThatItsCallersTellApart) {
    ASSERT_EQ(MakeError(m_key, TEXT("Parent\\Child")), ERROR_SUCCESS);
    HKEY reader = nullptr;
    ASSERT_EQ(RegOpenKeyExW(m_key, nullptr, 0, KEY_READ, &reader), ERROR_SUCCESS);
    EXPECT_NE(reader, m_key);
    const Text longName(kTextChars, TEXT('n'));
    const struct {
        const char* call;
        LSTATUS found, expected;
    } rows[] = {
        {"open without regard to case", OpenError(m_key, TEXT("PARENT\\child")), ERROR_SUCCESS},
        {"open with a closing backslash", OpenError(m_key, TEXT("Parent\\")), ERROR_SUCCESS},
        {"open with a leading backslash", OpenError(m_key, TEXT("\\Parent")), kBadPathname},
        {"open a class with a leading backslash", OpenError(HKEY_CLASSES_ROOT, TEXT("\\CLSID")),
         ERROR_SUCCESS},
        {"open without a name", OpenError(m_key, nullptr), ERROR_SUCCESS},
        {"open a missing key", OpenError(m_key, TEXT("none\\x")), ERROR_FILE_NOT_FOUND},
        {"open below no key", OpenError(nullptr, TEXT("x")), ERROR_INVALID_HANDLE},
        {"make with a name too long", MakeError(m_key, longName.c_str()), ERROR_INVALID_PARAMETER},
        {"set without the right", SetError(reader), ERROR_ACCESS_DENIED},
        {"delete a missing value", RegDeleteValueW(m_key, TEXT("x")), ERROR_FILE_NOT_FOUND},
        {"delete a key with sub-keys", RegDeleteKeyW(m_key, TEXT("Parent")), ERROR_ACCESS_DENIED},
        {"delete without a name", RegDeleteKeyW(m_key, nullptr), ERROR_INVALID_PARAMETER},
        {"enumerate past the end", EnumError(m_key, 1, kTextChars), ERROR_NO_MORE_ITEMS},
        {"enumerate without room for the end", EnumError(m_key, 0, 6), ERROR_MORE_DATA},
        {"enumerate with just room", EnumError(m_key, 0, 7), ERROR_SUCCESS},
    };
    for (const auto& row : rows)
        EXPECT_EQ(row.found, row.expected) << row.call;
    RegCloseKey(reader);

    const BYTE text[] = "a";
    ASSERT_EQ(RegSetValueExW(m_key, TEXT("name"), 0, REG_SZ, text, 2), ERROR_SUCCESS);
    WCHAR name[4];
    DWORD cchName = 3, type = 99, cbValue = 20;
    EXPECT_EQ(RegEnumValueW(m_key, 0, name, &cchName, nullptr, &type, nullptr, &cbValue), ERROR_MORE_DATA);
    EXPECT_TRUE(cchName == 3 && type == REG_SZ && cbValue == 2);
}

TEST_F(Registry, GivesValuesByBytes) {
    const std::string text("a\0b\0", 4), stored = text + "##";
    for (const DWORD type : {REG_SZ, REG_BINARY}) {
        ASSERT_EQ(RegSetValueExW(m_key, TEXT("v"), 0, type, reinterpret_cast<const BYTE*>(stored.data()), 4),
                  ERROR_SUCCESS);
        for (DWORD cbBuffer = 0; cbBuffer <= 8; ++cbBuffer) {
            BYTE buffer[8];
            std::fill(std::begin(buffer), std::end(buffer), BYTE{'#'});
            DWORD found = 99, cbValue = cbBuffer;
            const LSTATUS error = RegQueryValueExW(m_key, TEXT("V"), nullptr, &found, buffer, &cbValue);
            EXPECT_EQ(error, cbBuffer < 4 ? ERROR_MORE_DATA : ERROR_SUCCESS) << cbBuffer;
            EXPECT_EQ(cbValue, 4u) << cbBuffer;
            EXPECT_EQ(found, type) << cbBuffer;
            // A text without a terminator gets one if there is room; it isn't counted.
            const std::string end = type == REG_SZ && cbBuffer >= 6 ? std::string("\0\0##", 4) : "####";
            EXPECT_EQ(std::string(buffer, buffer + 8), (cbBuffer < 4 ? "####" : text) + end) << cbBuffer;
        }
    }
}

TEST_F(Registry, HandlesOfADeletedKeyStayDead) {
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyW(m_key, TEXT("Gone"), &key), ERROR_SUCCESS);
    ASSERT_EQ(SetError(key), ERROR_SUCCESS);
    ASSERT_EQ(RegDeleteKeyW(m_key, TEXT("gone")), ERROR_SUCCESS);
    EXPECT_EQ(SetError(key), kKeyDeleted);
    EXPECT_EQ(MakeError(m_key, TEXT("Gone")), ERROR_SUCCESS);
    EXPECT_EQ(SetError(key), kKeyDeleted) << "made again, it is another key";
    EXPECT_FALSE(GetValue(HKEY_CURRENT_USER, kProbe + Text(TEXT("\\Gone")), TEXT("x")));
    EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
}

}  // namespace
