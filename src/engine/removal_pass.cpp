#include "engine/file_ops.h"

#include "engine/file_steps.h"
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
    ForEachRecord(log.get(), [&](const LogRecord& record) {
        // Every kind is deleted in the folder given. What a portable install copied into the parent folder stays.
        if (IsWanted(record.kind, onlyPrefix)) (void)DeleteMatching(folder, RemovalPattern(record.value));
    });

    // The folders follow their files, so that a mark on a folder comes after the marks on its files.
    std::rewind(log.get());
    ForEachRecord(log.get(), [&](const LogRecord& record) {
        if (record.kind.removal != AtRemoval::RemoveFolder) return;
        const CString path = CString(folder) + TEXT("\\") + record.value;
        if (!RemoveDirectoryW(path)) (void)ScheduleBootDelete(path);
    });
}

void RemoveLoggedLinks(LPCWSTR logPath) {
    const FileStream log(_wfopen(logPath, TEXT("r")));
    if (!log) return;
    ForEachRecord(log.get(), [](const LogRecord& record) {
        if (record.kind.removal == AtRemoval::DeleteLink) (void)DeleteFileW(record.value);
    });
    (void)std::fseek(log.get(), 0, SEEK_SET);
    ForEachRecord(log.get(), [](const LogRecord& record) {
        if (record.kind.removal == AtRemoval::RemoveGroup) RemoveWithEmptyParents(record.value);
    });
}

int DeleteMatching(LPCWSTR folder, LPCWSTR pattern) {
    const CString start = *folder ? WithSeparator(folder) : CString();
    const CString search = start + pattern;
    if (search.GetLength() >= kPathChars) return 0;
    WIN32_FIND_DATAW match;
    const FindHandle find(FindFirstFileW(search, &match));
    if (!find) return 0;

    // Only a backslash separates the pattern's folder from its name. With a forward slash the search finds
    // the file, but the path made here misses it.
    const CString patternText = pattern;
    const CString place = start + patternText.Left(patternText.ReverseFind(TEXT('\\')) + 1);
    int deleted = 0;
    do {
        const CString path = place + match.cFileName;
        ClearReadOnlyAndHidden(path);
        if (DeleteFileW(path)) {
            ++deleted;
        } else {
            (void)ScheduleBootDelete(path);
        }
    } while (FindNextFileW(find.get(), &match));
    return deleted;
}
