// Where an earlier installation is.
#pragma once

#include <framework.h>

// The folder of the installation that the registry knows, without a closing separator; empty when there is none.
CString GetInstalledFolder();

// The last folder that the command line names for the installation, without a closing separator; empty when there is none.
CString GetFolderOption();
