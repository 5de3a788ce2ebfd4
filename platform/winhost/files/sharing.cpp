// Open files under Windows' sharing rules, across processes. Each opening claims single bytes far beyond any content. A claim is
// a shared record lock of the file descriptor. The kernel shows it to every other opening, also in this process, and drops it
// with the descriptor. An opening claims first and looks for conflicts afterwards, so two at once are never both let in wrongly.
#include "files/sharing.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "core/host_io.h"
#include "core/machine.h"

namespace fs = std::filesystem;

namespace winhost {

namespace {

// One bit for each claim; the bit's number is the place of its byte. FILE_SHARE_ flags and access bits have the same order.
constexpr unsigned kAllAccess = kReading | kWriting | kDeleting;
constexpr unsigned kDenied = 3;  // distance from an access bit to the claim that denies it
constexpr unsigned kDeniesDelete = kDeleting << kDenied;
constexpr unsigned kRuns = 1u << 6;
constexpr off_t kFirstByte = off_t{1} << 62;

static_assert(FILE_SHARE_READ == kReading && FILE_SHARE_WRITE == kWriting && FILE_SHARE_DELETE == kDeleting);

// Calls `use` for each run of adjacent claims, with a lock that covers it. Stops at the first true.
template <class Use>
bool AnyRun(unsigned claims, short type, Use use) {
    for (unsigned first = 0; claims >> first;) {
        if (!(claims >> first & 1)) {
            ++first;
            continue;
        }
        unsigned end = first;
        while (claims >> end & 1)
            ++end;
        struct flock lock = {};
        lock.l_type = type;
        lock.l_whence = SEEK_SET;
        lock.l_start = kFirstByte + first;
        lock.l_len = end - first;
        if (use(lock)) return true;
        first = end;
    }
    return false;
}

bool Claim(int descriptor, unsigned claims) {
    return !AnyRun(claims, F_RDLCK,
                   [&](struct flock& lock) { return fcntl(descriptor, F_OFD_SETLK, &lock) != 0; });
}

// Whether another opening has one of the claims.
bool Held(int descriptor, unsigned claims) {
    return AnyRun(claims, F_WRLCK, [&](struct flock& lock) {
        return fcntl(descriptor, F_OFD_GETLK, &lock) != 0 || lock.l_type != F_UNLCK;
    });
}

Descriptor OpenToAsk(const std::string& host) {
    return Descriptor(open(host.c_str(), O_RDONLY | O_CLOEXEC));
}

bool AnyOpenBelow(const std::string& folder) {
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        const Descriptor descriptor = OpenToAsk(entry.path().native());
        if (descriptor.get() < 0 || Held(descriptor.get(), kAllAccess | kAllAccess << kDenied)) return true;
    }
    return false;
}

}  // namespace

std::unique_ptr<OpenFile> OpenFile::Open(const std::string& host, int hostFlags, unsigned access,
                                         unsigned share) {
    // On Windows every file is executable, so every new file on the host is.
    Descriptor opened(open(host.c_str(), hostFlags | O_CLOEXEC, 0777));
    if (!opened) {
        SetLastError(ErrorOf(errno));
        return nullptr;
    }
    const int descriptor = opened.get();
    std::unique_ptr<OpenFile> file(new OpenFile(std::move(opened)));
    // An opening only for attributes takes no part in sharing.
    if (access == 0) return file;
    const unsigned denied = ~share & kAllAccess;
    const unsigned conflicts = denied | access << kDenied | (access & kWriting ? kRuns : 0);
    if (!Claim(descriptor, access | denied << kDenied))
        NotModelled("OpenFile", "a file system without locks");
    if (!Held(descriptor, conflicts)) return file;
    SetLastError(ERROR_SHARING_VIOLATION);
    return nullptr;
}

std::unique_ptr<OpenFile> OpenFile::OpenImage(const std::string& host) {
    Descriptor opened = OpenToAsk(host);
    if (!opened) {
        SetLastError(ErrorOf(errno));
        return nullptr;
    }
    const int descriptor = opened.get();
    std::unique_ptr<OpenFile> file(new OpenFile(std::move(opened)));
    if (!Claim(descriptor, kRuns)) NotModelled("OpenImage", "a file system without locks");
    if (!Held(descriptor, kWriting | kReading << kDenied)) return file;
    SetLastError(ERROR_SHARING_VIOLATION);
    return nullptr;
}

DWORD DeleteBlockedBy(const std::string& host) {
    const Descriptor descriptor = OpenToAsk(host);
    if (descriptor.get() < 0) return ErrorOf(errno);
    if (!Held(descriptor.get(), kDeniesDelete | kRuns)) return 0;
    return Held(descriptor.get(), kDeniesDelete) ? ERROR_SHARING_VIOLATION : ERROR_ACCESS_DENIED;
}

bool IsInUse(const std::string& host) {
    const Descriptor descriptor = OpenToAsk(host);
    return descriptor.get() < 0 || Held(descriptor.get(), kAllAccess | kAllAccess << kDenied | kRuns);
}

DWORD RenameBlockedBy(const std::string& host) {
    const Descriptor descriptor = OpenToAsk(host);
    if (descriptor.get() < 0) return ErrorOf(errno);
    if (Held(descriptor.get(), kDeniesDelete)) return ERROR_SHARING_VIOLATION;
    struct stat info;
    const bool isFolder = fstat(descriptor.get(), &info) == 0 && S_ISDIR(info.st_mode);
    return isFolder && AnyOpenBelow(host) ? ERROR_ACCESS_DENIED : 0;
}

}  // namespace winhost
