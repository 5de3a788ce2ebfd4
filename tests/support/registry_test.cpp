#include "support/registry.h"

#include "harness/registry_values.h"
#include "harness/scratch.h"

namespace {

const Text kKey = TEXT("SOFTWARE\\Lorvanta\\Test\\Two levels");

using Registry = ScratchTest;

TEST_F(Registry, TextsAreReadUpToTheLimitWhateverTheirType) {
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
