#include "install/file_version.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

#include "run/process_helpers.h"
#include "run/run_values.h"
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
    if (!LiesInBlock(found, sizeof fixed, block.get(), cbBlock)) return false;
    std::memcpy(&fixed, found, sizeof fixed);
    return true;
}

}  // namespace

bool LiesInBlock(const void* value, std::size_t cbValue, const void* block, std::size_t cbBlock) {
    const auto start = reinterpret_cast<std::uintptr_t>(block),
               place = reinterpret_cast<std::uintptr_t>(value);
    return place >= start && cbValue <= cbBlock && place - start <= cbBlock - cbValue;
}

void ReadFileVersion(LPCWSTR path) {
    g_version = {};
    VS_FIXEDFILEINFO fixed;
    if (!ReadFixedBlock(path, fixed)) return;
    g_version = {HIWORD(fixed.dwFileVersionMS), LOWORD(fixed.dwFileVersionMS), HIWORD(fixed.dwFileVersionLS),
                 LOWORD(fixed.dwFileVersionLS)};
}
