// Registry values: the program works with any value that it reads, and an uninstall removes its key.
#include "app/setup_state.h"
#include "install/earlier_install.h"
#include "install/install_driver.h"
#include "fuzz_machine.h"
#include "run/earlier_folder.h"
#include "support/registry.h"
#include "uninstall/file_associations.h"
#include "uninstall/registry_purge.h"
#include <winhost.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    (void)CloseHandles();
    winhost::ClearEvents();
    Put("registry.reg", Bytes(data, size));
    (void)GetInstalledFolder();
    (void)GetProgramFilesDir();
    g_installType = 1;
    AdoptInstallType();
    // Before Windows Vista the program restores more values.
    for (const DWORD major : {10, 5}) {
        g_osVersion.dwMajorVersion = major;
        RestoreFileAssociations();
    }
    PurgeRegistry(TEXT("Lorvanta"), kProductName, kProductName, kApplicationFile);
    Require(!RegKeyExists(HKEY_LOCAL_MACHINE, kProductKey), "the product's key is gone");
    return 0;
}
