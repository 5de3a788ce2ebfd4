#include "app/setup_state.h"

#include "app/setup_app.h"
#include "instances/instance_manager.h"

int g_silentMode = 1;
int g_installType = 1;
int g_desktopIcon = 1;
int g_autoStart = 0;
int g_runAfter = 0;
int g_freshInstall = 0;
int g_rebootNeeded = 0;
int g_upgradeOlder = 0;
int g_settingsFromPackage = 0;
VersionNumbers g_version = {};
RTL_OSVERSIONINFOEXW g_osVersion = {};

// The objects below are built in the order in which they stand, which only one unit can promise. The list
// comes first: whoever counts the running copies finds this process among them, and it leaves the list last.
COXInstanceManager g_instanceManager(kInstanceListName, kInstanceExtraBytes, true);
CSetupApp theApp;
CString g_targetDir;
CString g_sourceDir;
CString g_groupName;
CString g_sfxDir;

namespace {

struct ProcessSetUp {
    ProcessSetUp() { PrepareProcess(theApp); }
} processSetUp;

}  // namespace
