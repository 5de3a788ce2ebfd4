#include "engine/file_ops.h"

#include "engine/manifest.h"
#include "support/handles.h"
#include "support/path_text.h"

namespace {

bool IsWanted(const RecordKind& kind, LPCWSTR onlyPrefix) {
    return onlyPrefix ? wcscmp(kind.prefix, onlyPrefix) == 0 : kind.removal == AtRemoval::DeleteFiles;
}

// Removes the folder, then its parents as long as they are empty.
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
        // Every kind is deleted in the folder given. What a portable install copied into the parent folder stays.
        const LogRecord record = ReadRecord(line);
        if (IsWanted(record.kind, onlyPrefix)) (void)DeleteMatching(folder, RemovalPattern(record.value));
    }

    // The folders follow their files, so that a mark on a folder comes after the marks on its files.
    std::rewind(log.get());
    while (ReadLogLine(line, log.get())) {
        const LogRecord record = ReadRecord(line);
        if (record.kind.removal != AtRemoval::RemoveFolder) continue;
        const CString path = CString(folder) + TEXT("\\") + record.value;
        if (!RemoveDirectoryW(path)) (void)ScheduleBootDelete(path);
    }
}

void RemoveLoggedLinks(LPCWSTR logPath) {
    const FileStream log(_wfopen(logPath, TEXT("r")));
    if (!log) return;
    WCHAR line[kLineChars];
    while (ReadLogLine(line, log.get())) {
        const LogRecord record = ReadRecord(line);
        if (record.kind.removal == AtRemoval::DeleteLink) (void)DeleteFileW(record.value);
    }

    (void)std::fseek(log.get(), 0, SEEK_SET);
    while (ReadLogLine(line, log.get())) {
        const LogRecord record = ReadRecord(line);
        if (record.kind.removal == AtRemoval::RemoveGroup) RemoveWithEmptyParents(record.value);
    }
}
