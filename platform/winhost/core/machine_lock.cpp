#include "core/machine_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

#include "core/machine.h"

namespace winhost {

MachineLock::MachineLock(const char* name)
    : m_descriptor(open((StateFolder() / name).c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0666)) {
    if (m_descriptor < 0) NotModelled("MachineLock", "a machine without its .state folder");
    while (flock(m_descriptor, LOCK_EX) != 0 && errno == EINTR) {
    }
}

MachineLock::~MachineLock() {
    close(m_descriptor);
}

}  // namespace winhost
