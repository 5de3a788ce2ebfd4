// Copies files, and moves files and folders.
#include "files/copy_move.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "core/faults.h"
#include "core/host_io.h"
#include "core/limits.h"
#include "core/machine.h"
#include "core/text.h"
#include "files/attributes.h"
#include "files/boot.h"
#include "files/files.h"
#include "files/paths.h"
#include "files/sharing.h"
#include "files/stored_names.h"

namespace winhost {

namespace {

// Windows first sets the copy to its whole size. So a copy without space changes nothing, and a cut copy ends with zeros.
bool CopyWithinLimits(int from, int to, off_t size) {
    std::string content(static_cast<std::size_t>(size), '\0');
    if (pread(from, content.data(), content.size(), 0) != size || !HasSpace(0, content.size())) return false;
    Step();
    return ftruncate(to, size) == 0 && WriteWhole(to, content.data(), content.size());
}

// Copies from the start of one file to the start of another, which is empty. Returns false with errno set when it fails.
bool CopyContent(int from, int to, off_t size) {
    if (HasLimits()) return CopyWithinLimits(from, to, size);
    for (;;) {
        const ssize_t copied = copy_file_range(from, nullptr, to, nullptr, std::size_t{1} << 30, 0);
        if (copied == 0) return true;
        if (copied < 0 && errno != EINTR) break;
    }
    // The kernel doesn't copy between all file systems.
    if (errno != EXDEV && errno != EINVAL && errno != EOPNOTSUPP && errno != ENOSYS) return false;
    std::array<char, 1 << 16> buffer;
    for (;;) {
        const ssize_t length = read(from, buffer.data(), buffer.size());
        if (length < 0 && errno == EINTR) continue;
        if (length <= 0) return length == 0;
        if (!WriteWhole(to, buffer.data(), static_cast<std::size_t>(length))) return false;
    }
}

DWORD CopyPlace(const Place& from, const Place& to, bool failIfExists) {
    if (from.isDevice) NotModelled("CopyFileW", "a device as the source");
    if (!from.exists()) return from.error;
    if (from.isFolder) return ERROR_ACCESS_DENIED;
    const auto source =
        OpenFile::Open(from.host, O_RDONLY, kReading, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE);
    if (!source) return GetLastError();
    if (to.exists() && to.host == from.host)
        return failIfExists ? ERROR_FILE_EXISTS : ERROR_SHARING_VIOLATION;
    const auto target = OpenPlace(to, kWriting, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                  failIfExists ? CREATE_NEW : CREATE_ALWAYS, FILE_ATTRIBUTE_ARCHIVE);
    if (!target) return GetLastError();
    if (to.isDevice) return 0;
    struct stat info;
    if (fstat(source->descriptor(), &info) != 0 ||
        !CopyContent(source->descriptor(), target->descriptor(), info.st_size)) {
        const DWORD error = ErrorOf(errno);
        (void)unlink(to.host.c_str());
        return error;
    }
    const DWORD attributes = StoredAttributes(from.host, false) & ~FILE_ATTRIBUTE_NORMAL;
    if (attributes & ~FILE_ATTRIBUTE_ARCHIVE)
        (void)StoreAttributes(to.host, attributes | FILE_ATTRIBUTE_ARCHIVE);
    const timespec times[] = {{0, UTIME_OMIT}, info.st_mtim};
    (void)futimens(target->descriptor(), times);
    return 0;
}

// Whether the target can be replaced. If not, the call reports missing rights.
bool CanReplace(const Place& to) {
    return !to.isFolder && !(StoredAttributes(to.host, false) & FILE_ATTRIBUTE_READONLY);
}

DWORD MoveAcross(const Place& from, const Place& to, bool replace) {
    if (const DWORD error = CopyPlace(from, to, !replace))
        return error == ERROR_FILE_EXISTS ? ERROR_ALREADY_EXISTS : error;
    // If the source can't be removed, it stays beside its copy, and the move still succeeds.
    (void)RemovePlace(from);
    return 0;
}

DWORD Move(LPCWSTR source, LPCWSTR target, bool replace, bool copyAllowed) {
    const Place from = LocateFile(source);
    if (!from.exists()) return from.error;
    const Place to = from.isFolder ? Locate(target) : LocateFile(target);
    if (to.isDevice) NotModelled("MoveFileExW", "a device as the target");
    if (!to.reachable()) return to.error;
    if (const DWORD error = RenameBlockedBy(from.host)) return error;
    const bool replaces = replace && to.exists() && to.host != from.host;
    if (replaces && !to.isFolder && IsInUse(to.host)) return ERROR_ACCESS_DENIED;
    if (UpperUnit(from.windows[0]) == UpperUnit(to.windows[0])) return MovePlace(from, to, replace);
    return copyAllowed ? MoveAcross(from, to, replace) : ERROR_NOT_SAME_DEVICE;
}

}  // namespace

DWORD MovePlace(const Place& from, const Place& to, bool replace) {
    if (!from.exists()) return from.error;
    if (!to.reachable()) return to.error;
    if (from.windows.size() == 3) return ERROR_ACCESS_DENIED;
    if (to.host.starts_with(from.host + "/")) return ERROR_SHARING_VIOLATION;
    // Moving a name to itself may change its upper and lower case.
    const bool respells = to.exists() && to.host == from.host;
    const bool replaces = to.exists() && !respells;
    if (replaces && !replace) return ERROR_ALREADY_EXISTS;
    if (replaces && !CanReplace(to)) return ERROR_ACCESS_DENIED;
    // The new name is spelled as the caller spells it, even if it replaces a file.
    std::string target = to.host;
    target.erase(target.rfind('/') + 1);
    target += Utf8(std::u16string_view(to.windows).substr(to.windows.rfind(u'\\') + 1));
    if (respells && target == from.host) return 0;
    Step();
    // On Windows a folder can replace a file. The host's rename can't do that.
    const bool clearsTarget = replaces && (from.isFolder || target != to.host);
    if (clearsTarget && unlink(to.host.c_str()) != 0) return ErrorOf(errno);
    // A file that appears at the target in the meantime isn't replaced.
    const unsigned flags = replaces && !clearsTarget ? 0 : RENAME_NOREPLACE;
    if (renameat2(AT_FDCWD, from.host.c_str(), AT_FDCWD, target.c_str(), flags) != 0) return ErrorOf(errno);
    GiveShortName(target);
    return 0;
}

}  // namespace winhost

using namespace winhost;

BOOL CopyFileW(LPCWSTR source, LPCWSTR target, BOOL failIfExists) {
    if (Fails("CopyFileW")) return FALSE;
    const DWORD error = CopyPlace(LocateFile(source), LocateFile(target), failIfExists);
    SetLastError(error);
    return error == 0;
}

BOOL MoveFileW(LPCWSTR source, LPCWSTR target) {
    if (Fails("MoveFileW")) return FALSE;
    const DWORD error = Move(source, target, false, true);
    if (error) SetLastError(error);
    return error == 0;
}

BOOL MoveFileExW(LPCWSTR source, LPCWSTR target, DWORD flags) {
    if (Fails("MoveFileExW")) return FALSE;
    if (flags & ~(MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED | MOVEFILE_DELAY_UNTIL_REBOOT))
        NotModelled("MoveFileExW", "flags " + std::to_string(flags));
    const bool replace = flags & MOVEFILE_REPLACE_EXISTING;
    if (flags & MOVEFILE_DELAY_UNTIL_REBOOT) {
        if (flags & MOVEFILE_COPY_ALLOWED)
            NotModelled("MoveFileExW", "a delayed move with MOVEFILE_COPY_ALLOWED");
        return AddBootMark(source, target, replace);
    }
    const DWORD error = Move(source, target, replace, flags & MOVEFILE_COPY_ALLOWED);
    if (error) SetLastError(error);
    return error == 0;
}
