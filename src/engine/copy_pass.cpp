#include "engine/file_ops.h"

#include "app/process_helpers.h"
#include "app/run_paths.h"
#include "app/setup_state.h"
#include "engine/file_steps.h"
#include "engine/manifest.h"
#include "support/handles.h"
#include "support/path_text.h"

namespace {

// A value of two names is taken literally. Only a plain value is a pattern, and only a plain value makes
// folders. A comment counts as part of the name, so it disables the record.
void CopyRecord(LPCWSTR value, LPCWSTR folder) {
    CString name, newName;
    if (SplitNames(value, name, newName)) {
        (void)ReplaceFile(name, g_sourceDir, folder, newName);
    } else {
        (void)CopyMatching(value, g_sourceDir, folder);
    }
}

// True when the system finds a library of that name other than the package's own. The package's file is
// renamed during the search, because the system also searches the folder of the running program.
bool LoadsFromElsewhere(LPCWSTR value) {
    CString name = value, newName;
    (void)SplitNames(value, name, newName);
    const CString path = WithSeparator(g_sourceDir) + name;
    const CString hidden = path + TEXT(".toinst");

    (void)MoveFileW(path, hidden);
    const LibraryHandle library(LoadLibraryW(name));
    (void)MoveFileW(hidden, path);
    return library != nullptr;
}

void CarryOutRecord(const LogRecord& record, bool wow64, bool portable) {
    switch (record.kind.install) {
        case AtInstall::Nothing:
            return;
        case AtInstall::Copy:
            return CopyRecord(record.value, g_targetDir);
        case AtInstall::CopyX64:
            if (wow64 || portable) CopyRecord(record.value, g_targetDir);
            return;
        case AtInstall::CopyIfMissing:
            if (portable || !LoadsFromElsewhere(record.value)) CopyRecord(record.value, g_targetDir);
            return;
        case AtInstall::CopyToParent:
            if (portable) CopyRecord(record.value, ParentDir(g_targetDir));
            return;
        case AtInstall::MakeFolder:
            (void)CreateDirectoryW(InTargetDir(record.value), nullptr);
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

bool IsDotName(LPCWSTR name) {
    return wcscmp(name, TEXT(".")) == 0 || wcscmp(name, TEXT("..")) == 0;
}

}  // namespace

void RunCopyPass(LPCWSTR manifestPath) {
    const bool wow64 = IsWow64() != 0;
    const FileStream manifest(_wfopen(manifestPath, TEXT("r")));
    if (!manifest) return;
    const bool portable = g_installType == kPortable;
    WCHAR line[kLineChars];
    while (ReadLogLine(line, manifest.get()))
        CarryOutRecord(ReadRecord(line), wow64, portable);
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
