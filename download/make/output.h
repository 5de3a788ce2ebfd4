// The file of a download while it is made.
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string_view>

#include "package.h"

namespace download_make {

// Writes the parts of a download. It throws std::runtime_error when the file can't be written, or when all parts together
// aren't smaller than 4 GiB.
class Output {
  public:
    explicit Output(const std::filesystem::path& path) : m_path(path), m_file(path, std::ios::binary) {}

    void Write(std::string_view bytes) {
        m_cb += bytes.size();
        if (m_cb > cbMostDownload)
            throw std::runtime_error("the download is larger than 4 GiB, which Windows doesn't start");
        if (!m_file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()))) Fail();
    }
    std::uint64_t Size() const { return m_cb; }
    void Close() {
        m_file.close();
        if (!m_file) Fail();
    }

  private:
    [[noreturn]] void Fail() const { throw std::runtime_error(m_path.string() + " can't be written"); }

    std::filesystem::path m_path;
    std::ofstream m_file;
    std::uint64_t m_cb = 0;
};

}  // namespace download_make
