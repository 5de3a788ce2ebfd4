#include "install/system_registration.h"

#include "app/process_helpers.h"
#include "app/setup_state.h"
#include "harness/registry_values.h"

namespace {

class SystemRegistration : public ScratchTest {
  protected:
    ~SystemRegistration() override { g_isWow64Process = nullptr; }
};

BOOL WINAPI RunsUnder32BitLayer(HANDLE, PBOOL answer) {
    return *answer = TRUE;
}

TEST_F(SystemRegistration, DependsOnProcessAndSystem) {
    const struct {
        IsWow64ProcessFn isWow64;
        DWORD major, minor;
        LPCWSTR handler, imageTypes;
    } rows[] = {
        {nullptr, 6, 2, TEXT("C:\\q\\ThumbQvi32.dll"), TEXT("Qantivo.8")},
        {RunsUnder32BitLayer, 6, 1, TEXT("C:\\q\\x64\\ThumbQvi64.dll"), TEXT("Applications\\QtvApp8.exe")},
        {nullptr, 10, 0, TEXT("C:\\q\\ThumbQvi32.dll"), TEXT("Qantivo.8")},
        {nullptr, 5, 2, TEXT("C:\\q\\ThumbQviXP32.dll"), TEXT("Applications\\QtvApp8.exe")},
        {RunsUnder32BitLayer, 5, 2, TEXT(""), TEXT("Applications\\QtvApp8.exe")},
    };
    for (const auto& row : rows) {
        g_isWow64Process = row.isWow64;
        g_osVersion.dwMajorVersion = row.major;
        g_osVersion.dwMinorVersion = row.minor;
        EXPECT_EQ(ThumbnailHandlerPath(TEXT("C:\\q\\")), row.handler);
        WriteSystemRegistration();
        EXPECT_EQ(GetValue(HKEY_LOCAL_MACHINE, kProductKey + Text(TEXT("\\Capabilities\\FileAssociations")),
                           TEXT(".qvi")),
                  Sz(row.imageTypes));
    }
}

}  // namespace
