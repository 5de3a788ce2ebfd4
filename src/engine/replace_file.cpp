#include "engine/file_ops.h"

#include "engine/file_steps.h"
#include "support/path_text.h"

namespace {

// The target neither goes nor moves: the new file waits beside it. The delete mark goes first, since the
// delayed move does not replace.
void ParkForNextStart(LPCWSTR source, LPCWSTR target) {
    (void)ScheduleBootDelete(target);
    const CString parked = CString(target) + TEXT(".new");
    (void)DeleteFileW(parked);
    if (CopyFileW(source, parked, FALSE)) (void)ScheduleBootReplace(parked, target);
}

// Deletes the target. One in use is moved aside; when even that fails, the source is parked.
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
    // As text alone: one folder in two spellings counts as two, and its file is then lost to the delete
    // below.
    const bool sameFolder = from.CompareNoCase(to) == 0;
    if (sameFolder && !newName) return 1;

    const CString source = from + name;
    if (!Exists(source)) return 0;
    const CString target = to + (newName ? newName : name);

    if (sameFolder) {
        // Another process may have taken the source meanwhile; then what stands at the target has to do.
        if (!Exists(source)) return Exists(target);
        if (Exists(target) && !DeleteFileW(target)) return 1;
    }
    if (Exists(target)) ClearTheWay(source, target);
    // After parking too: that copy fails on the held target, and 0 tells the caller that the job waits for a
    // restart.
    return CopyFileW(source, target, FALSE);
}
