#include "engine/file_ops.h"

#include "run/run_values.h"

namespace {

// The name has no folder, so the profile functions look in the Windows folder.
constexpr WCHAR kInitFile[] = TEXT("WININIT.INI");
constexpr WCHAR kRenameSection[] = TEXT("rename");
constexpr DWORD kSectionChars = 16384;
constexpr WCHAR kEntryStart[] = TEXT("NUL=");
constexpr std::size_t cchEntryStart = 4;

// Appends an entry to the section. The left side "NUL" means delete.
BOOL AddRenameEntry(LPCWSTR path) {
    WCHAR section[kSectionChars];
    section[0] = 0;
    const std::size_t count = GetPrivateProfileSectionW(kRenameSection, section, kSectionChars, kInitFile);
    // The null that closes the list follows the entry and its own null.
    const std::size_t end = count + cchEntryStart + wcslen(path) + 1;
    // Writing back a list that was cut would lose marks of other programs.
    if (end >= kSectionChars) AfxFailFast();
    wcscpy(section + count, kEntryStart);
    wcscpy(section + count + cchEntryStart, path);
    section[end] = 0;
    return WritePrivateProfileSectionW(kRenameSection, section, kInitFile);
}

}  // namespace

int ScheduleBootDelete(LPCWSTR path) {
    if (const BOOL marked = MoveFileExW(path, nullptr, MOVEFILE_DELAY_UNTIL_REBOOT)) return marked;
    return AddRenameEntry(path);
}

int ScheduleBootReplace(LPCWSTR source, LPCWSTR target) {
    g_rebootNeeded = MoveFileExW(source, target, MOVEFILE_DELAY_UNTIL_REBOOT);
    // On purpose the entry is that of a delete: on this route the source is deleted, and never replaces the target.
    if (!g_rebootNeeded) g_rebootNeeded = AddRenameEntry(source);
    return g_rebootNeeded;
}
