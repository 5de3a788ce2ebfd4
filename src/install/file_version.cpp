#include "install/file_version.h"

#include <cstring>
#include <memory>
#include <new>

#include "app/process_helpers.h"
#include "app/run_values.h"
#include "support/handles.h"
#include "support/path_text.h"

namespace {

// An import of the version library would be searched in the folder of the setup program first, which may be a
// download folder: Windows doesn't protect that library's name. So it is loaded late, and by its full path.
LibraryHandle LoadVersionLibrary() {
    WCHAR folder[kPathChars];
    const UINT cchFolder = GetSystemDirectoryW(folder, kPathChars);
    if (cchFolder == 0 || cchFolder >= kPathChars) return nullptr;
    return LibraryHandle(LoadLibraryW(CString(folder) + TEXT("\\version.dll")));
}

bool ReadFixedBlock(LPCWSTR path, VS_FIXEDFILEINFO& fixed) {
    const LibraryHandle library = LoadVersionLibrary();
    if (!library) return false;
    const auto getSize =
        FindFunction<decltype(&GetFileVersionInfoSizeW)>(library.get(), "GetFileVersionInfoSizeW");
    const auto getBlock = FindFunction<decltype(&GetFileVersionInfoW)>(library.get(), "GetFileVersionInfoW");
    const auto query = FindFunction<decltype(&VerQueryValueW)>(library.get(), "VerQueryValueW");
    if (!getSize || !getBlock || !query) return false;

    DWORD ignored;
    const DWORD cbBlock = getSize(path, &ignored);
    if (cbBlock < sizeof fixed) return false;
    const std::unique_ptr<BYTE[]> block(new (std::nothrow) BYTE[cbBlock]());
    if (!block || !getBlock(path, 0, cbBlock, block.get())) return false;
    void* found;
    UINT cbFound;
    if (!query(block.get(), TEXT("\\"), &found, &cbFound) || cbFound < sizeof fixed) return false;
    // A damaged block may name a place outside itself.
    const BYTE* const start = static_cast<const BYTE*>(found);
    if (start < block.get() || start > block.get() + (cbBlock - sizeof fixed)) return false;
    std::memcpy(&fixed, start, sizeof fixed);
    return true;
}

}  // namespace

void ReadFileVersion(LPCWSTR path) {
    g_version = {};
    VS_FIXEDFILEINFO fixed;
    if (!ReadFixedBlock(path, fixed)) return;
    g_version = {HIWORD(fixed.dwFileVersionMS), LOWORD(fixed.dwFileVersionMS), HIWORD(fixed.dwFileVersionLS),
                 LOWORD(fixed.dwFileVersionLS)};
}
