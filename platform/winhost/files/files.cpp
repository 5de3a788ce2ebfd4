// Opens, reads, writes, makes and deletes single files and folders.
#include "files/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "core/faults.h"
#include "core/handles.h"
#include "core/host_io.h"
#include "core/limits.h"
#include "core/machine.h"
#include "core/text.h"
#include "files/attributes.h"
#include "files/paths.h"
#include "files/sharing.h"
#include "files/stored_names.h"

namespace winhost {

namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
constexpr DWORD kCreationAttributes = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN |
                                      FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_NORMAL;
// A folder must leave space for a name of 8.3 characters, so its path must be shorter than that of a file.
constexpr std::size_t kMaxFolderPath = MAX_PATH - 12;
// Of 100 nanoseconds.
constexpr std::int64_t kTicksOfSecond = 10'000'000, kTicksTo1970 = 11'644'473'600 * kTicksOfSecond;

struct FileObject : KernelObject {
    FileObject(std::unique_ptr<OpenFile> opened, unsigned rights, std::u16string path)
        : file(std::move(opened)), access(rights), name(std::move(path)) {}
    std::u16string Name() const override { return name; }
    DWORD Wait(DWORD) override { NotModelled("WaitForSingleObject", "a file"); }
    std::unique_ptr<OpenFile> file;
    unsigned access;
    std::u16string name;
};

bool FailWith(DWORD error) {
    SetLastError(error);
    return false;
}

// Returns the opened file of a handle that has the right. Null, with the last error set, when there is none.
std::shared_ptr<FileObject> FileWith(HANDLE handle, unsigned access) {
    auto file = HandleAs<FileObject>(handle);
    if (!file || (file->access & access) == access) return file;
    SetLastError(ERROR_ACCESS_DENIED);
    return nullptr;
}

// Returns why an existing file can't be opened this way; 0 when it can.
DWORD OpeningError(DWORD stored, unsigned access, DWORD disposition, DWORD attributes) {
    const bool empties = disposition == CREATE_ALWAYS || disposition == TRUNCATE_EXISTING;
    if ((stored & FILE_ATTRIBUTE_READONLY) && (empties || access & kWriting)) return ERROR_ACCESS_DENIED;
    // A hidden or system file is replaced only by one with the same attributes.
    const DWORD lost = stored & (FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM) & ~attributes;
    return disposition == CREATE_ALWAYS && lost ? ERROR_ACCESS_DENIED : 0;
}

std::unique_ptr<OpenFile> OpenExisting(const Place& place, unsigned access, unsigned share, DWORD disposition,
                                       DWORD attributes) {
    const DWORD stored = StoredAttributes(place.host, false);
    if (const DWORD error = OpeningError(stored, access, disposition, attributes)) {
        SetLastError(error);
        return nullptr;
    }
    const bool empties = disposition == CREATE_ALWAYS || disposition == TRUNCATE_EXISTING;
    if (empties) access |= kWriting;
    // A claim needs a descriptor that can read, even if the file is only written.
    auto file = OpenFile::Open(place.host, access & kWriting ? O_RDWR : O_RDONLY, access, share);
    if (!file) return nullptr;
    if (empties) Step();
    if (empties && ftruncate(file->descriptor(), 0) != 0) {
        SetLastError(ErrorOf(errno));
        return nullptr;
    }
    const DWORD renewed = (attributes & ~FILE_ATTRIBUTE_NORMAL) | FILE_ATTRIBUTE_ARCHIVE;
    if (disposition == CREATE_ALWAYS && renewed != stored) (void)StoreAttributes(place.host, renewed);
    const bool tells = disposition == CREATE_ALWAYS || disposition == OPEN_ALWAYS;
    SetLastError(tells ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
    return file;
}

std::unique_ptr<OpenFile> MakeFile(const Place& place, unsigned access, unsigned share, DWORD disposition,
                                   DWORD attributes) {
    Step();
    const int once = disposition == CREATE_NEW ? O_EXCL : 0;
    auto file = OpenFile::Open(place.host, O_RDWR | O_CREAT | once, access, share);
    if (!file) {
        if (GetLastError() == ERROR_ALREADY_EXISTS) SetLastError(ERROR_FILE_EXISTS);
        return nullptr;
    }
    GiveShortName(place.host);
    const DWORD given = (attributes & ~FILE_ATTRIBUTE_NORMAL) | FILE_ATTRIBUTE_ARCHIVE;
    if (given != FILE_ATTRIBUTE_ARCHIVE) (void)StoreAttributes(place.host, given);
    SetLastError(ERROR_SUCCESS);
    return file;
}

std::unique_ptr<OpenFile> OpenFolder(const Place& place, unsigned access, unsigned share, DWORD disposition) {
    if (disposition != OPEN_EXISTING && disposition != OPEN_ALWAYS) {
        SetLastError(disposition == CREATE_NEW ? ERROR_FILE_EXISTS : ERROR_ACCESS_DENIED);
        return nullptr;
    }
    auto folder = OpenFile::Open(place.host, O_RDONLY | O_DIRECTORY, access, share);
    if (folder) SetLastError(disposition == OPEN_ALWAYS ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
    return folder;
}

// The machine has only one device, NUL, which accepts everything.
std::unique_ptr<OpenFile> OpenDevice(const Place& place) {
    if (SameName(place.windows, u"\\\\.\\NUL")) {
        auto device = OpenFile::Open("/dev/null", O_RDWR, 0, kShareAll);
        if (device) SetLastError(ERROR_SUCCESS);
        return device;
    }
    if (Upper(place.windows).starts_with(u"\\\\.\\CON")) NotModelled("CreateFileW", "the console");
    SetLastError(ERROR_FILE_NOT_FOUND);
    return nullptr;
}

bool IsDriveRoot(const Place& place) {
    return place.windows.size() == 3;
}

}  // namespace

std::unique_ptr<OpenFile> OpenPlace(const Place& place, unsigned access, unsigned share, DWORD disposition,
                                    DWORD attributes) {
    const bool makes = disposition != OPEN_EXISTING && disposition != TRUNCATE_EXISTING;
    if (place.isDevice) return OpenDevice(place);
    const std::size_t last = place.windows.rfind(u'\\') + 1;
    if (makes && place.error == ERROR_INVALID_NAME && place.windows.find(u':', last) != std::u16string::npos)
        NotModelled("CreateFileW", "a stream of a file: " + Utf8(place.windows));
    DWORD error = 0;
    if (place.exists() && disposition == CREATE_NEW)
        error = ERROR_FILE_EXISTS;
    else if (place.exists() && place.isFolder)
        error = ERROR_ACCESS_DENIED;
    else if (!place.exists() && !(makes && place.reachable()))
        error = place.error;
    if (error == 0)
        return place.exists() ? OpenExisting(place, access, share, disposition, attributes)
                              : MakeFile(place, access, share, disposition, attributes);
    SetLastError(error);
    return nullptr;
}

DWORD MakeFolder(const Place& place) {
    Step();
    if (mkdir(place.host.c_str(), 0777) != 0) return ErrorOf(errno);
    GiveShortName(place.host);
    return 0;
}

DWORD RemovePlace(const Place& place) {
    if (!place.exists()) return place.error;
    if (IsDriveRoot(place)) return ERROR_ACCESS_DENIED;
    if (StoredAttributes(place.host, place.isFolder) & FILE_ATTRIBUTE_READONLY) return ERROR_ACCESS_DENIED;
    Step();
    const int result = place.isFolder ? rmdir(place.host.c_str()) : unlink(place.host.c_str());
    return result == 0 ? 0 : ErrorOf(errno);
}

}  // namespace winhost

using namespace winhost;

HANDLE CreateFileW(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security, DWORD disposition,
                   DWORD flags, HANDLE templateFile) {
    if (Fails("CreateFileW")) return INVALID_HANDLE_VALUE;
    if (security || templateFile) NotModelled("CreateFileW", "security attributes, template files");
    if (access & ~(GENERIC_READ | GENERIC_WRITE | DELETE | READ_CONTROL))
        NotModelled("CreateFileW", "access " + std::to_string(access));
    // A machine has no links of its own, so a link is never opened.
    if (flags & ~(kCreationAttributes | FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT))
        NotModelled("CreateFileW", "flags " + std::to_string(flags));
    const bool isDisposition = disposition >= CREATE_NEW && disposition <= TRUNCATE_EXISTING;
    if (!isDisposition || share & ~kShareAll ||
        (disposition == TRUNCATE_EXISTING && !(access & GENERIC_WRITE))) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return INVALID_HANDLE_VALUE;
    }
    const unsigned rights = (access & GENERIC_READ ? kReading : 0) | (access & GENERIC_WRITE ? kWriting : 0) |
                            (access & DELETE ? kDeleting : 0);
    const bool makes = disposition != OPEN_EXISTING && disposition != TRUNCATE_EXISTING;
    const Place place = makes ? LocateFile(path) : Locate(path);
    const bool asFolder = place.exists() && place.isFolder && (flags & FILE_FLAG_BACKUP_SEMANTICS);
    auto file = asFolder ? OpenFolder(place, rights, share, disposition)
                         : OpenPlace(place, rights, share, disposition, flags & kCreationAttributes);
    if (file) {
        const DWORD outcome = GetLastError();
        const HANDLE handle = AddHandle(std::make_shared<FileObject>(std::move(file), rights, place.windows));
        SetLastError(outcome);
        return handle;
    }
    // A path to a folder with a closing separator counts as one that leads to no file.
    if (place.exists() && place.isFolder && !asFolder && disposition != CREATE_NEW && place.isClosed)
        SetLastError(ERROR_PATH_NOT_FOUND);
    return INVALID_HANDLE_VALUE;
}

BOOL ReadFile(HANDLE handle, LPVOID buffer, DWORD cbBuffer, LPDWORD cbRead, void* overlapped) {
    if (Fails("ReadFile")) return FALSE;
    if (overlapped) NotModelled("ReadFile", "overlapped reading");
    if (cbRead) *cbRead = 0;
    const auto file = FileWith(handle, kReading);
    if (!file) return FALSE;
    const ssize_t length = read(file->file->descriptor(), buffer, cbBuffer);
    if (length < 0) return FailWith(ErrorOf(errno));
    if (cbRead) *cbRead = static_cast<DWORD>(length);
    return TRUE;
}

BOOL WriteFile(HANDLE handle, LPCVOID data, DWORD cbData, LPDWORD cbWritten, void* overlapped) {
    if (Fails("WriteFile")) return FALSE;
    if (overlapped) NotModelled("WriteFile", "overlapped writing");
    if (cbWritten) *cbWritten = 0;
    const auto file = FileWith(handle, kWriting);
    if (!file) return FALSE;
    if (!WriteWhole(file->file->descriptor(), data, cbData)) return FailWith(ErrorOf(errno));
    if (cbData) MarkWritten(file->file->descriptor());
    if (cbWritten) *cbWritten = cbData;
    return TRUE;
}

DWORD GetFileSize(HANDLE handle, LPDWORD high) {
    if (Fails("GetFileSize")) return INVALID_FILE_SIZE;
    const auto file = FileWith(handle, 0);
    if (!file) return INVALID_FILE_SIZE;
    struct stat info;
    if (fstat(file->file->descriptor(), &info) != 0) {
        SetLastError(ErrorOf(errno));
        return INVALID_FILE_SIZE;
    }
    const auto size = static_cast<ULONGLONG>(info.st_size);
    if (high) *high = static_cast<DWORD>(size >> 32);
    // The low half of a size can look like the failure. The last error then shows that it is none.
    if (static_cast<DWORD>(size) == INVALID_FILE_SIZE) SetLastError(ERROR_SUCCESS);
    return static_cast<DWORD>(size);
}

BOOL SetFilePointerEx(HANDLE handle, LARGE_INTEGER distance, LARGE_INTEGER* place, DWORD method) {
    if (Fails("SetFilePointerEx")) return FALSE;
    if (method != FILE_BEGIN || place)
        NotModelled("SetFilePointerEx", "a place that isn't counted from the start");
    const auto file = FileWith(handle, 0);
    if (!file) return FALSE;
    if (distance.QuadPart < 0) return FailWith(ERROR_NEGATIVE_SEEK);
    return lseek(file->file->descriptor(), distance.QuadPart, SEEK_SET) >= 0 || FailWith(ErrorOf(errno));
}

BOOL SetFileTime(HANDLE handle, const FILETIME* created, const FILETIME* accessed, const FILETIME* written) {
    if (Fails("SetFileTime")) return FALSE;
    if (created || accessed || !written)
        NotModelled("SetFileTime", "another time than that of the last write");
    const auto file = FileWith(handle, kWriting);
    if (!file) return FALSE;
    const auto ticks =
        static_cast<std::int64_t>(std::uint64_t{written->dwHighDateTime} << 32 | written->dwLowDateTime);
    if (ticks < 0) NotModelled("SetFileTime", "a time that stands for something else");
    if (ticks == 0) return TRUE;  // no time
    const timespec times[2] = {
        {0, UTIME_OMIT},
        {ticks / kTicksOfSecond - kTicksTo1970 / kTicksOfSecond, ticks % kTicksOfSecond * 100}};
    return futimens(file->file->descriptor(), times) == 0 || FailWith(ErrorOf(errno));
}

BOOL DeleteFileW(LPCWSTR path) {
    if (Fails("DeleteFileW")) return FALSE;
    const Place place = LocateFile(path);
    DWORD error = place.isDevice ? ERROR_INVALID_PARAMETER : place.error;
    if (!error && place.isFolder) error = ERROR_ACCESS_DENIED;
    if (!error) error = DeleteBlockedBy(place.host);
    if (!error) error = RemovePlace(place);
    return error == 0 || FailWith(error);
}

BOOL CreateDirectoryW(LPCWSTR path, LPSECURITY_ATTRIBUTES security) {
    if (Fails("CreateDirectoryW")) return FALSE;
    if (security) NotModelled("CreateDirectoryW", "security attributes");
    const Place place = Locate(path);
    if (place.windows.size() >= kMaxFolderPath) return FailWith(ERROR_FILENAME_EXCED_RANGE);
    if (place.isDevice) return FailWith(ERROR_DIRECTORY);
    // A file that is named with a closing separator is in the way, too.
    if (place.exists() || place.isFileForFolder) return FailWith(ERROR_ALREADY_EXISTS);
    if (!place.reachable()) return FailWith(place.error);
    const DWORD error = MakeFolder(place);
    return error == 0 || FailWith(error);
}

BOOL RemoveDirectoryW(LPCWSTR path) {
    if (Fails("RemoveDirectoryW")) return FALSE;
    const Place place = Locate(path);
    DWORD error = place.isDevice ? ERROR_DIRECTORY : place.error;
    if (!error && !place.isFolder) error = ERROR_DIRECTORY;
    if (!error) error = DeleteBlockedBy(place.host);
    if (!error) error = RemovePlace(place);
    return error == 0 || FailWith(error);
}

DWORD GetFileAttributesW(LPCWSTR path) {
    if (Fails("GetFileAttributesW")) return INVALID_FILE_ATTRIBUTES;
    const Place place = Locate(path);
    if (place.exists()) return StoredAttributes(place.host, place.isFolder);
    if (place.isDevice) return FILE_ATTRIBUTE_ARCHIVE;
    SetLastError(place.error);
    return INVALID_FILE_ATTRIBUTES;
}

BOOL SetFileAttributesW(LPCWSTR path, DWORD attributes) {
    if (Fails("SetFileAttributesW")) return FALSE;
    const Place place = Locate(path);
    // Bits that can't be set are dropped. Callers pass back what they
    // have read, even with the bit of a folder or the value of a failure.
    if (place.exists() && place.isFolder && (attributes & FILE_ATTRIBUTE_TEMPORARY))
        return FailWith(ERROR_INVALID_PARAMETER);
    if (place.exists()) return StoreAttributes(place.host, attributes);
    if (place.isDevice) return TRUE;
    SetLastError(place.error);
    return FALSE;
}
