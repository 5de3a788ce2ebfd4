#include "common/throwaway_folder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace fs = std::filesystem;

namespace tools {

namespace {

constexpr char kMark[] = ".throwaway";
constexpr int kRandomChars = 6;

// Opens and locks the folder. Returns none when somebody uses it, or when it isn't this user's. The kernel drops the lock
// with the process, so a folder that can be locked is in use by nobody.
Descriptor LockFolder(const fs::path& folder) {
    Descriptor lock(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat info;
    const bool isLocked = lock && fstat(lock.get(), &info) == 0 && info.st_uid == geteuid() &&
                          flock(lock.get(), LOCK_EX | LOCK_NB) == 0;
    return isLocked ? std::move(lock) : Descriptor();
}

void Remove(const fs::path& folder) {
    std::error_code error;
    fs::remove_all(folder, error);
}

// Whether a tool made the folder: it has the name that mkdtemp chooses, and the mark of this class.
bool IsOurs(const fs::path& folder, const std::string& tool) {
    const std::string name = folder.filename().string();
    return name.size() == tool.size() + 1 + kRandomChars && name.starts_with(tool + ".") &&
           std::all_of(name.end() - kRandomChars, name.end(),
                       [](unsigned char c) { return std::isalnum(c); }) &&
           fs::is_regular_file(fs::symlink_status(folder / kMark));
}

void RemoveStale(const fs::path& parent, const std::string& tool) {
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(parent, error)) {
        if (!IsOurs(entry.path(), tool)) continue;
        if (const Descriptor lock = LockFolder(entry.path())) Remove(entry.path());
    }
}

}  // namespace

ThrowawayFolder::ThrowawayFolder(const std::string& tool, const fs::path& parent) : m_owner(getpid()) {
    RemoveStale(parent, tool);
    std::string name = (parent / (tool + "." + std::string(kRandomChars, 'X'))).string();
    if (!mkdtemp(name.data())) throw std::system_error(errno, std::generic_category(), "no temporary folder");
    m_path = name;
    // No other run touches a folder without the mark, so the mark comes after the lock.
    m_lock = LockFolder(m_path);
    std::ofstream mark(m_path / kMark);
    if (!m_lock || !mark) {
        Remove(m_path);
        throw std::runtime_error(name + " can't be used");
    }
}

ThrowawayFolder::~ThrowawayFolder() {
    if (m_owner == getpid()) Remove(m_path);
}

}  // namespace tools
