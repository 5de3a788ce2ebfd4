// Messages sent to windows of other threads and processes. Each has its own connection, on which the answer comes back.
// While the sender waits, it answers what is sent to it.
#include "messages/sent_messages.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>

#include "core/faults.h"
#include "core/host_io.h"
#include "core/machine.h"
#include "messages/inbox.h"
#include "messages/own_windows.h"
#include "messages/window_table.h"
#include "processes/clock.h"

namespace winhost {

namespace {

using Clock = std::chrono::steady_clock;

struct Request {
    HWND window;
    UINT message;
    WPARAM wParam;
    LPARAM lParam;
    UINT order = 0;  // 0: a message
};

// Memory that both sides share for the text of a message. It is a file without a name, because a long text may not fit
// into the connection.
class SharedText {
  public:
    explicit SharedText(std::size_t cchText) {
        if (cchText == 0) return;
        m_file = Descriptor(memfd_create("text", MFD_CLOEXEC));
        if (!m_file || ftruncate(m_file.get(), static_cast<off_t>(cchText * sizeof(char16_t))) != 0)
            NotModelled("SendMessageW", "the host has no memory left");
        Map();
    }
    explicit SharedText(Descriptor file) : m_file(std::move(file)) {
        if (m_file) Map();
    }
    ~SharedText() {
        if (m_text) munmap(m_text, m_size);
    }
    SharedText(const SharedText&) = delete;
    SharedText& operator=(const SharedText&) = delete;
    int file() const { return m_file.get(); }
    char16_t* text() const { return m_text; }

  private:
    void Map() {
        struct stat status = {};
        (void)fstat(m_file.get(), &status);
        m_size = static_cast<std::size_t>(status.st_size);
        void* const memory = mmap(nullptr, m_size, PROT_READ | PROT_WRITE, MAP_SHARED, m_file.get(), 0);
        if (memory == MAP_FAILED) NotModelled("SendMessageW", "the host has no memory left");
        m_text = static_cast<char16_t*>(memory);
    }

    Descriptor m_file;
    std::size_t m_size = 0;
    char16_t* m_text = nullptr;
};

// The control data that carries one descriptor.
union Carried {
    cmsghdr header;
    char bytes[CMSG_SPACE(sizeof(int))];
};

bool SendRequest(int connection, Request request, int text) {
    iovec part = {&request, sizeof request};
    Carried carried = {};
    msghdr packet = {};
    packet.msg_iov = &part;
    packet.msg_iovlen = 1;
    if (text >= 0) {
        packet.msg_control = carried.bytes;
        packet.msg_controllen = sizeof carried.bytes;
        carried.header.cmsg_level = SOL_SOCKET;
        carried.header.cmsg_type = SCM_RIGHTS;
        carried.header.cmsg_len = CMSG_LEN(sizeof text);
        std::copy_n(reinterpret_cast<const char*>(&text), sizeof text,
                    reinterpret_cast<char*>(CMSG_DATA(&carried.header)));
    }
    return sendmsg(connection, &packet, MSG_NOSIGNAL) == sizeof request;
}

// Returns false when the connection only wakes this thread, or the sender has gone.
bool ReceiveRequest(int connection, Request& request, Descriptor& text) {
    pollfd wanted = {connection, POLLIN, 0};
    while (poll(&wanted, 1, -1) < 0 && errno == EINTR) {
    }
    iovec part = {&request, sizeof request};
    Carried carried = {};
    msghdr packet = {};
    packet.msg_iov = &part;
    packet.msg_iovlen = 1;
    packet.msg_control = carried.bytes;
    packet.msg_controllen = sizeof carried.bytes;
    if (recvmsg(connection, &packet, MSG_CMSG_CLOEXEC) != sizeof request) return false;
    if (const cmsghdr* const header = CMSG_FIRSTHDR(&packet); header && header->cmsg_type == SCM_RIGHTS) {
        int value = -1;
        std::copy_n(reinterpret_cast<const char*>(CMSG_DATA(header)), sizeof value,
                    reinterpret_cast<char*>(&value));
        text = Descriptor(value);
    }
    return true;
}

// Messages of the system that carry only numbers and handles. They mean the same in every process.
bool CarriesNumbers(UINT message, LPARAM lParam) {
    switch (message) {
        case WM_NULL:
        case WM_GETTEXTLENGTH:
        case WM_CLOSE:
        case WM_CANCELMODE:
        case WM_ENABLE:
        case WM_QUERYENDSESSION:
        case WM_ENDSESSION:
        case WM_NEXTDLGCTL:
        case WM_GETFONT:
        case WM_COMMAND:
        case EM_SETSEL:
        case EM_SCROLLCARET:
        case EM_SETLIMITTEXT:
        case EM_SETREADONLY:
        case EM_GETLIMITTEXT:
        case EM_CANUNDO:
        case EM_UNDO:
        case EM_EMPTYUNDOBUFFER:
        case STM_GETIMAGE:
            return true;
        case WM_GETDLGCODE:
        case EM_GETSEL:
            return lParam == 0;
        default:
            return (message >= BM_GETCHECK && message <= BM_CLICK) ||
                   (message >= WM_KEYDOWN && message <= WM_SYSCHAR) ||
                   (message >= WM_CUT && message <= WM_UNDO) || message >= WM_USER;
    }
}

// Returns how many code units of text are shared: the text to set, or the space for the text to get.
std::size_t SizeOfText(const Request& request) {
    if (!request.lParam) return 0;
    if (request.message == WM_SETTEXT) return wcslen(reinterpret_cast<LPCWSTR>(request.lParam)) + 1;
    return request.message == WM_GETTEXT ? request.wParam : 0;
}

// Waits for the answer. Returns none when the receiver has gone or the time is over.
std::optional<LRESULT> Await(int connection, UINT milliseconds) {
    const auto deadline = Clock::now() + std::chrono::milliseconds(milliseconds);
    const OpenEndedWait wait;
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (milliseconds != INFINITE && left <= 0) {
            SetLastError(ERROR_TIMEOUT);
            return std::nullopt;
        }
        pollfd wanted[] = {{connection, POLLIN, 0}, {OwnInbox().socket.get(), POLLIN, 0}};
        (void)poll(wanted, 2,
                   milliseconds == INFINITE ? -1 : static_cast<int>(std::min<long>(left, 0x7FFFFFFF)));
        if (wanted[0].revents != 0) {
            LRESULT answer = 0;
            if (recv(connection, &answer, sizeof answer, 0) == sizeof answer) return answer;
            SetLastError(ERROR_INVALID_WINDOW_HANDLE);
            return std::nullopt;
        }
        if (wanted[1].revents != 0) DispatchSentMessages();
    }
}

// Returns the connection on which the answer will come. None, with the last error set, when the window's thread is gone.
Descriptor Transmit(const WindowRecord& window, const Request& request, int text = -1) {
    Descriptor connection = Connect(InboxName(window.holder, window.thread));
    if (connection && SendRequest(connection.get(), request, text)) return connection;
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return Descriptor();
}

std::optional<LRESULT> Deliver(const Request& request, UINT milliseconds) {
    if (FindOwnWindow(request.window))
        return CallProcedure(request.window, request.message, request.wParam, request.lParam);
    const auto record = Look(request.window);
    if (!record) return std::nullopt;
    const bool sets = request.message == WM_SETTEXT, gets = request.message == WM_GETTEXT;
    if (record->process != GetCurrentProcessId() && !sets && !gets &&
        !CarriesNumbers(request.message, request.lParam))
        NotModelled("SendMessageW", "message " + std::to_string(request.message) + " to another process");
    const SharedText text(SizeOfText(request));
    if (sets && text.text()) wcscpy(text.text(), reinterpret_cast<LPCWSTR>(request.lParam));
    const Request sent = {request.window, request.message, request.wParam, sets || gets ? 0 : request.lParam};
    const Descriptor connection = Transmit(*record, sent, text.file());
    if (!connection) return std::nullopt;
    const auto answer = Await(connection.get(), milliseconds);
    if (answer && gets && text.text()) {
        const auto cchText = std::min<WPARAM>(static_cast<WPARAM>(*answer) + 1, request.wParam);
        std::copy_n(text.text(), cchText, reinterpret_cast<LPWSTR>(request.lParam));
    }
    return answer;
}

void AnswerRequest(int connection) {
    Request request = {};
    Descriptor file;
    if (!ReceiveRequest(connection, request, file)) return;
    const SharedText text(std::move(file));
    if (text.text()) request.lParam = reinterpret_cast<LPARAM>(text.text());
    const OwnWindow* const own = FindOwnWindow(request.window);
    const LRESULT answer =
        own && request.order ? own->orders(request.window, request.order, request.wParam)
                             : CallProcedure(request.window, request.message, request.wParam, request.lParam);
    (void)send(connection, &answer, sizeof answer, MSG_NOSIGNAL);
}

}  // namespace

LRESULT Send(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    return Deliver({window, message, wParam, lParam}, INFINITE).value_or(0);
}

LRESULT SendOrder(HWND window, UINT order, WPARAM value) {
    const auto record = Look(window);
    const Descriptor connection =
        record ? Transmit(*record, {window, WM_NULL, value, 0, order}) : Descriptor();
    return connection ? Await(connection.get(), INFINITE).value_or(0) : 0;
}

void PostOrder(HWND window, UINT order, WPARAM value) {
    if (const auto record = Look(window)) (void)Transmit(*record, {window, WM_NULL, value, 0, order});
}

void NotifyParent(HWND control, int notification) {
    if (const auto record = Look(control))
        (void)Send(record->parent, WM_COMMAND, MAKEWPARAM(record->id, notification),
                   reinterpret_cast<LPARAM>(control));
}

void DispatchSentMessages() {
    // A window procedure may destroy the thread's last window, which closes the socket.
    while (OwnInbox().socket) {
        const Descriptor connection(accept4(OwnInbox().socket.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (!connection) return;
        AnswerRequest(connection.get());
    }
}

}  // namespace winhost

LRESULT SendMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (winhost::Fails("SendMessageW")) return 0;
    return winhost::Send(window, message, wParam, lParam);
}

LRESULT SendMessageTimeoutW(HWND window, UINT message, WPARAM wParam, LPARAM lParam, UINT flags,
                            UINT milliseconds, DWORD_PTR* result) {
    if (winhost::Fails("SendMessageTimeoutW")) return 0;
    if (flags != SMTO_NORMAL) winhost::NotModelled("SendMessageTimeoutW", "flags " + std::to_string(flags));
    const auto answer = winhost::Deliver({window, message, wParam, lParam}, milliseconds);
    if (answer && result) *result = static_cast<DWORD_PTR>(*answer);
    return answer.has_value();
}
