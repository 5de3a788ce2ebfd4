// The program's start: reads the command line, chooses the job, asks what has to be asked, closes running
// copies.
#pragma once

#include <framework.h>

class CSetupApp : public CWinApp {
  public:
    // Reads the runtime library's argument vector. Gives 0 when the job ended or the user declined the
    // uninstall, 1 when the user declined to close running copies, otherwise the result of RunInstall. Not
    // the exit code.
    BOOL InitInstance() override;
};

// The process's one-time set-up, in two steps, before InitInstance: the application's name, the system's
// version and the program's own folder in front of Path; then the functions that not every system has.
void PrepareProcess(CWinApp& application);

// Puts the program's own folder in front of the Path variable, both lower-cased, unless the lower-cased value
// already holds the folder anywhere. Programs that setup starts inherit it. A missing variable counts as
// empty. A value of 1024 characters or more is left as it is, since what can't be read whole can't be written
// back; so is any value when the program's own path has MAX_PATH characters or more.
void PutOwnFolderOnPath();
