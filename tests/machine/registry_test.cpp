// The registry's calls, as the program relies on them.
#include "harness/registry_values.h"
#include "machine/answers.h"

namespace {

constexpr WCHAR kProbe[] = TEXT("Software\\Lorvanta\\Probe");
constexpr DWORD kTextChars = 300;

// Every test has its own empty key.
class Registry : public ScratchTest {
  protected:
    Registry() { EXPECT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, kProbe, &m_key), ERROR_SUCCESS); }
    ~Registry() override { RegCloseKey(m_key); }

    HKEY m_key = nullptr;
};

std::string ToldOpen(HKEY parent, LPCWSTR name) {
    HKEY key = nullptr;
    const LSTATUS error = RegOpenKeyExW(parent, name, 0, KEY_READ, &key);
    if (error == ERROR_SUCCESS) RegCloseKey(key);
    return ToldError(error);
}

std::string MakeKey(HKEY parent, LPCWSTR name) {
    HKEY key = nullptr;
    const LSTATUS error = RegCreateKeyW(parent, name, &key);
    if (error == ERROR_SUCCESS) RegCloseKey(key);
    return ToldError(error);
}

std::string SetValue(HKEY key) {
    return ToldError(RegSetValueExW(key, TEXT("x"), 0, REG_DWORD, reinterpret_cast<const BYTE*>("abcd"), 4));
}

std::string DeleteKey(HKEY parent, LPCWSTR name) {
    return ToldError(RegDeleteKeyW(parent, name));
}

std::string EnumerateKey(HKEY key, DWORD index, DWORD cchName) {
    WCHAR name[kTextChars];
    return ToldError(RegEnumKeyW(key, index, name, cchName));
}

TEST_F(Registry, FailsWithTheErrorsOfWindows) {
    ASSERT_EQ(MakeKey(m_key, TEXT("Parent\\Child")), "ok");
    const auto reader = OpenKey(m_key, Text());
    EXPECT_NE(reader.get(), m_key);
    const Text longName(kTextChars, TEXT('n'));
    ExpectAnswers({
        {"open without regard to case", ToldOpen(m_key, TEXT("PARENT\\child")), "ok"},
        {"open with a closing backslash", ToldOpen(m_key, TEXT("Parent\\")), "ok"},
        {"open with a leading backslash", ToldOpen(m_key, TEXT("\\Parent")), "ERROR_BAD_PATHNAME"},
        {"open a class with a leading backslash", ToldOpen(HKEY_CLASSES_ROOT, TEXT("\\CLSID")), "ok"},
        {"open without a name", ToldOpen(m_key, nullptr), "ok"},
        {"open a missing key", ToldOpen(m_key, TEXT("none\\x")), "ERROR_FILE_NOT_FOUND"},
        {"open below no key", ToldOpen(nullptr, TEXT("x")), "ERROR_INVALID_HANDLE"},
        {"make with a name too long", MakeKey(m_key, longName.c_str()), "ERROR_INVALID_PARAMETER"},
        {"set without the right", SetValue(reader.get()), "ERROR_ACCESS_DENIED"},
        {"delete a missing value", ToldError(RegDeleteValueW(m_key, TEXT("x"))), "ERROR_FILE_NOT_FOUND"},
        {"delete a key with sub-keys", DeleteKey(m_key, TEXT("Parent")), "ERROR_ACCESS_DENIED"},
        {"delete without a name", DeleteKey(m_key, nullptr), "ERROR_INVALID_PARAMETER"},
        {"enumerate past the end", EnumerateKey(m_key, 1, kTextChars), "ERROR_NO_MORE_ITEMS"},
        {"enumerate without space for the end", EnumerateKey(m_key, 0, 6), "ERROR_MORE_DATA"},
        {"enumerate with just enough space", EnumerateKey(m_key, 0, 7), "ok"},
    });

    // The system looks for the terminator even after the end that it is told.
    const BYTE text[] = "a\0##";
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
            std::string buffer(8, '#');
            DWORD found = 99, cbValue = cbBuffer;
            const LSTATUS error = RegQueryValueExW(m_key, TEXT("V"), nullptr, &found,
                                                   reinterpret_cast<BYTE*>(buffer.data()), &cbValue);
            EXPECT_EQ(std::tuple(error, cbValue, found),
                      std::tuple(cbBuffer < 4 ? ERROR_MORE_DATA : ERROR_SUCCESS, 4u, type))
                << cbBuffer;
            // A text without a terminator gets one if there is space; it isn't counted.
            const std::string end = type == REG_SZ && cbBuffer >= 6 ? std::string("\0\0##", 4) : "####";
            EXPECT_EQ(buffer, (cbBuffer < 4 ? "####" : text) + end) << cbBuffer;
        }
    }
}

TEST_F(Registry, HandlesOfADeletedKeyStayDead) {
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyW(m_key, TEXT("Gone"), &key), ERROR_SUCCESS);
    ASSERT_EQ(SetValue(key), "ok");
    ASSERT_EQ(DeleteKey(m_key, TEXT("gone")), "ok");
    EXPECT_EQ(SetValue(key), "ERROR_KEY_DELETED");
    EXPECT_EQ(MakeKey(m_key, TEXT("Gone")), "ok");
    EXPECT_EQ(SetValue(key), "ERROR_KEY_DELETED") << "made again, it is another key";
    EXPECT_FALSE(GetValue(HKEY_CURRENT_USER, kProbe + Text(TEXT("\\Gone")), TEXT("x")));
    EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
}

}  // namespace
