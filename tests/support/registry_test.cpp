#include "support/registry.h"

#include "harness/registry_values.h"

#ifdef _WIN32
#include <sddl.h>
#endif

namespace {

const Text kKey = TEXT("SOFTWARE\\Lorvanta\\Test\\Two levels");

using Registry = ScratchTest;

TEST_F(Registry, TextsOfAnyTypeAreReadUpToTheLimit) {
    const struct {
        StoredValue stored;
        Text read;
    } rows[] = {
        {Sz(Text(129, 'x')), Text(129, 'x')},
        {Sz(Text(130, 'x')), TEXT("")},
        {{REG_BINARY, std::string(260, 'A')}, Text(130, 0x4141)},  // fills the limit without a terminator
        {{REG_BINARY, std::string("a\0b", 3)}, TEXT("ab")},
        {Sz(TEXT("%TEMP%"), REG_EXPAND_SZ), TEXT("%TEMP%")},
    };
    for (const auto& row : rows) {
        PutValue(HKEY_LOCAL_MACHINE, kKey, nullptr, row.stored);
        EXPECT_EQ(GetRegString(HKEY_LOCAL_MACHINE, kKey.c_str(), nullptr).Text(), row.read);
    }
    EXPECT_TRUE(GetRegString(HKEY_LOCAL_MACHINE, kKey.c_str(), TEXT("None")).IsEmpty());
}

#ifdef _WIN32  // The embedded machine has only a user who may do everything.
// A user who may only read finds the values.
TEST_F(Registry, KeysAreOpenedOnlyForReading) {
    PutValue(HKEY_LOCAL_MACHINE, kKey, nullptr, Sz(TEXT("text")));
    const auto owner = OpenKey(HKEY_LOCAL_MACHINE, kKey, KEY_ALL_ACCESS);
    for (const LPCWSTR rights : {TEXT("D:(A;;KR;;;WD)"), TEXT("D:(A;;KA;;;WD)")}) {
        PSECURITY_DESCRIPTOR descriptor = nullptr;
        ASSERT_TRUE(ConvertStringSecurityDescriptorToSecurityDescriptorW(rights, SDDL_REVISION_1, &descriptor,
                                                                         nullptr));
        EXPECT_EQ(RegSetKeySecurity(owner.get(), DACL_SECURITY_INFORMATION, descriptor), ERROR_SUCCESS);
        LocalFree(descriptor);
        EXPECT_EQ(OpenKey(HKEY_LOCAL_MACHINE, kKey, KEY_ALL_ACCESS) == nullptr, rights[7] == 'R');
        EXPECT_EQ(GetRegString(HKEY_LOCAL_MACHINE, kKey.c_str(), nullptr), TEXT("text"));
    }
}
#endif

TEST_F(Registry, WritersMakeMissingLevelsAndStoreTheTerminator) {
    EXPECT_FALSE(RegKeyExists(HKEY_CURRENT_USER, kKey.c_str()));
    EXPECT_EQ(SetRegString(HKEY_CURRENT_USER, kKey.c_str(), TEXT("Name"), TEXT("")), 1);
    EXPECT_EQ(SetRegDword(HKEY_CURRENT_USER, kKey.c_str(), TEXT("Number"), 0x80000001), 1);
    EXPECT_TRUE(RegKeyExists(HKEY_CURRENT_USER, kKey.c_str()));
    EXPECT_EQ(GetValue(HKEY_CURRENT_USER, kKey, TEXT("Name")), Sz(TEXT("")));
    EXPECT_EQ(GetValue(HKEY_CURRENT_USER, kKey, TEXT("Number")), Number(0x80000001));
    EXPECT_EQ(SetRegString(nullptr, kKey.c_str(), TEXT("Name"), TEXT("x")), 0);
    EXPECT_EQ(SetRegString(HKEY_CURRENT_USER, kKey.c_str(), Text(20000, 'n').c_str(), TEXT("x")), 0);
}

}  // namespace
