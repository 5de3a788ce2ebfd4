#include "common/redirected_streams.h"

#include <fcntl.h>
#include <unistd.h>

namespace tools {

RedirectedStreams::RedirectedStreams(const std::vector<int>& descriptors) {
    for (const int descriptor : descriptors) {
        const int stream = static_cast<int>(m_saved.size());
        m_saved.push_back(fcntl(stream, F_DUPFD_CLOEXEC, 3));
        (void)dup2(descriptor, stream);
        (void)close(descriptor);
    }
}

RedirectedStreams::~RedirectedStreams() {
    for (int stream = 0; const int saved : m_saved) {
        (void)dup2(saved, stream++);
        (void)close(saved);
    }
}

}  // namespace tools
