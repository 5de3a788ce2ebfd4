#include "app/setup_state.h"

#include "app/setup_app.h"
#include "instances/instance_manager.h"

// The objects below are built in the order in which they stand, which only one unit can promise. The list
// comes first: a process that counts the running copies finds this one among them, and it leaves the list last.
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
