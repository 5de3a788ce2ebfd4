// A folder of the host for one run of a tool. Host only.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>

#include "common/descriptor.h"

namespace tools {

// Makes <parent>/<tool>.XXXXXX. The destructor removes it with everything in it; in a forked child it removes nothing.
// If a run is killed, its folder stays until the next run of the same tool and user removes it. A file in the folder tells it
// from what others made, so that nothing else is removed.
class ThrowawayFolder {
  public:
    // Throws std::system_error or std::runtime_error when no folder can be made or marked.
    explicit ThrowawayFolder(const std::string& tool,
                             const std::filesystem::path& parent = std::filesystem::temp_directory_path());
    ~ThrowawayFolder();
    ThrowawayFolder(const ThrowawayFolder&) = delete;
    ThrowawayFolder& operator=(const ThrowawayFolder&) = delete;
    const std::filesystem::path& Path() const { return m_path; }

  private:
    std::filesystem::path m_path;
    Descriptor m_lock;
    const pid_t m_owner;
};

}  // namespace tools
