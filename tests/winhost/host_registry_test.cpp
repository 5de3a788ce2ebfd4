// The registry's file, which processes share and people edit, and what only this machine's registry has.
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>

#include "harness/registry_values.h"
#include "core/machine.h"

namespace fs = std::filesystem;

namespace {

constexpr WCHAR kProbe[] = TEXT("Software\\Lorvanta\\Probe");

const fs::path kStore = winhost::Root() / "registry.reg";

// Replaces the file by another one, so that it is read again.
void WriteText(const std::string& text) {
    const fs::path fresh = kStore.native() + ".edited";
    std::ofstream(fresh, std::ios::binary) << text;
    fs::rename(fresh, kStore);
}

class HostRegistry : public ScratchTest {
  protected:
    HostRegistry() : m_before(BuildBytes(kStore)) {}
    ~HostRegistry() override { WriteText(m_before); }

    const std::string m_before;
};

std::vector<Text> SubKeys(HKEY hive, const Text& path) {
    std::vector<Text> names;
    WCHAR name[256];
    const auto key = OpenKey(hive, path);
    for (DWORD index = 0; RegEnumKeyW(key.get(), index, name, 256) == ERROR_SUCCESS; ++index)
        names.push_back(name);
    return names;
}

TEST_F(HostRegistry, KeepsBytesInItsTextForm) {
    const std::string lone("\x00\xD8x\0\0\0", 6);
    const struct {
        LPCWSTR name;
        StoredValue value;
        const char* line;  // in the file
    } rows[] = {
        {nullptr, Sz(TEXT("default")), "@=\"default\""},
        {TEXT("@"), Sz(TEXT("")), "\"@\"=\"\""},
        {TEXT("a\"b\\c\nd="), Sz(TEXT("x\\\"y\"\n\r[z]\t\\n")),
         "\"a\\\"b\\\\c\\nd=\"=\"x\\\\\\\"y\\\"\\n\r[z]\t\\\\n\""},
        {TEXT("\u4E2D\U0001F600"), Sz(TEXT("\U0001F600\u00E4")), "=\"\xF0\x9F\x98\x80\xC3\xA4\""},
        {TEXT("half a pair"), {REG_SZ, lone}, "half"},
        {TEXT("half a unit"), {REG_SZ, {"a\0\0\0b", 5}}, "=hex(1):61,00,00,00,62"},
        {TEXT("empty text"), {REG_SZ, ""}, "=hex(1):"},
        {TEXT("list"), {REG_MULTI_SZ, {"a\0\0\0b\0\0\0\0\0", 10}}, "=hex(7):61,00,00,00,62,00,00,00,00,00"},
        {TEXT("number"), Number(0xA5), "=dword:000000a5"},
        {TEXT("short number"), {REG_DWORD, "abc"}, "=hex(4):61,62,63"},
        {TEXT("bytes"), {REG_BINARY, {"\xFF\x00", 2}}, "=hex:ff,00"},
        {TEXT("type of its own"), {0xABCDEF01, "z"}, "=hex(abcdef01):7a"},
    };
    for (const auto& row : rows)
        PutValue(HKEY_CURRENT_USER, kProbe, row.name, row.value);
    const std::string text = BuildBytes(kStore);
    WriteText(text);
    for (const auto& row : rows) {
        EXPECT_EQ(GetValue(HKEY_CURRENT_USER, kProbe, row.name), row.value) << row.line;
        EXPECT_NE(text.find(row.line), text.npos) << row.line;
    }
    // Written again from what was read, the file is the same.
    PutValue(HKEY_CURRENT_USER, kProbe, nullptr, rows[0].value);
    EXPECT_EQ(BuildBytes(kStore), text);
    EXPECT_EQ(RegDeleteValueW(OpenKey(HKEY_CURRENT_USER, kProbe, KEY_SET_VALUE).get(), TEXT("number")),
              ERROR_SUCCESS);
    EXPECT_EQ(BuildBytes(kStore).find("\"number\""), text.npos);
}

TEST_F(HostRegistry, IgnoresLinesThatItCantRead) {
    WriteText("\xEF\xBB\xBF" + m_before +
              "[HKEY_CURRENT_USER\\Software]\n\"alias\"=\"x\"\n[HKEY_NOWHERE\\x]\n\"nowhere\"=\"x\"\n"
              "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Lorvanta]\r\n"
              "\"good\"=\"1\"\r\n\"list\"=hex(7):61,00,\\\r\n  00,00,\\\r\n  00,00\r\n"
              "\"open=\"x\"\n\"open\"=\"x\n\"tail\"=\"x\"y\n\"digits\"=dword:xyz\n\"hex\"=hex:1,,2\n\"kind\"="
              "hex(:00\n"
              "\"none\"\nnoise\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Lorvanta\n\"unclosed\"=\"x\"\n"
              "[HKEY_LOCAL_MACHINE\\\\SOFTWARE\\lorvanta\\]\n\"also good\"=dword:7\n\\");
    constexpr WCHAR kKey[] = TEXT("SOFTWARE\\Lorvanta");
    EXPECT_EQ(GetValue(HKEY_LOCAL_MACHINE, kKey, TEXT("good")), Sz(TEXT("1")));
    EXPECT_EQ(GetValue(HKEY_LOCAL_MACHINE, kKey, TEXT("list")),
              (StoredValue{REG_MULTI_SZ, {"a\0\0\0\0\0", 6}}));
    EXPECT_EQ(GetValue(HKEY_LOCAL_MACHINE, kKey, TEXT("also good")), Number(7));
    WCHAR name[32];
    DWORD cchName = 32;
    EXPECT_EQ(RegEnumValueW(OpenKey(HKEY_LOCAL_MACHINE, kKey).get(), 3, name, &cchName, nullptr, nullptr,
                            nullptr, nullptr),
              ERROR_NO_MORE_ITEMS);
}

TEST_F(HostRegistry, LosesNoWriteOfManyProcesses) {
    constexpr int kProcesses = 4, kWrites = 25;
    const auto name = [](int process, int write) {
        return Text{static_cast<WCHAR>(u'a' + process), static_cast<WCHAR>(u'A' + write)};
    };
    std::vector<pid_t> writers;
    for (int process = 0; process < kProcesses; ++process) {
        writers.push_back(fork());
        if (writers.back() != 0) continue;
        for (int write = 0; write < kWrites; ++write)
            PutValue(HKEY_CURRENT_USER, kProbe + (TEXT("\\") + name(process, write)), nullptr, Number(42));
        _exit(0);
    }
    for (const pid_t writer : writers) {
        int status = 1;
        waitpid(writer, &status, 0);
        EXPECT_EQ(status, 0);
    }
    const std::vector<Text> written = SubKeys(HKEY_CURRENT_USER, kProbe);
    EXPECT_EQ(written.size(), std::size_t{kProcesses * kWrites});
    for (const Text& key : written)
        EXPECT_EQ(GetValue(HKEY_CURRENT_USER, kProbe + (TEXT("\\") + key), nullptr), Number(42));
}

TEST_F(HostRegistry, ShowsTheUsersClassesOverTheMachines) {
    const Text key = TEXT("QV8.Document"), user = TEXT("Software\\Classes\\") + key,
               machine = TEXT("SOFTWARE\\Classes\\") + key;
    PutValue(HKEY_LOCAL_MACHINE, machine, TEXT("both"), Sz(TEXT("machine")));
    PutValue(HKEY_CLASSES_ROOT, key + TEXT("\\b"), nullptr, Sz(TEXT("machine")));
    EXPECT_TRUE(HasKey(HKEY_LOCAL_MACHINE, machine + TEXT("\\b"))) << "where new keys go";
    PutValue(HKEY_CURRENT_USER, user, TEXT("both"), Sz(TEXT("user")));
    PutValue(HKEY_CURRENT_USER, user + TEXT("\\a"), nullptr, Sz(TEXT("1")));
    PutValue(HKEY_CURRENT_USER, user + TEXT("\\B"), TEXT("other"), Sz(TEXT("1")));

    EXPECT_EQ(SubKeys(HKEY_CLASSES_ROOT, key), (std::vector<Text>{TEXT("a"), TEXT("B")}));
    EXPECT_EQ(GetValue(HKEY_CLASSES_ROOT, key, TEXT("both")), Sz(TEXT("user")));
    EXPECT_EQ(GetValue(HKEY_CLASSES_ROOT, key + TEXT("\\b"), nullptr), Sz(TEXT("machine")));
    PutValue(HKEY_CLASSES_ROOT, key + TEXT("\\b"), TEXT("set"), Sz(TEXT("1")));
    EXPECT_TRUE(GetValue(HKEY_CURRENT_USER, user + TEXT("\\b"), TEXT("set")));
    // Each deletion affects one place, the user's first.
    for (const bool usersIsThere : {true, false}) {
        EXPECT_EQ(HasKey(HKEY_CURRENT_USER, user + TEXT("\\b")), usersIsThere);
        EXPECT_TRUE(HasKey(HKEY_LOCAL_MACHINE, machine + TEXT("\\b")));
        EXPECT_EQ(RegDeleteKeyW(HKEY_CLASSES_ROOT, (key + TEXT("\\b")).c_str()), ERROR_SUCCESS);
    }
    EXPECT_FALSE(HasKey(HKEY_CLASSES_ROOT, key + TEXT("\\b")));
}

}  // namespace
