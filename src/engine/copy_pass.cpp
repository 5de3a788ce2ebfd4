#include "engine/file_ops.h"

#include "engine/file_steps.h"
#include "engine/manifest.h"
#include "run/process_helpers.h"
#include "run/run_values.h"
#include "support/handles.h"
#include "support/path_text.h"

namespace {

// Where the pass copies from and to, and which kinds of records it copies.
struct CopyJob {
    CString from, to;
    bool wow64, portable;
};

// A value of two names is taken literally. Only a plain value is a pattern, and only a plain value makes
// folders. A comment counts as part of the name, so it disables the record.
void CopyRecord(LPCWSTR value, LPCWSTR from, LPCWSTR to) {
    CString name, newName;
    if (SplitNames(value, name, newName)) {
        (void)ReplaceFile(name, from, to, newName);
    } else {
        (void)CopyMatching(value, from, to);
    }
}

// True when the system finds a library of that name other than the package's own. The package's file is
// renamed during the search, because the system also searches the folder of the running program.
bool LoadsFromElsewhere(LPCWSTR value, LPCWSTR packageFolder) {
    CString name = value, newName;
    (void)SplitNames(value, name, newName);
    const CString path = WithSeparator(packageFolder) + name;
    const CString hidden = path + TEXT(".toinst");

    (void)MoveFileW(path, hidden);
    const LibraryHandle library(LoadLibraryW(name));
    (void)MoveFileW(hidden, path);
    return library != nullptr;
}

void CarryOutRecord(const LogRecord& record, const CopyJob& job) {
    switch (record.kind.install) {
        case AtInstall::Nothing:
            return;
        case AtInstall::Copy:
            return CopyRecord(record.value, job.from, job.to);
        case AtInstall::CopyX64:
            if (job.wow64 || job.portable) CopyRecord(record.value, job.from, job.to);
            return;
        case AtInstall::CopyIfMissing:
            if (job.portable || !LoadsFromElsewhere(record.value, job.from))
                CopyRecord(record.value, job.from, job.to);
            return;
        case AtInstall::CopyToParent:
            if (job.portable) CopyRecord(record.value, job.from, ParentDir(job.to));
            return;
        case AtInstall::MakeFolder:
            (void)CreateDirectoryW(job.to + TEXT("\\") + record.value, nullptr);
            return;
    }
}

// Makes the folder with every level above it. The trim also removes the leading backslashes of a network path.
void MakeFolders(CString& folder) {
    folder.Trim(TEXT(" \t\r\n\\"));
    for (int end = folder.Find(TEXT('\\')); end >= 0; end = folder.Find(TEXT('\\'), end + 1)) {
        (void)CreateDirectoryW(folder.Left(end), nullptr);
    }
    (void)CreateDirectoryW(folder, nullptr);
}

bool IsDotName(const CString& name) {
    return name == TEXT(".") || name == TEXT("..");
}

}  // namespace

void RunCopyPass(LPCWSTR manifestPath, LPCWSTR fromFolder, LPCWSTR toFolder) {
    const CopyJob job = {fromFolder, toFolder, IsWow64() != 0, g_installType == kPortable};
    const FileStream manifest(_wfopen(manifestPath, TEXT("r")));
    if (!manifest) return;
    ForEachRecord(manifest.get(), [&](const LogRecord& record) { CarryOutRecord(record, job); });
}

int CopyMatching(LPCWSTR pattern, LPCWSTR fromFolder, LPCWSTR toFolder) {
    const CString search = WithSeparator(fromFolder) + pattern;
    WIN32_FIND_DATAW match;
    const FindHandle find(FindFirstFileW(search, &match));
    if (!find) return 0;

    CString target = CopyTarget(toFolder, pattern);
    if (GetFileAttributesW(target) == INVALID_FILE_ATTRIBUTES) MakeFolders(target);
    const CString source = CopySource(fromFolder, pattern);

    int done = 0;
    do {
        if (IsDotName(match.cFileName)) continue;
        // The first failure ends the pattern; the pass continues with its next record.
        if (!ReplaceFile(match.cFileName, source, target, nullptr)) break;
        ++done;
    } while (FindNextFileW(find.get(), &match));
    return done;
}
