#include <aclapi.h>
#include <sddl.h>

#include "private_folder.h"

namespace download {

namespace {

// Owned by administrators, inherits nothing, and open to administrators and the system, with all that is made in it.
constexpr WCHAR kAdministratorsOnly[] = L"O:BAG:BAD:P(A;OICI;FA;;;BA)(A;OICI;FA;;;SY)";

struct LocalFreer {
    void operator()(void* memory) const { (void)LocalFree(memory); }
};
using LocalMemory = std::unique_ptr<void, LocalFreer>;

PSID OwnerOf(HANDLE folder, LocalMemory& descriptor) {
    PSID owner = nullptr;
    PSECURITY_DESCRIPTOR memory = nullptr;
    if (GetSecurityInfo(folder, SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION, &owner, nullptr, nullptr, nullptr,
                        &memory) != ERROR_SUCCESS)
        return nullptr;
    descriptor.reset(memory);
    return owner;
}

}  // namespace

bool MakeProtectedFolder(LPCWSTR path) {
    PSECURITY_DESCRIPTOR memory = nullptr;
    if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(kAdministratorsOnly, SDDL_REVISION_1, &memory,
                                                              nullptr))
        return false;
    const LocalMemory descriptor(memory);
    SECURITY_ATTRIBUTES security = {sizeof security, descriptor.get(), FALSE};
    return CreateDirectoryW(path, &security) != FALSE;
}

bool HaveSameOwner(HANDLE folder, HANDLE other) {
    LocalMemory descriptor, otherDescriptor;
    const PSID owner = OwnerOf(folder, descriptor), otherOwner = OwnerOf(other, otherDescriptor);
    return owner && otherOwner && EqualSid(owner, otherOwner);
}

}  // namespace download
