// The embedded machine has one user, and no access lists.
#include "private_folder.h"

namespace download {

bool MakeProtectedFolder(LPCWSTR path) {
    return CreateDirectoryW(path, nullptr) != FALSE;
}

bool HaveSameOwner(HANDLE, HANDLE) {
    return true;
}

}  // namespace download
