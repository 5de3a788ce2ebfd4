#include "messages/message_queue.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <deque>
#include <utility>

#include "core/faults.h"
#include "core/host_io.h"
#include "core/machine.h"
#include "core/thread_state.h"
#include "messages/inbox.h"
#include "messages/own_windows.h"
#include "messages/sent_messages.h"
#include "processes/clock.h"

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
    std::deque<MSG> messages;
    bool quits = false;
    int exitCode = 0;
    BYTE keys[kKeyCount] = {};
};

Queue& ThreadQueue() {
    return StateOfThread<Queue>();
}

MSG Quit(const Queue& queue) {
    return {nullptr, WM_QUIT, static_cast<WPARAM>(queue.exitCode), 0, GetTickCount(), {}};
}

// Whether a message of the system has an address, which is valid only until the sender goes on.
bool HasAddress(UINT message) {
    constexpr UINT kMessages[] = {WM_CREATE,   WM_SETTEXT,    WM_GETTEXT,
                                  WM_NCCREATE, WM_NCCALCSIZE, EM_REPLACESEL};
    return std::find(std::begin(kMessages), std::end(kMessages), message) != std::end(kMessages);
}

std::string InboxOf(const WindowRecord& window) {
    return InboxName(window.holder, window.thread);
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
    if (const Descriptor& posts = OwnInbox().posts) (void)!pwrite(posts.get(), &header, sizeof header, 0);
}

// Receives what other threads and processes have posted.
void Receive(Queue& queue) {
    const int posts = OwnInbox().posts.get();
    if (posts < 0) return;
    const WindowTable lock;
    const std::uint64_t count = CountPosts(posts);
    if (count == 0) return;
    std::vector<MSG> posted(count);
    const std::size_t cbPosted = count * sizeof(MSG);
    if (pread(posts, posted.data(), cbPosted, PlaceOfPost(0)) != static_cast<ssize_t>(cbPosted) ||
        ftruncate(posts, sizeof(PostsHeader)) != 0)
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
bool Post(const std::string& inbox, const MSG& message) {
    const Descriptor posts(open(PostsPath(inbox).c_str(), O_RDWR | O_CLOEXEC));
    if (!posts) {
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
        return false;
    }
    PostsHeader header = {};
    (void)!pread(posts.get(), &header, sizeof header, 0);
    const std::uint64_t count = CountPosts(posts.get());
    if (!Quota(header.held + count)) return false;
    if (count == 0) (void)Connect(inbox);
    return pwrite(posts.get(), &message, sizeof message, PlaceOfPost(count)) == sizeof message;
}

// Returns the character of a key on this machine's keyboard, or 0.
char16_t CharacterOf(WPARAM key) {
    constexpr WPARAM kFirstOfPad = 0x60, kLastOfPad = 0x6F, kFirstOfLayout = 0xBA, kLastOfLayout = 0xE2;
    constexpr char16_t kControlBack = 0x7F, kControlReturn = 0x0A;
    const bool shift = GetKeyState(VK_SHIFT) < 0, control = GetKeyState(VK_CONTROL) < 0;
    if ((key >= kFirstOfPad && key <= kLastOfPad) || (key >= kFirstOfLayout && key <= kLastOfLayout))
        NotModelled("TranslateMessage", "key " + std::to_string(key) + ", which depends on the keyboard");
    if (control && key == VK_BACK) return kControlBack;
    if (control && key == VK_RETURN) return kControlReturn;
    if (control && key == VK_TAB) return 0;
    const bool isDigit = key >= '0' && key <= '9';
    if (isDigit && control && shift)
        NotModelled("TranslateMessage", "key " + std::to_string(key) + " with both");
    if (key == VK_BACK || key == VK_TAB || key == VK_RETURN || key == VK_ESCAPE || key == VK_SPACE)
        return static_cast<char16_t>(key);
    if (isDigit) return control ? 0 : shift ? u")!@#$%^&*("[key - '0'] : static_cast<char16_t>(key);
    if (key < 'A' || key > 'Z') return 0;
    if (control) return static_cast<char16_t>(key - 'A' + 1);
    const bool isCapital = shift != ((GetKeyState(VK_CAPITAL) & 1) != 0);
    return static_cast<char16_t>(isCapital ? key : key + ('a' - 'A'));
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

void OpenQueue(const WindowRecord& window) {
    if (OwnInbox().socket) return;
    OpenInbox(InboxOf(window));
    WriteHeld(ThreadQueue());
}

void CloseQueue() {
    Receive(ThreadQueue());
    CloseInbox();
}

void DropMessagesOf(HWND window) {
    Queue& queue = ThreadQueue();
    Receive(queue);
    std::erase_if(queue.messages, [&](const MSG& message) { return message.hwnd == window; });
    WriteHeld(queue);
}

bool TakeMessage(MSG& message, Taking how) {
    Queue& queue = ThreadQueue();
    for (;;) {
        DispatchSentMessages();
        Receive(queue);
        if (!queue.messages.empty() || queue.quits) break;
        if (how != Taking::Waits) return false;
        const int socket = OwnInbox().socket.get();
        if (socket < 0) NotModelled("GetMessageW", "an empty queue that nobody can fill");
        const OpenEndedWait wait;
        pollfd wanted = {socket, POLLIN, 0};
        while (poll(&wanted, 1, -1) < 0 && errno == EINTR) {
        }
    }
    // The end of the queue comes after all posted messages.
    const bool ends = queue.messages.empty();
    message = ends ? Quit(queue) : queue.messages.front();
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
    DispatchSentMessages();
    Queue& queue = ThreadQueue();
    Receive(queue);
    const auto found = std::find_if(queue.messages.begin(), queue.messages.end(), [&](const MSG& waiting) {
        return waiting.message >= first && waiting.message <= last;
    });
    if (found == queue.messages.end()) {
        // The end of the queue is in each range.
        if (queue.quits) message = Quit(queue);
        return std::exchange(queue.quits, false);
    }
    message = *found;
    queue.messages.erase(found);
    WriteHeld(queue);
    return true;
}

}  // namespace

}  // namespace winhost

BOOL PostMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (winhost::Fails("PostMessageW")) return FALSE;
    if (winhost::HasAddress(message)) {
        SetLastError(ERROR_MESSAGE_SYNC_ONLY);
        return FALSE;
    }
    const MSG posted = {window, message, wParam, lParam, GetTickCount(), {}};
    // Without a window, the message goes to the thread itself.
    if (window) {
        winhost::WindowTable table;
        const auto* const record = table.Find(window);
        if (!record) return FALSE;
        if (record->thread != GetCurrentThreadId()) return winhost::Post(winhost::InboxOf(*record), posted);
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
    if (key < 0 || key >= winhost::kKeyCount) return 0;
    const BYTE state = winhost::ThreadQueue().keys[key];
    return static_cast<SHORT>((state & winhost::kKeyDown ? -0x8000 : 0) | (state & 1));
}

BOOL SetKeyboardState(LPBYTE keys) {
    if (winhost::Fails("SetKeyboardState")) return FALSE;
    std::copy_n(keys, winhost::kKeyCount, winhost::ThreadQueue().keys);
    return TRUE;
}
