// The current folder, and the folders of the system.
#include "files/folders.h"

#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "core/faults.h"
#include "core/host_io.h"
#include "files/files.h"
#include "files/paths.h"
#include "files/sharing.h"

namespace winhost {

namespace {

// The claim on the current folder. It is replaced when another folder becomes current.
std::unique_ptr<OpenFile> currentClaim;

std::unique_ptr<OpenFile> ClaimFolder(const std::string& host) {
    return OpenFile::Open(host, 0, kReading, FILE_SHARE_READ | FILE_SHARE_WRITE);
}

// Space for a made-up name after a folder, in characters: three letters, a number, an extension.
constexpr std::size_t kTempNameSpace = 14;

std::u16string TempName(std::u16string_view folder, LPCWSTR prefix, UINT number) {
    static constexpr char16_t kDigits[] = u"0123456789ABCDEF";
    std::u16string name(folder);
    if (!EndsInSeparator(name.c_str())) name += u'\\';
    for (int i = 0; i < 3 && prefix && prefix[i]; ++i)
        name += prefix[i];
    int shift = 12;
    while (shift > 0 && (number >> shift & 0xF) == 0)
        shift -= 4;
    for (; shift >= 0; shift -= 4)
        name += kDigits[number >> shift & 0xF];
    return name + u".tmp";
}

// The first of the variables that is set, or the Windows folder.
std::u16string TempFolder() {
    for (const char16_t* variable : {u"TMP", u"TEMP", u"USERPROFILE"}) {
        WCHAR text[MAX_PATH];
        const DWORD length = GetEnvironmentVariableW(variable, text, MAX_PATH);
        if (length == 0 || length >= MAX_PATH) continue;
        if (const std::u16string full = FullPath(text); !full.empty()) return full;
    }
    return u"C:\\Windows";
}

}  // namespace

DWORD CopyOut(std::u16string_view text, LPWSTR buffer, DWORD cchBuffer) {
    if (text.size() >= cchBuffer) return static_cast<DWORD>(text.size() + 1);
    *std::copy(text.begin(), text.end(), buffer) = 0;
    return static_cast<DWORD>(text.size());
}

void ClaimCurrentFolder() {
    std::error_code error;
    currentClaim = ClaimFolder(std::filesystem::current_path(error).native());
}

}  // namespace winhost

using namespace winhost;

DWORD GetTempPathW(DWORD cchBuffer, LPWSTR buffer) {
    if (Fails("GetTempPathW")) return 0;
    std::u16string folder = TempFolder();
    if (!EndsInSeparator(folder.c_str())) folder += u'\\';
    return CopyOut(folder, buffer, cchBuffer);
}

UINT GetTempFileNameW(LPCWSTR folder, LPCWSTR prefix, UINT unique, LPWSTR name) {
    if (Fails("GetTempFileNameW")) return 0;
    if (wcslen(folder) > MAX_PATH - kTempNameSpace) {
        SetLastError(ERROR_BUFFER_OVERFLOW);
        return 0;
    }
    const Place place = Locate(folder);
    if (!place.exists() || !place.isFolder) {
        SetLastError(ERROR_DIRECTORY);
        return 0;
    }
    constexpr UINT kNumbers = 0x10000;
    unique %= kNumbers;
    // Processes start at different numbers, so they rarely try the same name.
    static UINT next = static_cast<UINT>(getpid()) * 7919;
    for (UINT tries = 0; tries < kNumbers; ++tries) {
        const UINT number = unique ? unique : next++ % kNumbers;
        if (unique == 0 && number == 0) continue;
        const std::u16string full = TempName(folder, prefix, number);
        if (unique == 0 && !OpenPlace(Locate(full), kWriting, 0, CREATE_NEW, FILE_ATTRIBUTE_NORMAL)) {
            if (GetLastError() == ERROR_FILE_EXISTS) continue;
            return 0;
        }
        (void)CopyOut(full, name, MAX_PATH);
        return number;
    }
    return 0;
}

UINT GetWindowsDirectoryW(LPWSTR buffer, UINT cchBuffer) {
    if (Fails("GetWindowsDirectoryW")) return 0;
    return CopyOut(u"C:\\Windows", buffer, cchBuffer);
}

UINT GetSystemDirectoryW(LPWSTR buffer, UINT cchBuffer) {
    if (Fails("GetSystemDirectoryW")) return 0;
    return CopyOut(u"C:\\Windows\\System32", buffer, cchBuffer);
}

DWORD GetCurrentDirectoryW(DWORD cchBuffer, LPWSTR buffer) {
    if (Fails("GetCurrentDirectoryW")) return 0;
    return CopyOut(CurrentFolder(), buffer, cchBuffer);
}

BOOL SetCurrentDirectoryW(LPCWSTR path) {
    if (Fails("SetCurrentDirectoryW")) return FALSE;
    const Place place = Locate(path);
    DWORD error = place.error;
    if (!path || !*path) error = ERROR_INVALID_NAME;
    if (place.isDevice || (!error && !place.isFolder)) error = ERROR_DIRECTORY;
    if (error) {
        SetLastError(error);
        return FALSE;
    }
    auto claim = ClaimFolder(place.host);
    if (!claim) return FALSE;
    if (chdir(place.host.c_str()) != 0) {
        SetLastError(ErrorOf(errno));
        return FALSE;
    }
    currentClaim = std::move(claim);
    SpellCurrentFolder(place);
    return TRUE;
}

DWORD GetFullPathNameW(LPCWSTR path, DWORD cchBuffer, LPWSTR buffer, LPWSTR* filePart) {
    if (Fails("GetFullPathNameW")) return 0;
    if (filePart) *filePart = nullptr;
    const std::u16string full = FullPath(path);
    if (full.empty()) {
        SetLastError(ERROR_INVALID_NAME);
        return 0;
    }
    const DWORD length = CopyOut(full, buffer, cchBuffer);
    const std::size_t last = full.rfind(u'\\') + 1;
    // Devices and servers have no file part.
    const bool hasPart = last > 2 && last < full.size() && !full.starts_with(u"\\\\.\\");
    if (filePart && length < cchBuffer && hasPart) *filePart = buffer + last;
    return length;
}

// The host's own space: a limit of the machine stands for space that other programs use meanwhile.
BOOL GetDiskFreeSpaceExW(LPCWSTR folder, ULARGE_INTEGER* available, ULARGE_INTEGER* all,
                         ULARGE_INTEGER* free) {
    if (Fails("GetDiskFreeSpaceExW")) return FALSE;
    if (!folder || all || free) NotModelled("GetDiskFreeSpaceExW", "other sizes than what is available");
    const Place place = Locate(folder);
    if (place.error == ERROR_FILE_NOT_FOUND) NotModelled("GetDiskFreeSpaceExW", "a folder that is missing");
    struct statvfs drive = {};
    const DWORD error = !place.exists()                            ? place.error
                        : !place.isFolder                          ? ERROR_DIRECTORY
                        : statvfs(place.host.c_str(), &drive) != 0 ? ErrorOf(errno)
                                                                   : 0;
    if (error != 0) {
        SetLastError(error);
        return FALSE;
    }
    available->QuadPart = std::uint64_t{drive.f_bavail} * drive.f_frsize;
    return TRUE;
}
