// Modules in the embedded machine.
#include "support/scratch.h"
#include "winhost.h"

namespace {

class HostModules : public ScratchTest {};

const std::string kLibrary = QTV_BUILD_FOLDER "/package/runtime9.dll";

TEST_F(HostModules, AreLoadedBySearchAndCounted) {
    ImportFile(kLibrary, TEXT("C:\\Scratch\\runtime9.dll"));
    ImportFile(kLibrary, TEXT("C:\\Windows\\System32\\runtime9.dll"));
    const unsigned handles = winhost::OpenHandles();
    EXPECT_EQ(GetModuleHandleW(TEXT("runtime9.dll")), nullptr) << "nothing is loaded by asking";
    const HMODULE module = LoadLibraryW(TEXT("runtime9"));
    ASSERT_TRUE(module);
    EXPECT_EQ(LoadLibraryW(TEXT("C:\\windows\\system32\\runtime9.dll")), module);
    EXPECT_EQ(GetModuleHandleA("RUNTIME9.DLL"), module);
    WCHAR path[MAX_PATH];
    const DWORD cchPath = GetModuleFileNameW(module, path, MAX_PATH);
    EXPECT_EQ(Text(path, cchPath), TEXT("C:\\Windows\\System32\\runtime9.dll"))
        << "System32 before the current folder";
    EXPECT_TRUE(GetProcAddress(module, "RuntimeVersion"));
    EXPECT_FALSE(GetProcAddress(module, "NoSuchFunction"));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_PROC_NOT_FOUND});

    EXPECT_TRUE(FreeLibrary(module));
    EXPECT_FALSE(DeleteFileW(path)) << "still loaded once";
    EXPECT_TRUE(FreeLibrary(module));
    EXPECT_TRUE(DeleteFileW(path));
    EXPECT_FALSE(FreeLibrary(module));
    EXPECT_EQ(winhost::OpenHandles(), handles);
}

}  // namespace
