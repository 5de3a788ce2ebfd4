// A folder of the host for one run of a tool.
#pragma once

#include <filesystem>
#include <string>

// Makes <temporary folder>/<tool>.XXXXXX, and removes it with all below it in the end. A run that was killed
// leaves its folder behind: the next one of the same tool and user removes it.
class ThrowawayFolder {
  public:
    // Throws std::system_error when there is no folder to be had.
    explicit ThrowawayFolder(const std::string& tool);
    ~ThrowawayFolder();
    ThrowawayFolder(const ThrowawayFolder&) = delete;
    ThrowawayFolder& operator=(const ThrowawayFolder&) = delete;
    const std::filesystem::path& Path() const { return m_path; }

  private:
    std::filesystem::path m_path;
    int m_lock = -1;
};
