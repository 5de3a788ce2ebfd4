// The program's start: reads the command line, chooses the job, asks the questions that come before it, and
// closes running copies.
#pragma once

#include <framework.h>

class COXInstanceManager;

class CSetupApp : public CWinApp {
  public:
    // Reads the runtime library's argument vector. Returns 0 when the job ended or the user declined the
    // uninstall, 1 when the user declined to close running copies, and otherwise the result of RunInstall.
    // The result is not the exit code.
    BOOL InitInstance() override;
};

extern COXInstanceManager g_instanceManager;
extern CSetupApp theApp;

// Sets the process up once, before InitInstance: the application's name, the system's version, the program's
// own folder in front of Path, and the functions that not every system has.
void PrepareProcess(CWinApp& application);

// Puts the program's own folder in front of the Path variable. Both are lower-cased. Nothing changes when the
// lower-cased value already contains the folder. Programs that setup starts inherit the value. A missing
// variable counts as empty. A value of 1024 characters or more can't be read whole, so it is left as it is.
// It is also left when the program's own path has MAX_PATH characters or more.
void PutOwnFolderOnPath();
