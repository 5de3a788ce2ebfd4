#include "message_queue.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <deque>

#include "process_table.h"

namespace fs = std::filesystem;

namespace winhost {

namespace {

// Room for the ten thousand messages that a queue of Windows takes.
constexpr int kInboxBytes = 1 << 20;
static_assert(10000 * sizeof(MSG) < kInboxBytes);

struct Queue {
    Descriptor inbox;
    std::string inboxPath;
    std::deque<MSG> messages;
    bool quits = false;
    int exitCode = 0;
};

// Never destroyed: static objects of the program still post as the process ends.
Queue& Own() {
    thread_local auto* queue = new Queue;
    return *queue;
}

std::string InboxPath(const WindowRecord& window) {
    const std::string name = std::to_string(window.holder) + "." + std::to_string(window.thread);
    return (StateFolder() / "queues" / name).native();
}

// Brings in what others have posted.
void Receive(Queue& queue) {
    MSG message;
    while (queue.inbox && read(queue.inbox.get(), &message, sizeof message) == sizeof message)
        queue.messages.push_back(message);
}

bool Send(const std::string& path, const MSG& message) {
    const Descriptor inbox(open(path.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
    if (!inbox) {
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
        return false;
    }
    // So short a text goes in whole or not at all.
    static_assert(sizeof(MSG) <= PIPE_BUF);
    if (write(inbox.get(), &message, sizeof message) == sizeof message) return true;
    SetLastError(ERROR_NOT_ENOUGH_QUOTA);
    return false;
}

// Waits until somebody posts.
void WaitForPost(const Queue& queue) {
    if (!queue.inbox) NotModelled("GetMessageW", "an empty queue that nobody can fill");
    pollfd wanted = {queue.inbox.get(), POLLIN, 0};
    while (poll(&wanted, 1, -1) < 0 && errno == EINTR) {
    }
}

}  // namespace

void OpenInbox(const WindowRecord& window) {
    Queue& queue = Own();
    if (queue.inbox) return;
    queue.inboxPath = InboxPath(window);
    fs::create_directories(fs::path(queue.inboxPath).parent_path());
    (void)unlink(queue.inboxPath.c_str());
    if (mkfifo(queue.inboxPath.c_str(), 0666) == 0)
        queue.inbox = Descriptor(open(queue.inboxPath.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    if (!queue.inbox) NotModelled("CreateWindowExW", "a machine whose queues can't be written");
    (void)fcntl(queue.inbox.get(), F_SETPIPE_SZ, kInboxBytes);
}

void CloseInbox() {
    Queue& queue = Own();
    Receive(queue);
    (void)unlink(queue.inboxPath.c_str());
    queue.inbox = Descriptor();
}

void RemoveInbox(const WindowRecord& window) {
    (void)unlink(InboxPath(window).c_str());
}

void DropMessagesOf(HWND window) {
    Queue& queue = Own();
    Receive(queue);
    std::erase_if(queue.messages, [&](const MSG& message) { return message.hwnd == window; });
}

}  // namespace winhost

BOOL PostMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (winhost::Fails("PostMessageW")) return FALSE;
    const MSG posted = {window, message, wParam, lParam, GetTickCount(), {}};
    // Without a window it goes to the thread itself.
    std::string inbox;
    if (window) {
        winhost::WindowTable table;
        const auto* record = table.Find(window);
        if (!record) return FALSE;
        if (record->thread != GetCurrentThreadId()) inbox = winhost::InboxPath(*record);
    }
    if (!inbox.empty()) return winhost::Send(inbox, posted);
    winhost::Receive(winhost::Own());
    winhost::Own().messages.push_back(posted);
    return TRUE;
}

BOOL GetMessageW(MSG* message, HWND window, UINT first, UINT last) {
    if (winhost::Fails("GetMessageW")) return -1;
    if (window || first || last) winhost::NotModelled("GetMessageW", "a choice of messages");
    auto& queue = winhost::Own();
    for (;;) {
        winhost::Receive(queue);
        if (!queue.messages.empty()) {
            *message = queue.messages.front();
            queue.messages.pop_front();
            return message->message != WM_QUIT;
        }
        // The end of the queue comes behind all that was posted.
        if (queue.quits) break;
        winhost::WaitForPost(queue);
    }
    queue.quits = false;
    *message = {nullptr, WM_QUIT, static_cast<WPARAM>(queue.exitCode), 0, GetTickCount(), {}};
    return FALSE;
}

BOOL TranslateMessage(const MSG*) {
    (void)winhost::FaultOf("TranslateMessage");
    return FALSE;
}

void PostQuitMessage(int exitCode) {
    (void)winhost::FaultOf("PostQuitMessage");
    winhost::Own().quits = true;
    winhost::Own().exitCode = exitCode;
}
