#include "messages/message_queue.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <deque>

#include "core/faults.h"
#include "core/host_io.h"
#include "core/machine.h"
#include "messages/own_windows.h"
#include "messages/sent_messages.h"
#include "messages/window_table.h"

namespace fs = std::filesystem;

namespace winhost {

namespace {

// The most messages that a queue of Windows holds.
constexpr std::uint64_t kMostMessages = 10000;
constexpr int kKeyCount = 256;
constexpr BYTE kKeyDown = 0x80;

// The file of posted messages begins with the number of messages that the thread has received and not handed out. The
// messages follow.
struct PostsHeader {
    std::uint64_t held;
};

struct Queue {
    Descriptor posts;
    Descriptor door;
    std::string name;
    std::deque<MSG> messages;
    bool quits = false;
    int exitCode = 0;
    BYTE keys[kKeyCount] = {};
};

// The queue of the first thread is never destroyed: static objects of the program still post while the process ends.
Queue& ThreadQueue() {
    thread_local Queue* queue = nullptr;
    if (queue) return *queue;
    queue = new Queue;
    if (GetCurrentThreadId() != GetCurrentProcessId()) {
        thread_local const std::unique_ptr<Queue> owner(queue);
    }
    return *queue;
}

fs::path QueueFolder() {
    return StateFolder() / "queues";
}

std::string NameOf(const WindowRecord& window) {
    return std::to_string(window.holder) + "." + std::to_string(window.thread);
}

std::string PostsPath(const std::string& name) {
    return (QueueFolder() / (name + ".posts")).native();
}

// The address of a socket must be short, so it goes through the folder's descriptor.
struct DoorAddress {
    Descriptor folder;
    sockaddr_un address = {};
    explicit DoorAddress(const std::string& name)
        : folder(open(QueueFolder().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)) {
        address.sun_family = AF_UNIX;
        std::snprintf(address.sun_path, sizeof address.sun_path, "/proc/self/fd/%d/%s", folder.get(),
                      name.c_str());
    }
    const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&address); }
};

Descriptor NewSocket() {
    return Descriptor(socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
}

Descriptor KnockAt(const std::string& name) {
    Descriptor connection = NewSocket();
    const DoorAddress door(name);
    if (connect(connection.get(), door.get(), sizeof door.address) != 0) return Descriptor();
    return connection;
}

std::uint64_t CountPosts(int posts) {
    const off_t size = lseek(posts, 0, SEEK_END);
    return size > off_t{sizeof(PostsHeader)}
               ? (static_cast<std::uint64_t>(size) - sizeof(PostsHeader)) / sizeof(MSG)
               : 0;
}

off_t PlaceOfPost(std::uint64_t number) {
    return static_cast<off_t>(sizeof(PostsHeader) + number * sizeof(MSG));
}

void WriteHeld(const Queue& queue) {
    const PostsHeader header = {queue.messages.size()};
    if (queue.posts) (void)!pwrite(queue.posts.get(), &header, sizeof header, 0);
}

// Receives what other threads and processes have posted.
void Receive(Queue& queue) {
    if (!queue.posts) return;
    const WindowTable lock;
    const std::uint64_t count = CountPosts(queue.posts.get());
    if (count == 0) return;
    std::vector<MSG> posted(count);
    const std::size_t cbPosted = count * sizeof(MSG);
    if (pread(queue.posts.get(), posted.data(), cbPosted, PlaceOfPost(0)) != static_cast<ssize_t>(cbPosted) ||
        ftruncate(queue.posts.get(), sizeof(PostsHeader)) != 0)
        NotModelled("GetMessageW", "a machine whose queues can't be read");
    queue.messages.insert(queue.messages.end(), posted.begin(), posted.end());
    WriteHeld(queue);
}

bool Quota(std::uint64_t waiting) {
    if (waiting < kMostMessages) return true;
    SetLastError(ERROR_NOT_ENOUGH_QUOTA);
    return false;
}

// Called with the table locked, as in Receive. The other thread is woken before the message is written, but finds the
// message when it gets the lock. So no message is lost when this process is killed between the two steps.
bool Post(const std::string& name, const MSG& message) {
    const Descriptor posts(open(PostsPath(name).c_str(), O_RDWR | O_CLOEXEC));
    if (!posts) {
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
        return false;
    }
    PostsHeader header = {};
    (void)!pread(posts.get(), &header, sizeof header, 0);
    const std::uint64_t count = CountPosts(posts.get());
    if (!Quota(header.held + count)) return false;
    if (count == 0) (void)KnockAt(name);
    return pwrite(posts.get(), &message, sizeof message, PlaceOfPost(count)) == sizeof message;
}

// Returns the character of a key on this machine's keyboard, or 0.
char16_t CharacterOf(WPARAM key) {
    if (key == VK_BACK || key == VK_TAB || key == VK_RETURN || key == VK_ESCAPE || key == VK_SPACE)
        return static_cast<char16_t>(key);
    if (key >= '0' && key <= '9') return static_cast<char16_t>(key);
    if (key < 'A' || key > 'Z') return 0;
    return static_cast<char16_t>(GetKeyState(VK_SHIFT) < 0 ? key : key + ('a' - 'A'));
}

}  // namespace

bool PostToSelf(const MSG& message) {
    Queue& queue = ThreadQueue();
    Receive(queue);
    if (!Quota(queue.messages.size())) return false;
    queue.messages.push_back(message);
    WriteHeld(queue);
    return true;
}

void OpenInbox(const WindowRecord& window) {
    Queue& queue = ThreadQueue();
    if (queue.door) return;
    queue.name = NameOf(window);
    fs::create_directories(QueueFolder());
    RemoveInbox(window);
    const DoorAddress address(queue.name);
    queue.posts = Descriptor(open(PostsPath(queue.name).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666));
    WriteHeld(queue);
    queue.door = NewSocket();
    if (!queue.posts || bind(queue.door.get(), address.get(), sizeof address.address) != 0 ||
        listen(queue.door.get(), SOMAXCONN) != 0)
        NotModelled("CreateWindowExW", "a machine whose queues can't be written");
}

void CloseInbox() {
    Queue& queue = ThreadQueue();
    Receive(queue);
    (void)unlink(PostsPath(queue.name).c_str());
    (void)unlink((QueueFolder() / queue.name).c_str());
    queue.posts = Descriptor();
    queue.door = Descriptor();
}

void RemoveInbox(const WindowRecord& window) {
    (void)unlink(PostsPath(NameOf(window)).c_str());
    (void)unlink((QueueFolder() / NameOf(window)).c_str());
}

void DropMessagesOf(HWND window) {
    Queue& queue = ThreadQueue();
    Receive(queue);
    std::erase_if(queue.messages, [&](const MSG& message) { return message.hwnd == window; });
    WriteHeld(queue);
}

int OwnDoor() {
    return ThreadQueue().door.get();
}

Descriptor Knock(const WindowRecord& window) {
    return KnockAt(NameOf(window));
}

bool TakeMessage(MSG& message, Taking how) {
    Queue& queue = ThreadQueue();
    for (;;) {
        CarryOutSent();
        Receive(queue);
        if (!queue.messages.empty() || queue.quits) break;
        if (how != Taking::Waits) return false;
        if (!queue.door) NotModelled("GetMessageW", "an empty queue that nobody can fill");
        pollfd wanted = {queue.door.get(), POLLIN, 0};
        while (poll(&wanted, 1, -1) < 0 && errno == EINTR) {
        }
    }
    // The end of the queue comes after all posted messages.
    const bool ends = queue.messages.empty();
    message = ends ? MSG{nullptr, WM_QUIT, static_cast<WPARAM>(queue.exitCode), 0, GetTickCount(), {}}
                   : queue.messages.front();
    if (how == Taking::Peeks) return true;
    if (ends)
        queue.quits = false;
    else
        queue.messages.pop_front();
    WriteHeld(queue);
    return true;
}

namespace {

// Carries out what others have sent, then takes the first message in that range. Returns false when there is none.
bool TakeChosen(MSG& message, UINT first, UINT last) {
    CarryOutSent();
    Queue& queue = ThreadQueue();
    Receive(queue);
    const auto found = std::find_if(queue.messages.begin(), queue.messages.end(), [&](const MSG& waiting) {
        return waiting.message >= first && waiting.message <= last;
    });
    if (found == queue.messages.end()) return false;
    message = *found;
    queue.messages.erase(found);
    WriteHeld(queue);
    return true;
}

}  // namespace

}  // namespace winhost

BOOL PostMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (winhost::Fails("PostMessageW")) return FALSE;
    const MSG posted = {window, message, wParam, lParam, GetTickCount(), {}};
    // Without a window, the message goes to the thread itself.
    if (window) {
        winhost::WindowTable table;
        const auto* const record = table.Find(window);
        if (!record) return FALSE;
        if (record->thread != GetCurrentThreadId()) return winhost::Post(winhost::NameOf(*record), posted);
    }
    return winhost::PostToSelf(posted);
}

BOOL GetMessageW(MSG* message, HWND window, UINT first, UINT last) {
    if (winhost::Fails("GetMessageW")) return -1;
    if (window || first || last) winhost::NotModelled("GetMessageW", "a choice of messages");
    (void)winhost::TakeMessage(*message, winhost::Taking::Waits);
    return message->message != WM_QUIT;
}

BOOL PeekMessageW(MSG* message, HWND window, UINT first, UINT last, UINT flags) {
    if (winhost::Fails("PeekMessageW")) return FALSE;
    const bool chooses = first || last;
    if (window || (flags & ~PM_REMOVE) || (chooses && !(flags & PM_REMOVE)))
        winhost::NotModelled("PeekMessageW", "a choice of windows, or a look at chosen messages");
    if (chooses) return winhost::TakeChosen(*message, first, last);
    return winhost::TakeMessage(*message, flags ? winhost::Taking::Tries : winhost::Taking::Peeks);
}

// The character of a key is posted, so it comes after all messages that are already posted.
BOOL TranslateMessage(const MSG* message) {
    (void)winhost::FaultOf("TranslateMessage");
    const bool down = message->message == WM_KEYDOWN, altDown = message->message == WM_SYSKEYDOWN;
    const char16_t character = down || altDown ? winhost::CharacterOf(message->wParam) : u'\0';
    if (character != 0)
        (void)winhost::PostToSelf(
            {message->hwnd, altDown ? WM_SYSCHAR : WM_CHAR, character, message->lParam, GetTickCount(), {}});
    return down || altDown || message->message == WM_KEYUP || message->message == WM_SYSKEYUP;
}

LRESULT DispatchMessageW(const MSG* message) {
    (void)winhost::FaultOf("DispatchMessageW");
    return winhost::CallProcedure(message->hwnd, message->message, message->wParam, message->lParam);
}

void PostQuitMessage(int exitCode) {
    (void)winhost::FaultOf("PostQuitMessage");
    winhost::ThreadQueue().quits = true;
    winhost::ThreadQueue().exitCode = exitCode;
}

SHORT GetKeyState(int key) {
    (void)winhost::FaultOf("GetKeyState");
    const bool known = key >= 0 && key < winhost::kKeyCount;
    return known && (winhost::ThreadQueue().keys[key] & winhost::kKeyDown) ? SHORT{-0x8000} : SHORT{0};
}

BOOL SetKeyboardState(LPBYTE keys) {
    if (winhost::Fails("SetKeyboardState")) return FALSE;
    std::copy_n(keys, winhost::kKeyCount, winhost::ThreadQueue().keys);
    return TRUE;
}
