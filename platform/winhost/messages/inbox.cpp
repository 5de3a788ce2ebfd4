#include "messages/inbox.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "core/machine.h"
#include "core/thread_state.h"
#include <winhost.h>

namespace fs = std::filesystem;

namespace winhost {

namespace {

fs::path QueueFolder() {
    return StateFolder() / "queues";
}

// The address of a socket must be short, so it goes through the folder's descriptor.
struct SocketAddress {
    Descriptor folder;
    sockaddr_un address = {};
    explicit SocketAddress(const std::string& inbox)
        : folder(open(QueueFolder().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)) {
        address.sun_family = AF_UNIX;
        std::snprintf(address.sun_path, sizeof address.sun_path, "/proc/self/fd/%d/%s", folder.get(),
                      inbox.c_str());
    }
    const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&address); }
};

Descriptor NewSocket() {
    return Descriptor(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
}

}  // namespace

std::string InboxName(std::uint64_t holder, DWORD thread) {
    return std::to_string(holder) + "." + std::to_string(thread);
}

std::string PostsPath(const std::string& inbox) {
    return (QueueFolder() / (inbox + ".posts")).native();
}

Inbox& OwnInbox() {
    return StateOfThread<Inbox>();
}

void OpenInbox(const std::string& name) {
    fs::create_directories(QueueFolder());
    RemoveInbox(name);
    const SocketAddress address(name);
    Inbox inbox = {name, Descriptor(open(PostsPath(name).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666)),
                   NewSocket()};
    if (!inbox.posts || bind(inbox.socket.get(), address.get(), sizeof address.address) != 0 ||
        listen(inbox.socket.get(), SOMAXCONN) != 0)
        NotModelled("CreateWindowExW", "a machine whose queues can't be written");
    OwnInbox() = std::move(inbox);
}

void CloseInbox() {
    RemoveInbox(OwnInbox().name);
    OwnInbox() = {};
}

void RemoveInbox(const std::string& name) {
    (void)unlink(PostsPath(name).c_str());
    (void)unlink((QueueFolder() / name).c_str());
}

Descriptor Connect(const std::string& inbox) {
    Descriptor connection = NewSocket();
    const SocketAddress address(inbox);
    if (connect(connection.get(), address.get(), sizeof address.address) != 0) return Descriptor();
    return connection;
}

}  // namespace winhost
