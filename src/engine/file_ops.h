// The file engine: what other rooms call. No operation reports an error or throws; a file in use never stops
// one. A mark that finds the fallback list full ends the process, and with it each operation that marks.
#pragma once

#include <framework.h>

// Puts one file into a folder, whatever stands there.
//   name        the file, relative to fromFolder
//   fromFolder  and toFolder: with or without a closing separator
//   newName     the name in toFolder, or null to keep `name`; an empty string counts as a name
// Non-zero when the job counts as done; 0 when the source is missing or the last copy failed, which includes
// the case that the replacement waits for the next start of the machine (g_rebootNeeded tells). A path of
// MAX_PATH characters or more fails as the platform's calls fail on it.
int ReplaceFile(LPCWSTR name, LPCWSTR fromFolder, LPCWSTR toFolder, LPCWSTR newName);

// Marks a file or an empty folder for deletion at the next start of the machine. Non-zero when a mark was
// placed. Ends the process when the fallback section "rename" of WININIT.INI would reach 16,384 characters.
int ScheduleBootDelete(LPCWSTR path);

// Marks a move at the next start, without leave to replace, and stores the result in g_rebootNeeded. By way
// of the fallback section the source is deleted instead. Non-zero when a mark was placed.
int ScheduleBootReplace(LPCWSTR source, LPCWSTR target);

// Deletes what the pattern matches in the folder; what can't be deleted is marked. Sub-folders and the
// entries "." and
// ".." are matches like any other. Gives the number of files deleted at once. A search path of MAX_PATH
// characters or more matches nothing.
int DeleteMatching(LPCWSTR folder, LPCWSTR pattern);

// Carries out the manifest from top to bottom, from g_sourceDir into g_targetDir. An unreadable manifest ends
// it at once; no record stops it.
void RunCopyPass(LPCWSTR manifestPath);

// Copies what the pattern matches, and makes the target folders. The walk stops at the first file that
// ReplaceFile gives 0 for. Gives the number of files done.
int CopyMatching(LPCWSTR pattern, LPCWSTR fromFolder, LPCWSTR toFolder);

// Turns a manifest or log back into deletions below `folder`: files, then the folders of its "Make Dir: "
// records. onlyPrefix limits the files to one kind; null takes all six.
void RunRemovalPass(LPCWSTR logPath, LPCWSTR folder, LPCWSTR onlyPrefix);

// Deletes the shortcuts that a log names, then its group folders with their empty parents.
void RemoveLoggedLinks(LPCWSTR logPath);
