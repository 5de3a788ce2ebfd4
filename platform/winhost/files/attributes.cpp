// Attributes of files and folders, and the extended attributes of the host that hold them.
#include "files/attributes.h"

#include <sys/stat.h>
#include <sys/xattr.h>

#include <algorithm>
#include <cerrno>
#include <charconv>

#include "core/host_io.h"
#include "core/limits.h"
#include "core/machine.h"

namespace winhost {

namespace {

constexpr DWORD kSettable = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM |
                            FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_TEMPORARY | FILE_ATTRIBUTE_OFFLINE |
                            FILE_ATTRIBUTE_NOT_CONTENT_INDEXED;

// The attributes of a file or folder without a stored value. A new one needs no stored value. A file that came from the host is
// read-only if its owner may not write it.
DWORD Default(const std::string& host, bool isFolder) {
    if (isFolder) return 0;
    struct stat status = {};
    const bool isReadOnly = stat(host.c_str(), &status) == 0 && !(status.st_mode & S_IWUSR);
    return isReadOnly ? FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_READONLY : FILE_ATTRIBUTE_ARCHIVE;
}

void EndWithoutAttributes(const std::string& host) {
    NotModelled("attributes", "a file system without extended attributes: " + host);
}

}  // namespace

std::string KeptText(const std::string& host, const char* name) {
    char text[512];
    const ssize_t length = getxattr(host.c_str(), name, text, sizeof text);
    if (length < 0 && errno == ENOTSUP) EndWithoutAttributes(host);
    return {text, static_cast<std::size_t>(std::max<ssize_t>(length, 0))};
}

bool KeepText(const std::string& host, const char* name, const std::string& text) {
    if (setxattr(host.c_str(), name, text.data(), text.size(), 0) == 0) return true;
    if (errno == ENOTSUP) EndWithoutAttributes(host);
    return false;
}

std::string KeptShortName(const std::string& folder, std::string_view name) {
    constexpr std::size_t kLongest = 12;
    const std::string kept = KeptText(folder + "/" + std::string(name), kShortNameText);
    const std::size_t end = kept.find(kNameSeparator);
    return end <= kLongest && std::string_view(kept).substr(end + 1) == name ? kept.substr(0, end)
                                                                             : std::string();
}

void DropText(const std::string& host, const char* name) {
    (void)removexattr(host.c_str(), name);
}

DWORD StoredAttributes(const std::string& host, bool isFolder) {
    const std::string digits = KeptText(host, kAttributesText);
    DWORD attributes = digits.empty() ? Default(host, isFolder) : 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), attributes);
    attributes = (attributes & kSettable) | (isFolder ? FILE_ATTRIBUTE_DIRECTORY : 0);
    return attributes ? attributes : FILE_ATTRIBUTE_NORMAL;
}

bool StoreAttributes(const std::string& host, DWORD attributes) {
    Step();
    if (KeepText(host, kAttributesText, std::to_string(attributes & kSettable))) return true;
    SetLastError(ErrorOf(errno));
    return false;
}

void MarkWritten(int descriptor) {
    const std::string host = "/proc/self/fd/" + std::to_string(descriptor);
    const DWORD stored = StoredAttributes(host, false);
    if (!(stored & FILE_ATTRIBUTE_ARCHIVE)) (void)StoreAttributes(host, stored | FILE_ATTRIBUTE_ARCHIVE);
}

}  // namespace winhost
