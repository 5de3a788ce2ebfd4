// Unpacks a package into an empty folder.
#pragma once

#include <atomic>

#include "archive.h"

namespace download {

// What a person sees of an unpacking, and how they stop it. Threads share it.
class Progress {
  public:
    explicit Progress(const Table& table);

    // Of all bytes, in percent.
    unsigned Share() const { return ShareAt(m_done); }
    void Add(std::uint64_t cb);
    void Cancel() { m_isCancelled = true; }
    bool IsCancelled() const { return m_isCancelled; }

    // Called by any thread when the share has become another one, and when setup has started. Set them before that.
    std::function<void()> onShare, onStarted;

  private:
    unsigned ShareAt(std::uint64_t cb) const { return static_cast<unsigned>(cb * 100 / m_all); }

    const std::uint64_t m_all;
    std::atomic<std::uint64_t> m_done = 0;
    std::atomic<bool> m_isCancelled = false;
};

// Makes the folders, and the files whose bytes the download carries. Looks for space first, and writes nothing when there is
// too little. Unpacks on up to four processors, each with at most cbMostDecoder bytes. Everything is checked. If the outcome
// isn't Right, the folder may hold a part of the package.
Outcome Unpack(const Archive& archive, const CString& folder, Progress& progress);

}  // namespace download
