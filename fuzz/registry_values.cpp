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

void TryInput(std::string_view input) {
    (void)CloseHandles();
    winhost::ClearEvents();
    Put("registry.reg", input);
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
}
