#include "engine/file_ops.h"

#include "engine/manifest.h"
#include "support/handles.h"
#include "support/path_text.h"

namespace {

constexpr LPCWSTR kFileKinds[] = {kFileCopy,    kFileCopyX64,   kFileCopyInd,
                                  kFileCopyPrt, kFileOverwrite, kFileDel};

// Every kind is deleted in the folder given: the parent that a portable install copies into is not gone to.
void DeleteRecord(LPCWSTR line, LPCWSTR prefix, LPCWSTR folder) {
    if (RecordValue(line, prefix)) (void)DeleteMatching(folder, RemovalPattern(line, prefix));
}

// The folder, then its parents while they are empty.
void RemoveWithEmptyParents(LPCWSTR deepest) {
    CString folder = deepest;
    while (RemoveDirectoryW(folder))
        folder = ParentDir(folder);
}

}  // namespace

void RunRemovalPass(LPCWSTR logPath, LPCWSTR folder, LPCWSTR onlyPrefix) {
    const FileStream log(_wfopen(logPath, TEXT("r")));
    if (!log) return;
    WCHAR line[kLineChars];
    while (ReadLogLine(line, log.get())) {
        if (onlyPrefix) {
            DeleteRecord(line, onlyPrefix, folder);
        } else {
            for (const LPCWSTR kind : kFileKinds)
                DeleteRecord(line, kind, folder);
        }
    }

    // Folders go once what they hold has gone or is marked; a mark on a folder so comes behind those of its
    // files.
    std::rewind(log.get());
    while (ReadLogLine(line, log.get())) {
        const LPCWSTR made = RecordValue(line, kMakeDir);
        if (!made) continue;
        const CString path = CString(folder) + TEXT("\\") + made;
        if (!RemoveDirectoryW(path)) (void)ScheduleBootDelete(path);
    }
}

void RemoveLoggedLinks(LPCWSTR logPath) {
    const FileStream log(_wfopen(logPath, TEXT("r")));
    if (!log) return;
    WCHAR line[kLineChars];
    while (ReadLogLine(line, log.get())) {
        if (const LPCWSTR link = RecordValue(line, kShellLink)) (void)DeleteFileW(link);
    }

    (void)std::fseek(log.get(), 0, SEEK_SET);
    while (ReadLogLine(line, log.get())) {
        if (const LPCWSTR group = RecordValue(line, kMadeDir)) RemoveWithEmptyParents(group);
    }
}
