// Files of the runtime library: streams with Windows' text mode, and the test whether a file exists.
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "core/faults.h"
#include "core/host_io.h"
#include "core/limits.h"
#include "core/machine.h"
#include "files/attributes.h"
#include "files/files.h"
#include "files/paths.h"
#include "files/sharing.h"

namespace winhost {

namespace {

constexpr char kTextEnd = 0x1A;

// Returns the errno that the runtime makes from a platform's error code.
int ErrnoOf(DWORD error) {
    switch (error) {
        case ERROR_FILE_NOT_FOUND:
        case ERROR_PATH_NOT_FOUND:
        case ERROR_BAD_NETPATH:
        case ERROR_BAD_PATHNAME:
            return ENOENT;
        case ERROR_TOO_MANY_OPEN_FILES:
            return EMFILE;
        case ERROR_FILE_EXISTS:
        case ERROR_ALREADY_EXISTS:
            return EEXIST;
        case ERROR_NOT_ENOUGH_MEMORY:
            return ENOMEM;
        case ERROR_DISK_FULL:
            return ENOSPC;
        case ERROR_ACCESS_DENIED:
        case ERROR_SHARING_VIOLATION:
            return EACCES;
        default:
            return EINVAL;
    }
}

struct Stream {
    std::unique_ptr<OpenFile> file;
    bool isText;
    bool appends;
    bool ended = false;  // the end mark of a text has been read
};

ssize_t ReadRaw(int descriptor, char* buffer, std::size_t cbBuffer) {
    for (;;) {
        const ssize_t length = read(descriptor, buffer, cbBuffer);
        if (length >= 0 || errno != EINTR) return length;
    }
}

// Whether the next byte is a line feed. If so, it is read.
bool TakeLineFeed(int descriptor) {
    char next;
    if (ReadRaw(descriptor, &next, 1) != 1) return false;
    if (next == '\n') return true;
    (void)lseek(descriptor, -1, SEEK_CUR);
    return false;
}

// Removes the carriage returns of line ends, and everything from the end mark on. Returns the new length.
std::size_t ToText(Stream& stream, char* bytes, std::size_t length) {
    if (const void* mark = std::memchr(bytes, kTextEnd, length)) {
        stream.ended = true;
        length = static_cast<std::size_t>(static_cast<const char*>(mark) - bytes);
    }
    std::size_t kept = 0;
    for (std::size_t i = 0; i < length; ++i) {
        if (bytes[i] == '\r' && i + 1 < length && bytes[i + 1] == '\n') continue;
        bytes[kept++] = bytes[i];
    }
    const bool mayBeCut = length > 0 && bytes[length - 1] == '\r' && !stream.ended;
    if (mayBeCut && TakeLineFeed(stream.file->descriptor())) bytes[kept - 1] = '\n';
    return kept;
}

ssize_t ReadStream(void* cookie, char* buffer, std::size_t cbBuffer) {
    if (Fails("ReadFile")) {
        errno = ErrnoOf(GetLastError());
        return -1;
    }
    Stream& stream = *static_cast<Stream*>(cookie);
    if (stream.ended) return 0;
    const ssize_t length = ReadRaw(stream.file->descriptor(), buffer, cbBuffer);
    if (length <= 0 || !stream.isText) return length;
    return static_cast<ssize_t>(ToText(stream, buffer, static_cast<std::size_t>(length)));
}

// Returns 0 for a failure, as the host's library expects from a stream.
ssize_t WriteStream(void* cookie, const char* data, std::size_t cbData) {
    if (Fails("WriteFile")) {
        errno = ErrnoOf(GetLastError());
        return 0;
    }
    const Stream& stream = *static_cast<Stream*>(cookie);
    std::string stored;
    stored.reserve(cbData);
    for (const char byte : std::string_view(data, cbData)) {
        if (byte == '\n' && stream.isText) stored += '\r';
        stored += byte;
    }
    if (stream.appends) (void)lseek(stream.file->descriptor(), 0, SEEK_END);
    if (!WriteWhole(stream.file->descriptor(), stored.data(), stored.size())) return 0;
    if (cbData) MarkWritten(stream.file->descriptor());
    return static_cast<ssize_t>(cbData);
}

// In text mode, positions other than the start and the end count stored bytes.
int SeekStream(void* cookie, off64_t* offset, int from) {
    Stream& stream = *static_cast<Stream*>(cookie);
    const off_t place = lseek(stream.file->descriptor(), *offset, from);
    if (place < 0) return -1;
    stream.ended = false;
    *offset = place;
    return 0;
}

int CloseStream(void* cookie) {
    delete static_cast<Stream*>(cookie);
    return 0;
}

// Whether the runtime knows this way of opening a file.
bool IsMode(std::string_view mode) {
    mode.remove_prefix(std::min(mode.find_first_not_of(' '), mode.size()));
    const auto flags = mode.substr(std::min<std::size_t>(mode.size(), 1));
    return !mode.empty() && std::string_view("rwa").find(mode[0]) != mode.npos &&
           (flags.find(',') != flags.npos || flags.find_first_not_of(" +bcntDNRSTx") == flags.npos);
}

}  // namespace

}  // namespace winhost

using namespace winhost;

FILE* _wfopen(const char16_t* path, const char16_t* mode) {
    if (Fails("_wfopen")) {
        errno = ErrnoOf(GetLastError());
        return nullptr;
    }
    const std::string text = mode ? Utf8(mode) : std::string();
    if (!path || !IsMode(text)) {
        errno = EINVAL;
        return nullptr;
    }
    const char kind = text[0];
    const std::string flags = text.substr(1);
    if (kind == ' ' || (!flags.empty() && flags != "b")) NotModelled("_wfopen", "mode " + text);
    const DWORD disposition = kind == 'r' ? OPEN_EXISTING : kind == 'w' ? CREATE_ALWAYS : OPEN_ALWAYS;
    const unsigned access = kind == 'r' ? kReading : kWriting;
    auto file = OpenPlace(LocateFile(path), access, FILE_SHARE_READ | FILE_SHARE_WRITE, disposition,
                          FILE_ATTRIBUTE_NORMAL);
    if (!file) {
        errno = ErrnoOf(GetLastError());
        return nullptr;
    }
    auto stream = std::make_unique<Stream>(Stream{std::move(file), flags.empty(), kind == 'a'});
    const cookie_io_functions_t calls = {ReadStream, WriteStream, SeekStream, CloseStream};
    FILE* opened = fopencookie(stream.get(), kind == 'r' ? "r" : "w", calls);
    if (opened) (void)stream.release();
    return opened;
}

int _waccess(const char16_t* path, int mode) {
    if (!path || (mode & ~6)) {
        errno = EINVAL;
        return -1;
    }
    const Place place = Locate(path);
    DWORD error = FaultOf("_waccess");
    if (!error && !place.isDevice) error = place.error;
    // A folder can be written to, whatever its attributes say.
    if (!error && (mode & 2) && !place.isFolder &&
        (StoredAttributes(place.host, false) & FILE_ATTRIBUTE_READONLY))
        error = ERROR_ACCESS_DENIED;
    if (!error) return 0;
    SetLastError(error);
    errno = ErrnoOf(error);
    return -1;
}
