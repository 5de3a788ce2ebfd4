#include "common/redirected_streams.h"

#include <fcntl.h>
#include <unistd.h>

namespace tools {

RedirectedStreams::RedirectedStreams(const std::vector<int>& descriptors) {
    for (const int descriptor : descriptors) {
        const int stream = static_cast<int>(m_saved.size());
        m_saved.emplace_back(fcntl(stream, F_DUPFD_CLOEXEC, 3));
        (void)dup2(Descriptor(descriptor).get(), stream);
    }
}

RedirectedStreams::~RedirectedStreams() {
    for (int stream = 0; const Descriptor& saved : m_saved)
        (void)dup2(saved.get(), stream++);
}

}  // namespace tools
