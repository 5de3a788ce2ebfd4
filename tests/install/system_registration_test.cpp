#include "install/system_registration.h"

#include "app/process_helpers.h"
#include "app/setup_state.h"
#include "harness/registry_values.h"

namespace {

using SystemRegistration = ScratchTest;

TEST_F(SystemRegistration, DependsOnProcessAndSystem) {
    const struct {
        bool wow64;
        std::pair<DWORD, DWORD> system;
        LPCWSTR handler, imageTypes;
    } rows[] = {
        {false, {6, 2}, TEXT("C:\\q\\ThumbQvi32.dll"), TEXT("Qantivo.8")},
        {false, {10, 0}, TEXT("C:\\q\\ThumbQvi32.dll"), TEXT("Qantivo.8")},
        {false, {5, 2}, TEXT("C:\\q\\ThumbQviXP32.dll"), TEXT("Applications\\QtvApp8.exe")},
        {true, {6, 1}, TEXT("C:\\q\\x64\\ThumbQvi64.dll"), TEXT("Applications\\QtvApp8.exe")},
        {true, {5, 2}, TEXT(""), TEXT("Applications\\QtvApp8.exe")},
    };
    for (const auto& row : rows) {
        if (row.wow64) g_isWow64Process = [](HANDLE, PBOOL answer) -> BOOL { return *answer = TRUE; };
        g_osVersion.dwMajorVersion = row.system.first;
        g_osVersion.dwMinorVersion = row.system.second;
        EXPECT_EQ(ThumbnailHandlerPath(TEXT("C:\\q\\")), row.handler);
        WriteSystemRegistration();
        EXPECT_EQ(GetValue(HKEY_LOCAL_MACHINE, kProductKey + Text(TEXT("\\Capabilities\\FileAssociations")),
                           TEXT(".qvi")),
                  Sz(row.imageTypes));
    }
}

}  // namespace
