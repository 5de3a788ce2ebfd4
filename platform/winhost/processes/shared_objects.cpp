// Named objects that the processes of the machine share: file mappings and mutexes. An object is a file in
// .state/objects. Each of its holders has the file open under a shared lock (flock), so the object lives as long as
// somebody holds it. If a process dies, the kernel drops its lock.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>

#include "core/faults.h"
#include "core/handles.h"
#include "core/machine.h"

namespace fs = std::filesystem;

namespace winhost {

namespace {

constexpr DWORD kErrorNotOwner = 288;
constexpr DWORD kErrorInvalidAddress = 487;
constexpr DWORD kErrorMappedAlignment = 1132;
constexpr char kMapping[] = "mapping", kMutex[] = "mutex";  // the kinds
constexpr std::size_t kPage = 4096;
constexpr std::size_t kGranularity = 65536;

// Held while objects are made and removed, so that the last holder doesn't delete a file that another process is just
// opening. The folder itself is locked, because an object may be closed after its machine is gone.
class FolderLock {
  public:
    explicit FolderLock(const std::string& folder) : m_folder(open(folder.c_str(), O_RDONLY | O_CLOEXEC)) {
        while (held() && flock(m_folder.get(), LOCK_EX) != 0 && errno == EINTR) {
        }
    }
    bool held() const { return static_cast<bool>(m_folder); }

  private:
    Descriptor m_folder;
};

// This process's share in an object.
class Share {
  public:
    // Opens the object of that name, or makes a new one of `size` zero bytes when `create` is set. Without a name, the
    // object belongs to this process only. Returns null, with the last error set, when there is none.
    static std::unique_ptr<Share> Open(LPCWSTR name, const char* kind, bool create, std::size_t size);
    ~Share();
    Share(const Share&) = delete;
    Share& operator=(const Share&) = delete;
    int descriptor() const { return m_file.get(); }
    bool isNew() const { return m_isNew; }
    std::size_t size() const {
        struct stat info;
        return fstat(descriptor(), &info) == 0 ? static_cast<std::size_t>(info.st_size) : 0;
    }
    const std::string& path() const { return m_path; }

  private:
    Share(Descriptor file, std::string path, bool isNew)
        : m_file(std::move(file)), m_path(std::move(path)), m_isNew(isNew) {}
    Descriptor m_file;
    std::string m_path;  // empty without a name
    bool m_isNew;
};

// Returns the host file name of an object's name. The names of a session are those of the whole machine. Empty for a
// name that Windows doesn't accept.
std::string FileName(std::u16string_view name, const char* kind) {
    constexpr std::u16string_view kSession = u"Local\\";
    if (name.starts_with(u"Global\\")) NotModelled(kind, "a name outside the session");
    if (name.starts_with(kSession)) name.remove_prefix(kSession.size());
    if (name.empty() || name.size() >= MAX_PATH || name.find(u'\\') != name.npos) {
        SetLastError(name.size() >= MAX_PATH ? ERROR_FILENAME_EXCED_RANGE : ERROR_PATH_NOT_FOUND);
        return {};
    }
    std::string file;
    for (const char byte : Utf8(name)) {
        if (byte == '/' || byte == '%')
            file += byte == '/' ? "%2F" : "%25";
        else
            file += byte;
    }
    file = file + '.' + kind;
    if (file.size() > 255) NotModelled(kind, "a name that the host can't store");
    return file;
}

// Whether a process has the object of that file open. The caller holds the folder's lock.
bool IsHeld(const std::string& path) {
    const Descriptor file(open(path.c_str(), O_RDWR | O_CLOEXEC));
    return file && flock(file.get(), LOCK_EX | LOCK_NB) != 0;
}

std::unique_ptr<Share> Share::Open(LPCWSTR name, const char* kind, bool create, std::size_t size) {
    const auto made = [&](int descriptor, std::string path) -> std::unique_ptr<Share> {
        std::unique_ptr<Share> share(new Share(Descriptor(descriptor), std::move(path), true));
        if (descriptor >= 0 && flock(descriptor, LOCK_SH) == 0 &&
            ftruncate(descriptor, static_cast<off_t>(size)) == 0)
            return share;
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    };
    if (!name) return made(memfd_create(kind, MFD_CLOEXEC), {});

    const std::string file = FileName(name, kind);
    if (file.empty()) return nullptr;
    // Objects of both kinds share one set of names.
    const std::string otherFile = FileName(name, kind == std::string_view(kMutex) ? kMapping : kMutex);
    if (otherFile.empty()) return nullptr;
    const std::string folder = (StateFolder() / "objects").native();
    fs::create_directories(folder);
    const std::string path = folder + '/' + file;
    const FolderLock lock(folder);
    if (IsHeld(folder + '/' + otherFile)) {
        SetLastError(ERROR_INVALID_HANDLE);
        return nullptr;
    }
    if (Descriptor known(open(path.c_str(), O_RDWR | O_CLOEXEC)); known) {
        if (flock(known.get(), LOCK_EX | LOCK_NB) != 0) {
            flock(known.get(), LOCK_SH);
            return std::unique_ptr<Share>(new Share(std::move(known), path, false));
        }
        // A process that died has left this file. A view of it may
        // still be mapped somewhere, so a new file takes its place.
        unlink(path.c_str());
    }
    if (!create) {
        SetLastError(ERROR_FILE_NOT_FOUND);
        return nullptr;
    }
    return made(open(path.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666), path);
}

Share::~Share() {
    if (!m_file || m_path.empty()) return;
    const FolderLock lock(fs::path(m_path).parent_path().native());
    if (lock.held() && flock(descriptor(), LOCK_EX | LOCK_NB) == 0) unlink(m_path.c_str());
    // Closed within the lock, so that nobody finds the file held without an owner.
    m_file = Descriptor();
}

// ---- file mappings ----

class Mapping : public KernelObject {
  public:
    Mapping(std::unique_ptr<Share> share, DWORD access) : m_share(std::move(share)), m_access(access) {}
    const Share& share() const { return *m_share; }
    DWORD access() const { return m_access; }

  private:
    std::unique_ptr<Share> m_share;
    DWORD m_access;
};

// Views by their start address. A view outlives its mapping's handle.
std::map<const void*, std::size_t>& Views() {
    static auto* views = new std::map<const void*, std::size_t>;
    return *views;
}

// ---- mutexes ----

// A mutex as this process sees it, however many handles it has. Between processes it is owned by a lock on the first
// byte of its file, and the lock ends with its owner. The byte is 1 while the mutex is owned, so that the next owner learns
// that the former one died. Within the process a thread owns it.
class MutexState {
  public:
    explicit MutexState(std::unique_ptr<Share> share) : m_share(std::move(share)) {}
    const Share& share() const { return *m_share; }
    DWORD Wait(DWORD milliseconds);
    bool Release();

  private:
    using Clock = std::chrono::steady_clock;
    // Waits until no other process owns it. Returns false when the deadline has passed.
    bool LockFile(bool endless, Clock::time_point deadline);

    std::unique_ptr<Share> m_share;
    std::mutex m_guard;  // of the two values below
    std::condition_variable m_free;
    DWORD m_owner = 0;  // thread id
    unsigned m_depth = 0;
};

struct flock FirstByte(short type) {
    struct flock lock = {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_len = 1;
    return lock;
}

bool MutexState::LockFile(bool endless, Clock::time_point deadline) {
    struct flock lock = FirstByte(F_WRLCK);
    for (;;) {
        if (fcntl(m_share->descriptor(), endless ? F_OFD_SETLKW : F_OFD_SETLK, &lock) == 0) return true;
        if (endless) continue;
        if (Clock::now() >= deadline) return false;
        usleep(1000);
    }
}

DWORD MutexState::Wait(DWORD milliseconds) {
    const DWORD thread = GetCurrentThreadId();
    const bool endless = milliseconds == INFINITE;
    const auto deadline = Clock::now() + std::chrono::milliseconds(milliseconds);
    {
        std::unique_lock guard(m_guard);
        if (m_owner == thread) {
            ++m_depth;
            return WAIT_OBJECT_0;
        }
        const std::string owner = "/proc/self/task/" + std::to_string(m_owner);
        if (m_owner != 0 && access(owner.c_str(), F_OK) != 0)
            NotModelled("WaitForSingleObject", "a mutex of a thread that has ended");
        const auto isFree = [&] { return m_owner == 0; };
        if (endless)
            m_free.wait(guard, isFree);
        else if (!m_free.wait_until(guard, deadline, isFree))
            return WAIT_TIMEOUT;
        m_owner = thread;
        m_depth = 1;
    }
    if (!LockFile(endless, deadline)) {
        const std::lock_guard guard(m_guard);
        m_owner = 0;
        m_free.notify_one();
        return WAIT_TIMEOUT;
    }
    BYTE owned = 0;
    (void)!pread(m_share->descriptor(), &owned, 1, 0);
    const BYTE mark = 1;
    (void)!pwrite(m_share->descriptor(), &mark, 1, 0);
    return owned ? WAIT_ABANDONED : WAIT_OBJECT_0;
}

bool MutexState::Release() {
    const std::lock_guard guard(m_guard);
    if (m_owner != GetCurrentThreadId()) {
        SetLastError(kErrorNotOwner);
        return false;
    }
    if (--m_depth > 0) return true;
    const BYTE mark = 0;
    (void)!pwrite(m_share->descriptor(), &mark, 1, 0);
    struct flock lock = FirstByte(F_UNLCK);
    (void)fcntl(m_share->descriptor(), F_OFD_SETLK, &lock);
    m_owner = 0;
    m_free.notify_one();
    return true;
}

class Mutex : public KernelObject {
  public:
    explicit Mutex(std::shared_ptr<MutexState> state) : m_state(std::move(state)) {}
    DWORD Wait(DWORD milliseconds) override { return m_state->Wait(milliseconds); }
    MutexState& state() const { return *m_state; }

  private:
    std::shared_ptr<MutexState> m_state;
};

// The named mutexes that this process holds open, by their file.
std::map<std::string, std::weak_ptr<MutexState>>& OpenMutexes() {
    static auto* mutexes = new std::map<std::string, std::weak_ptr<MutexState>>;
    return *mutexes;
}

}  // namespace

}  // namespace winhost

HANDLE CreateFileMappingW(HANDLE file, LPSECURITY_ATTRIBUTES security, DWORD protection, DWORD sizeHigh,
                          DWORD sizeLow, LPCWSTR name) {
    if (winhost::Fails("CreateFileMappingW")) return nullptr;
    if (file != INVALID_HANDLE_VALUE || security)
        winhost::NotModelled("CreateFileMappingW", "a file or security");
    if ((protection & ~SEC_COMMIT) != PAGE_READWRITE || sizeHigh != 0)
        winhost::NotModelled("CreateFileMappingW", "protection " + std::to_string(protection));
    if (sizeLow == 0) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    const std::size_t size = (sizeLow + winhost::kPage - 1) / winhost::kPage * winhost::kPage;
    auto share = winhost::Share::Open(name, winhost::kMapping, true, size);
    if (!share) return nullptr;
    SetLastError(share->isNew() ? ERROR_SUCCESS : ERROR_ALREADY_EXISTS);
    return winhost::AddHandle(
        std::make_shared<winhost::Mapping>(std::move(share), FILE_MAP_READ | FILE_MAP_WRITE));
}

HANDLE OpenFileMappingW(DWORD access, BOOL inherit, LPCWSTR name) {
    if (winhost::Fails("OpenFileMappingW")) return nullptr;
    if (inherit || (access & ~(FILE_MAP_READ | FILE_MAP_WRITE)) != 0)
        winhost::NotModelled("OpenFileMappingW", "access " + std::to_string(access));
    if (!name) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    auto share = winhost::Share::Open(name, winhost::kMapping, false, 0);
    return share ? winhost::AddHandle(std::make_shared<winhost::Mapping>(std::move(share), access)) : nullptr;
}

LPVOID MapViewOfFile(HANDLE handle, DWORD access, DWORD offsetHigh, DWORD offsetLow, SIZE_T cbView) {
    if (winhost::Fails("MapViewOfFile")) return nullptr;
    if (access == 0 || (access & ~(FILE_MAP_READ | FILE_MAP_WRITE)) != 0)
        winhost::NotModelled("MapViewOfFile", "access " + std::to_string(access));
    const auto mapping = winhost::HandleAs<winhost::Mapping>(handle);
    if (!mapping) return nullptr;
    if (offsetLow % winhost::kGranularity != 0) {
        SetLastError(winhost::kErrorMappedAlignment);
        return nullptr;
    }
    const std::size_t size = mapping->share().size();
    const std::size_t offset = (static_cast<std::size_t>(offsetHigh) << 32) | offsetLow;
    if (offset >= size || cbView > size - offset || (access & ~mapping->access()) != 0) {
        SetLastError(ERROR_ACCESS_DENIED);
        return nullptr;
    }
    const std::size_t length = cbView != 0 ? cbView : size - offset;
    const int protection = access & FILE_MAP_WRITE ? PROT_READ | PROT_WRITE : PROT_READ;
    void* view = mmap(nullptr, length, protection, MAP_SHARED, mapping->share().descriptor(),
                      static_cast<off_t>(offset));
    if (view == MAP_FAILED) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    winhost::Views()[view] = length;
    return view;
}

BOOL UnmapViewOfFile(LPCVOID view) {
    if (winhost::Fails("UnmapViewOfFile")) return FALSE;
    // Any address inside the view is accepted.
    auto& views = winhost::Views();
    auto found = views.upper_bound(view);
    const auto address = reinterpret_cast<std::uintptr_t>(view);
    if (found == views.begin() ||
        address - reinterpret_cast<std::uintptr_t>((--found)->first) >= found->second) {
        SetLastError(winhost::kErrorInvalidAddress);
        return FALSE;
    }
    munmap(const_cast<void*>(found->first), found->second);
    views.erase(found);
    return TRUE;
}

HANDLE CreateMutexW(LPSECURITY_ATTRIBUTES security, BOOL initialOwner, LPCWSTR name) {
    if (winhost::Fails("CreateMutexW")) return nullptr;
    if (security) winhost::NotModelled("CreateMutexW", "security");
    auto share = winhost::Share::Open(name, winhost::kMutex, true, 1);
    if (!share) return nullptr;
    const bool isNew = share->isNew();
    std::shared_ptr<winhost::MutexState> state;
    if (name) {
        auto& known = winhost::OpenMutexes()[share->path()];
        if (!isNew) state = known.lock();
        if (!state) known = state = std::make_shared<winhost::MutexState>(std::move(share));
    } else {
        state = std::make_shared<winhost::MutexState>(std::move(share));
    }
    if (isNew && initialOwner) (void)state->Wait(INFINITE);
    SetLastError(isNew ? ERROR_SUCCESS : ERROR_ALREADY_EXISTS);
    return winhost::AddHandle(std::make_shared<winhost::Mutex>(state));
}

BOOL ReleaseMutex(HANDLE handle) {
    if (winhost::Fails("ReleaseMutex")) return FALSE;
    const auto mutex = winhost::HandleAs<winhost::Mutex>(handle);
    return mutex && mutex->state().Release();
}
