// Open files, across processes. The kernel drops a claim with its process.
#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <utility>

#include "core/host_io.h"

namespace winhost {

inline constexpr unsigned kReading = 1, kWriting = 2, kDeleting = 4;
// A host file, opened under Windows' sharing rules. `share` has FILE_SHARE_ flags, `access` the bits above.
class OpenFile {
  public:
    // Returns null, with the last error set, when another opening doesn't share the access or the file can't be opened.
    static std::unique_ptr<OpenFile> Open(const std::string& host, int hostFlags, unsigned access,
                                          unsigned share);
    // Marks a running program or library: it can be renamed, but neither deleted nor written.
    static std::unique_ptr<OpenFile> OpenImage(const std::string& host);
    int descriptor() const { return m_descriptor.get(); }

  private:
    explicit OpenFile(Descriptor descriptor) : m_descriptor(std::move(descriptor)) {}
    Descriptor m_descriptor;
};
// Returns what prevents a delete or a rename of the file: 0, ERROR_SHARING_VIOLATION, or ERROR_ACCESS_DENIED for a running image
// (which may be renamed).
DWORD DeleteBlockedBy(const std::string& host);
DWORD RenameBlockedBy(const std::string& host);
// Whether anybody has the file open or runs from it. Then no other file gets its name.
bool IsInUse(const std::string& host);

}  // namespace winhost
