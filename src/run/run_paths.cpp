#include "run/run_paths.h"

#include "run/product.h"
#include "support/path_text.h"

CString InTargetDir(LPCWSTR name) {
    return g_targetDir + TEXT("\\") + name;
}

CString InSourceDir(LPCWSTR name) {
    return g_sourceDir + TEXT("\\") + name;
}

CString LogPath() {
    return InTargetDir(kLogFile);
}

CString ManifestPath() {
    return InSourceDir(kLogFile);
}

CString OwnPath() {
    WCHAR path[kPathChars];
    const DWORD cchPath = GetModuleFileNameW(nullptr, path, kPathChars);
    return cchPath < kPathChars ? CString(path, static_cast<int>(cchPath)) : CString();
}
