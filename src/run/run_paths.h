// Folders and paths of one run.
#pragma once

#include <framework.h>

// The installation folder and the folder of the running program, both without a trailing separator.
extern CString g_targetDir;
extern CString g_sourceDir;
// The program group, as a path relative to the Programs folder.
extern CString g_groupName;
// The folder of the self-extracting package that started this setup; empty without one.
extern CString g_sfxDir;

// A file or folder in g_targetDir or g_sourceDir.
CString InTargetDir(LPCWSTR name);
CString InSourceDir(LPCWSTR name);

// The log of the installation in g_targetDir, and the manifest in g_sourceDir that becomes the log.
CString LogPath();
CString ManifestPath();

// The full path of the running program. Empty when it has MAX_PATH characters or more: Windows cuts such a
// path, and what is left names another file.
CString OwnPath();
