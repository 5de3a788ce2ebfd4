// The standard streams of this process. Host only.
#pragma once

#include <vector>

#include "common/descriptor.h"

namespace tools {

// Redirects standard input, output and errors of this process, and of what it starts, while the object lives.
class RedirectedStreams {
  public:
    // The first descriptor takes the place of input, the second that of output, and a third that of errors. The object
    // closes them.
    explicit RedirectedStreams(const std::vector<int>& descriptors);
    ~RedirectedStreams();
    RedirectedStreams(const RedirectedStreams&) = delete;
    RedirectedStreams& operator=(const RedirectedStreams&) = delete;

  private:
    std::vector<Descriptor> m_saved;
};

}  // namespace tools
