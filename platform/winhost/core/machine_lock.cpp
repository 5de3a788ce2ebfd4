#include "core/machine_lock.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>

#include "core/machine.h"

namespace winhost {

MachineLock::MachineLock(const char* name)
    : m_file(open((StateFolder() / name).c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0666)) {
    if (!m_file) NotModelled("MachineLock", "a machine without its .state folder");
    while (flock(m_file.get(), LOCK_EX) != 0 && errno == EINTR) {
    }
}

}  // namespace winhost
