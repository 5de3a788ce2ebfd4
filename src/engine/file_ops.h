// The file engine, as other rooms call it. No operation reports an error or throws, and a file in use never
// stops one. One failure ends the process: a mark that doesn't fit into the fallback list.
#pragma once

#include <framework.h>

// Puts one file into a folder, and replaces the file of that name there.
//   name                  the file, relative to fromFolder
//   fromFolder, toFolder  with or without a closing separator
//   newName               the name in toFolder, or null to keep `name`; an empty string counts as a name
// Returns non-zero when the job counts as done. Returns 0 when the source is missing or the last copy failed.
// That includes a replacement that waits for the next start of the machine; g_rebootNeeded is then set. A
// path of MAX_PATH characters or more fails.
int ReplaceFile(LPCWSTR name, LPCWSTR fromFolder, LPCWSTR toFolder, LPCWSTR newName);

// Marks a file or an empty folder for deletion at the next start of the machine. Returns non-zero when a mark was
// placed. Ends the process when the fallback section "rename" of WININIT.INI would reach 16,384 characters.
int ScheduleBootDelete(LPCWSTR path);

// Marks a move for the next start, which doesn't replace an existing target. The result is stored in
// g_rebootNeeded and returned: non-zero when a mark was placed. The fallback section can't hold moves, so the
// source is then marked for deletion.
int ScheduleBootReplace(LPCWSTR source, LPCWSTR target);

// Carries out the manifest from top to bottom, from the package's folder into the target folder. A record that fails
// doesn't stop it. It has no effect when the manifest can't be opened.
void RunCopyPass(LPCWSTR manifestPath, LPCWSTR fromFolder, LPCWSTR toFolder);

// Copies what the pattern matches, and makes the target folders. Stops at the first file for which
// ReplaceFile returns 0. Returns the number of files done.
int CopyMatching(LPCWSTR pattern, LPCWSTR fromFolder, LPCWSTR toFolder);

// Removes from `folder` what a manifest or log names: first the files, then the folders of the "Make Dir: "
// records. onlyPrefix limits the files to records with that prefix; null stands for all six kinds.
void RunRemovalPass(LPCWSTR logPath, LPCWSTR folder, LPCWSTR onlyPrefix);

// Deletes what the pattern matches in the folder, and marks what can't be deleted. Sub-folders and the
// entries "." and ".." count as matches. Returns the number of files deleted at once. A search path of
// MAX_PATH characters or more matches nothing.
int DeleteMatching(LPCWSTR folder, LPCWSTR pattern);

// Deletes the shortcuts that a log names, then the group folders with their empty parents.
void RemoveLoggedLinks(LPCWSTR logPath);
