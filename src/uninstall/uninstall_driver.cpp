#include "uninstall/uninstall_driver.h"

#include <shlobj.h>

#include "engine/file_ops.h"
#include "run/process_helpers.h"
#include "run/product.h"
#include "support/path_text.h"
#include "support/registry.h"
#include "support/shell_folders.h"
#include "uninstall/file_associations.h"
#include "uninstall/reg_scratch.h"
#include "uninstall/registry_purge.h"

namespace {

void UnregisterApplication(const CString& folder) {
    (void)ExecAndWait(TEXT("\"") + folder + kApplicationFile + TEXT("\" -unregonly"), folder, kUnregisterMs);
}

void RemoveLoggedItems(const CString& folder) {
    const CString olderLog = folder + kOlderLogFile;
    const CString log = folder + kLogFile;
    RemoveLoggedLinks(olderLog);
    RemoveLoggedLinks(log);
    RunRemovalPass(olderLog, folder, nullptr);
    RunRemovalPass(log, folder, nullptr);
    (void)DeleteMatching(folder, kLogFile);
}

void RemoveInstallFolders(const CString& folder) {
    const CString x64 = folder + TEXT("\\x64");
    const CString x32 = folder + TEXT("\\x32");
    if (!RemoveDirectoryW(x64)) (void)ScheduleBootDelete(x64);
    if (!RemoveDirectoryW(x32) && Exists(x32)) (void)ScheduleBootDelete(x32);
    // On purpose the x32 folder decides here, too: without one, a folder that holds the user's files gets no mark.
    if (!RemoveDirectoryW(folder) && Exists(x32)) (void)ScheduleBootDelete(folder);
    RemoveParentFolder(folder, kProductName);
}

void DeleteProductLink(const CString& folder) {
    (void)DeleteFileW(folder + TEXT("\\") + kProductName + TEXT(".lnk"));
}

// Deletes everything in the group, including the user's own files.
void DeleteProductGroup(const CString& programs) {
    const CString group = programs + TEXT("\\") + kProductName + TEXT("\\");
    (void)DeleteMatching(group, TEXT("*.*"));
    (void)RemoveDirectoryW(group);
}

void SweepCommonFolders() {
    for (const int folder : {CSIDL_COMMON_STARTUP, CSIDL_COMMON_DESKTOPDIRECTORY}) {
        const CString path = GetShellFolder(folder);
        if (path.GetLength() > kNoFolderChars) DeleteProductLink(path);
    }
    const CString programs = GetShellFolder(CSIDL_COMMON_PROGRAMS);
    if (programs.GetLength() > kNoFolderChars) DeleteProductGroup(programs);
}

// Only the scratch text decides, not the results of the reads.
void SweepUser(HKEY user) {
    {
        const RegistryKey folders = OpenRegKey(user, kShellFoldersKey, KEY_ALL_ACCESS);
        if (!folders) return;
        for (const LPCWSTR value : {TEXT("Startup"), TEXT("Desktop")}) {
            (void)ReadRegScratch(folders.get(), value);
            if (*g_regScratch) DeleteProductLink(g_regScratch);
        }
        (void)ReadRegScratch(folders.get(), TEXT("Programs"));
    }
    if (*g_regScratch) DeleteProductGroup(g_regScratch);
}

void SweepUserFolders() {
    for (DWORD index = 0; RegEnumKeyW(HKEY_USERS, index, g_regScratch, kRegScratchChars) == ERROR_SUCCESS;
         ++index)
        if (const RegistryKey user = OpenRegKey(HKEY_USERS, g_regScratch, KEY_ALL_ACCESS))
            SweepUser(user.get());
}

}  // namespace

void RemoveParentFolder(const CString& folder, const CString& productName) {
    if (productName.Find('\\') < 0) return;
    CString parent = folder;
    while (parent.Last() == '\\')
        parent = parent.Left(parent.GetLength() - 1);
    parent = parent.Left(parent.ReverseFind('\\'));
    if (!RemoveDirectoryW(parent)) (void)ScheduleBootDelete(parent);
}

void PerformUninstall(LPCWSTR folder) {
    UnregisterApplication(folder);
    PurgeRegistry(TEXT("Lorvanta"), kProductName, kProductName, kApplicationFile);
    RestoreFileAssociations();
    RemoveLoggedItems(folder);
    // The current folder of a process can't be removed.
    (void)SetCurrentDirectoryW(TEXT("\\"));
    RemoveInstallFolders(folder);
    SweepCommonFolders();
    SweepUserFolders();
}
