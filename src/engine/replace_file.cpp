#include "engine/file_ops.h"

#include "engine/file_steps.h"
#include "support/path_text.h"

namespace {

// The target can be neither deleted nor moved, so the new file waits beside it. The delete mark comes first,
// because the delayed move doesn't replace.
void ParkForNextStart(LPCWSTR source, LPCWSTR target) {
    (void)ScheduleBootDelete(target);
    const CString parked = CString(target) + TEXT(".new");
    (void)DeleteFileW(parked);
    if (CopyFileW(source, parked, FALSE)) (void)ScheduleBootReplace(parked, target);
}

// Deletes the target. A target in use is moved aside. When that fails too, the source is parked.
void ClearTheWay(LPCWSTR source, LPCWSTR target) {
    ClearReadOnlyAndHidden(target);
    if (DeleteFileW(target)) return;

    CString old = CString(target) + TEXT(".old");
    if (Exists(old) && !DeleteFileW(old)) {
        (void)ScheduleBootDelete(old);
        old += TEXT('2');
        (void)DeleteFileW(old);
    }
    if (MoveFileW(target, old)) {
        (void)ScheduleBootDelete(old);
    } else {
        ParkForNextStart(source, target);
    }
}

}  // namespace

int ReplaceFile(LPCWSTR name, LPCWSTR fromFolder, LPCWSTR toFolder, LPCWSTR newName) {
    const CString from = WithSeparator(fromFolder);
    const CString to = WithSeparator(toFolder);
    // Only the texts are compared: one folder in two spellings counts as two folders, and the source is then
    // deleted as the target.
    const bool sameFolder = from.CompareNoCase(to) == 0;
    if (sameFolder && !newName) return 1;

    const CString source = from + name;
    if (!Exists(source)) return 0;
    const CString target = to + (newName ? newName : name);

    if (sameFolder) {
        // If another process has taken the source in the meantime, an existing target counts as done.
        if (!Exists(source)) return Exists(target);
        if (Exists(target) && !DeleteFileW(target)) return 1;
    }
    if (Exists(target)) ClearTheWay(source, target);
    // The copy is tried after parking, too. It then fails on the target in use, and the result 0 tells the
    // caller that the job waits for a restart.
    return CopyFileW(source, target, FALSE);
}
