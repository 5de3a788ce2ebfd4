#include "app/setup_state.h"

#include "instances/instance_manager.h"

// These objects are built in the order in which they are defined here. Only within one unit is that order certain.
// The list of running copies comes first: this process enters it before all else, and leaves it last.
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
