#include "install/system_registration.h"

#include "app/process_helpers.h"
#include "app/setup_state.h"
#include "support/registry_values.h"

namespace {

class SystemRegistration : public ScratchTest {
  protected:
    ~SystemRegistration() override { g_isWow64Process = nullptr; }
};

// The users of the install and the generation of the system change one value each.
TEST_F(SystemRegistration, DependsOnUsersAndSystem) {
    const Text product = TEXT("SOFTWARE\\Lorvanta\\Qantivo 8");
    const struct {
        int installType;
        DWORD major, minor;
        LPCWSTR allUsers, target;
    } rows[] = {
        {1, 10, 0, TEXT("B"), TEXT("Qantivo.8")},
        {0, 6, 2, TEXT("A"), TEXT("Qantivo.8")},
        {0, 6, 1, TEXT("A"), TEXT("Applications\\QtvApp8.exe")},
        {1, 5, 2, TEXT("B"), TEXT("Applications\\QtvApp8.exe")},
    };
    for (const auto& row : rows) {
        g_installType = row.installType;
        g_osVersion.dwMajorVersion = row.major;
        g_osVersion.dwMinorVersion = row.minor;
        WriteSystemRegistration();
        EXPECT_EQ(GetValue(HKEY_LOCAL_MACHINE, product, TEXT("AllUsers")), Sz(row.allUsers));
        for (const LPCWSTR extension : {TEXT(".bmp"), TEXT(".qvi")})
            EXPECT_EQ(
                GetValue(HKEY_LOCAL_MACHINE, product + TEXT("\\Capabilities\\FileAssociations"), extension),
                Sz(row.target));
    }
}

BOOL WINAPI RunsUnder32BitLayer(HANDLE, PBOOL answer) {
    return *answer = TRUE;
}

TEST_F(SystemRegistration, ChoosesTheHandlerByProcessAndSystem) {
    const struct {
        IsWow64ProcessFn isWow64;
        DWORD major;
        LPCWSTR handler;
    } rows[] = {
        {nullptr, 6, TEXT("C:\\q\\ThumbQvi32.dll")},
        {nullptr, 5, TEXT("C:\\q\\ThumbQviXP32.dll")},
        {RunsUnder32BitLayer, 6, TEXT("C:\\q\\x64\\ThumbQvi64.dll")},
        {RunsUnder32BitLayer, 5, TEXT("")},
    };
    for (const auto& row : rows) {
        g_isWow64Process = row.isWow64;
        g_osVersion.dwMajorVersion = row.major;
        EXPECT_EQ(ThumbnailHandlerPath(TEXT("C:\\q\\")), row.handler);
    }
}

}  // namespace
