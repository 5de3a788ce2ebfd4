// The objects of a run, for tests. Tests don't link the program's own objects: here the list of running copies has
// another name. Before each test, all variables of the run get their start values again.
#include "app/setup_state.h"

#include "run/process_helpers.h"
#include "app/setup_app.h"
#include "instances/instance_manager.h"

#include <gtest/gtest.h>

#include <tuple>

COXInstanceManager g_instanceManager(TEXT("Qantivo.Tests"), kInstanceExtraBytes, false);
CSetupApp theApp;
CString g_targetDir;
CString g_sourceDir;
CString g_groupName;
CString g_sfxDir;

namespace {

class StartValues : public ::testing::EmptyTestEventListener {
    void OnTestStart(const ::testing::TestInfo&) override { Set(); }

  public:
    static void Set() {
        auto all = std::tie(g_silentMode, g_installType, g_desktopIcon, g_autoStart, g_runAfter,
                            g_freshInstall, g_rebootNeeded, g_upgradeOlder, g_settingsFromPackage, g_version,
                            g_targetDir, g_sourceDir, g_groupName, g_sfxDir);
        static const auto start =
            std::apply([](const auto&... values) { return std::tuple(values...); }, all);
        all = start;
        g_isWow64Process = nullptr;
        g_osVersion = {};
        g_osVersion.dwOSVersionInfoSize = sizeof g_osVersion;
        g_osVersion.dwMajorVersion = 10;
        theApp.m_pszAppName = kProductName;
    }
};

// A child program runs no test, but starts with the same values.
const bool added = [] {
    StartValues::Set();
    ::testing::UnitTest::GetInstance()->listeners().Append(new StartValues);
    return true;
}();

}  // namespace
