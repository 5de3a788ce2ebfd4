#include "core/host_io.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "core/machine.h"

namespace winhost {

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    if (this != &other) {
        if (m_value >= 0) close(m_value);
        m_value = other.Release();
    }
    return *this;
}

Descriptor::~Descriptor() {
    if (m_value >= 0) close(m_value);
}

int Descriptor::Release() {
    const int value = m_value;
    m_value = -1;
    return value;
}

bool WriteAtOnce(int descriptor, const void* data, std::size_t cbData) {
    const char* next = static_cast<const char*>(data);
    while (cbData > 0) {
        const ssize_t written = write(descriptor, next, cbData);
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return false;
        next += written;
        cbData -= static_cast<std::size_t>(written);
    }
    return true;
}

DWORD ErrorOf(int hostError) {
    switch (hostError) {
        case 0:
            return ERROR_SUCCESS;
        case ENOENT:
            return ERROR_FILE_NOT_FOUND;
        case ENOTDIR:
            return ERROR_PATH_NOT_FOUND;
        case EEXIST:
            return ERROR_ALREADY_EXISTS;
        case ENOTEMPTY:
            return ERROR_DIR_NOT_EMPTY;
        case ENOSPC:
        case EDQUOT:
        case EFBIG:
            return ERROR_DISK_FULL;
        case ENAMETOOLONG:
            return ERROR_INVALID_NAME;
        case ETXTBSY:
            return ERROR_SHARING_VIOLATION;
        case ENOMEM:
            return ERROR_NOT_ENOUGH_MEMORY;
        case EMFILE:
        case ENFILE:
            return ERROR_TOO_MANY_OPEN_FILES;
        case EACCES:
        case EPERM:
        case EROFS:
        case EISDIR:
        case EBUSY:
        case EINVAL:
        case ELOOP:
            return ERROR_ACCESS_DENIED;
        default:
            NotModelled("the host", std::string("its error: ") + std::strerror(hostError));
    }
}

}  // namespace winhost
