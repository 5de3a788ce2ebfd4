// The run's variables for tests, which don't link the program's own definitions: these come back to their
// start values before each test, and the list of running copies is another one than the product's.
#include "app/setup_state.h"

#include "app/setup_app.h"
#include "instances/instance_manager.h"

#include <gtest/gtest.h>

int g_silentMode = 1;
int g_installType = 1;
int g_desktopIcon = 1;
int g_autoStart;
int g_runAfter;
int g_freshInstall;
int g_rebootNeeded;
int g_upgradeOlder;
int g_settingsFromPackage;
VersionNumbers g_version;
CString g_targetDir;
CString g_sourceDir;
CString g_groupName;
CString g_sfxDir;
RTL_OSVERSIONINFOEXW g_osVersion;
COXInstanceManager g_instanceManager(TEXT("Qantivo.Tests"), kInstanceExtraBytes, false);
CSetupApp theApp;

namespace {

class StartValues : public ::testing::EmptyTestEventListener {
    void OnTestStart(const ::testing::TestInfo&) override { Set(); }

  public:
    static void Set() {
        g_silentMode = g_installType = g_desktopIcon = 1;
        g_autoStart = g_runAfter = g_freshInstall = g_rebootNeeded = g_upgradeOlder = g_settingsFromPackage =
            0;
        g_version = {};
        for (CString* text : {&g_targetDir, &g_sourceDir, &g_groupName, &g_sfxDir})
            *text = CString();
        g_osVersion = {};
        g_osVersion.dwOSVersionInfoSize = sizeof g_osVersion;
        g_osVersion.dwMajorVersion = 10;
        theApp.m_pszAppName = kProductName;
    }
};

// A child program has no tests, and starts with the values all the same.
const bool added = [] {
    StartValues::Set();
    ::testing::UnitTest::GetInstance()->listeners().Append(new StartValues);
    return true;
}();

}  // namespace
