#include "messages/window_table.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <mutex>

#include "core/host_io.h"
#include "core/machine.h"
#include "messages/inbox.h"
#include <winhost.h>

namespace winhost {

namespace {

// This byte is locked while somebody works on the table. The bytes after it are the locks of the processes.
constexpr off_t kWorkLock = off_t{1} << 40;

// A handle contains the number of the window and its slot. As on Windows, handles are even and have 32 bits.
constexpr unsigned kSlotShift = 1;
constexpr unsigned kNumberShift = 16;
static_assert(kMostWindows << kSlotShift <= 1u << kNumberShift);
constexpr DWORD kMostNumbers = 0x7FFF;

// The table as this process has it mapped. A fork of the process counts as another holder.
struct OpenTable {
    pid_t process = 0;
    Descriptor file;
    WindowTableContents* contents = nullptr;
    std::uint64_t holder = 0;
};

OpenTable& Opened() {
    static auto* table = new OpenTable;
    return *table;
}

std::mutex& Threads() {
    static auto* mutex = new std::mutex;
    return *mutex;
}

bool Lock(int file, int command, short type, off_t at) {
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = at;
    lock.l_len = 1;
    while (fcntl(file, command, &lock) != 0) {
        if (errno != EINTR) return false;
    }
    // The host answers with this type when nobody has the lock.
    return command != F_OFD_GETLK || lock.l_type == F_UNLCK;
}

void Close(OpenTable& table) {
    if (table.contents) munmap(table.contents, sizeof *table.contents);
    table = {};
}

void Open(OpenTable& table) {
    static const bool forgets = (OnEnter([] { Close(Opened()); }), true);
    (void)forgets;
    Close(table);
    table.file = Descriptor(open((StateFolder() / "windows").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666));
    if (!table.file || ftruncate(table.file.get(), sizeof(WindowTableContents)) != 0)
        NotModelled("WindowTable", "a machine whose windows can't be written");
    void* contents =
        mmap(nullptr, sizeof(WindowTableContents), PROT_READ | PROT_WRITE, MAP_SHARED, table.file.get(), 0);
    if (contents == MAP_FAILED) NotModelled("WindowTable", "the host has no memory left");
    table.contents = static_cast<WindowTableContents*>(contents);
    table.process = getpid();
}

// Returns the number of this process as a holder of windows.
std::uint64_t OwnHolder() {
    OpenTable& table = Opened();
    if (table.holder == 0) {
        table.holder = ++table.contents->holders;
        (void)Lock(table.file.get(), F_OFD_SETLK, F_WRLCK, kWorkLock + static_cast<off_t>(table.holder));
    }
    return table.holder;
}

WindowTableContents& Contents() {
    return *Opened().contents;
}

}  // namespace

WindowTable::WindowTable() {
    Threads().lock();
    OpenTable& table = Opened();
    if (table.process != getpid()) Open(table);
    (void)Lock(table.file.get(), F_OFD_SETLKW, F_WRLCK, kWorkLock);
}

WindowTable::~WindowTable() {
    (void)Lock(Opened().file.get(), F_OFD_SETLK, F_UNLCK, kWorkLock);
    Threads().unlock();
}

bool WindowTable::Lives(const WindowRecord& window) const {
    const OpenTable& table = Opened();
    if (window.holder == table.holder) return true;
    return !Lock(table.file.get(), F_OFD_GETLK, F_WRLCK, kWorkLock + static_cast<off_t>(window.holder));
}

WindowRecord* WindowTable::Add(const WindowRecord& window) {
    WindowTableContents& contents = Contents();
    if (contents.slots == kMostWindows) (void)Where([](const auto&) { return false; });  // makes slots free
    WindowRecord* const end = contents.windows + contents.slots;
    WindowRecord* slot =
        std::find_if(contents.windows, end, [](const WindowRecord& used) { return !used.handle; });
    if (slot == end) {
        if (contents.slots == kMostWindows) return nullptr;
        ++contents.slots;
    }
    const DWORD number = contents.made++ % kMostNumbers + 1;
    const auto index = static_cast<DWORD>(slot - contents.windows);
    WindowRecord added = window;
    added.handle = nullptr;
    added.holder = OwnHolder();
    added.process = GetCurrentProcessId();
    added.thread = GetCurrentThreadId();
    added.rank = added.isChild() ? --contents.lowest : ++contents.highest;
    *slot = added;
    slot->handle = reinterpret_cast<HWND>(ULONG_PTR{number << kNumberShift | index << kSlotShift});
    return slot;
}

void WindowTable::Remove(WindowRecord& window) {
    if (foreground() == window.handle) foreground() = nullptr;
    window.handle = nullptr;
}

WindowRecord* WindowTable::Find(HWND handle) {
    constexpr ULONG_PTR kEveryWindow = 0xFFFF;
    if (reinterpret_cast<ULONG_PTR>(handle) == kEveryWindow) NotModelled("messages", "every window at once");
    const auto slot = (reinterpret_cast<ULONG_PTR>(handle) & ((1u << kNumberShift) - 1)) >> kSlotShift;
    if (handle && slot < kMostWindows) {
        WindowRecord& window = Contents().windows[slot];
        if (window.handle == handle && Lives(window)) return &window;
    }
    SetLastError(ERROR_INVALID_WINDOW_HANDLE);
    return nullptr;
}

void WindowTable::Raise(WindowRecord& window) {
    window.rank = ++Contents().highest;
}

void WindowTable::Lower(WindowRecord& window) {
    window.rank = --Contents().lowest;
}

// The siblings keep the same set of ranks.
bool WindowTable::PutBelow(WindowRecord& window, HWND sibling) {
    std::vector<WindowRecord*> order =
        Where([&](const WindowRecord& record) { return record.parent == window.parent; });
    std::vector<std::int64_t> ranks;
    for (const WindowRecord* record : order)
        ranks.push_back(record->rank);
    std::erase(order, &window);
    const auto above = std::find_if(order.begin(), order.end(),
                                    [&](const auto* record) { return record->handle == sibling; });
    if (above == order.end()) {
        SetLastError(ERROR_INVALID_WINDOW_HANDLE);
        return false;
    }
    order.insert(above + 1, &window);
    for (std::size_t i = 0; i < order.size(); ++i)
        order[i]->rank = ranks[i];
    return true;
}

std::vector<WindowRecord*> WindowTable::Where(const std::function<bool(const WindowRecord&)>& wanted) {
    WindowTableContents& contents = Contents();
    std::vector<WindowRecord*> windows;
    std::uint64_t living = 0;  // the last holder asked about; windows of one process mostly follow each other
    for (DWORD slot = 0; slot < contents.slots; ++slot) {
        WindowRecord& window = contents.windows[slot];
        if (!window.handle) continue;
        if (window.holder == living || Lives(window)) {
            living = window.holder;
            if (wanted(window)) windows.push_back(&window);
        } else {
            RemoveInbox(InboxName(window.holder, window.thread));
            Remove(window);
        }
    }
    std::sort(windows.begin(), windows.end(),
              [](const WindowRecord* left, const WindowRecord* right) { return left->rank > right->rank; });
    return windows;
}

WindowRecord* WindowTable::Marked(DWORD thread, bool WindowRecord::*mark) {
    const auto marked =
        Where([&](const WindowRecord& window) { return window.thread == thread && window.*mark; });
    return marked.empty() ? nullptr : marked.front();
}

HWND& WindowTable::foreground() {
    return Contents().foreground;
}

std::optional<WindowRecord> Look(HWND window) {
    WindowTable table;
    const WindowRecord* const record = table.Find(window);
    return record ? std::optional(*record) : std::nullopt;
}

std::vector<HWND> ChildWindows(HWND parent) {
    WindowTable table;
    std::vector<HWND> children;
    for (const WindowRecord* child :
         table.Where([parent](const WindowRecord& window) { return window.parent == parent; }))
        children.push_back(child->handle);
    return children;
}

bool HasStyle(HWND window, DWORD style) {
    const auto record = Look(window);
    return record && (record->style & style);
}

void ChangeStyle(HWND window, DWORD taken, DWORD given) {
    WindowTable table;
    if (WindowRecord* const record = table.Find(window)) record->style = (record->style & ~taken) | given;
}

HWND RootOf(HWND window) {
    WindowTable table;
    const WindowRecord* record = table.Find(window);
    while (record && record->parent)
        record = table.Find(record->parent);
    return record ? record->handle : nullptr;
}

}  // namespace winhost
