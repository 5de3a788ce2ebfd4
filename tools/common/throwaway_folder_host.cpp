#include "common/throwaway_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace fs = std::filesystem;

namespace tools {

namespace {

// Opens and locks the folder. Returns -1 when somebody uses it, or when it isn't this user's. The kernel drops the lock
// with the process, so a folder that can be locked is in use by nobody.
int LockFolder(const fs::path& folder) {
    const int lock = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    struct stat info;
    if (lock >= 0 && fstat(lock, &info) == 0 && info.st_uid == geteuid() &&
        flock(lock, LOCK_EX | LOCK_NB) == 0)
        return lock;
    if (lock >= 0) close(lock);
    return -1;
}

void Remove(const fs::path& folder) {
    std::error_code error;
    fs::remove_all(folder, error);
}

void RemoveStale(const fs::path& parent, const std::string& start) {
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(parent, error)) {
        if (!entry.path().filename().string().starts_with(start)) continue;
        const int lock = LockFolder(entry.path());
        if (lock < 0) continue;
        Remove(entry.path());
        close(lock);
    }
}

}  // namespace

ThrowawayFolder::ThrowawayFolder(const std::string& tool, const fs::path& parent) : m_owner(getpid()) {
    RemoveStale(parent, tool + ".");
    // Another run may take the new folder for an old one before it is locked.
    while (m_lock < 0 || !fs::exists(m_path)) {
        if (m_lock >= 0) close(m_lock);
        std::string name = (parent / (tool + ".XXXXXX")).string();
        if (!mkdtemp(name.data()))
            throw std::system_error(errno, std::generic_category(), "no temporary folder");
        m_path = name;
        m_lock = LockFolder(m_path);
    }
}

ThrowawayFolder::~ThrowawayFolder() {
    if (m_owner == getpid()) Remove(m_path);
    close(m_lock);
}

}  // namespace tools
