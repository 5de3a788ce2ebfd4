// Version blocks of the machine's files.
#include <sys/mman.h>
#include <sys/stat.h>

#include "core/bytes.h"
#include "core/faults.h"
#include "core/machine.h"
#include "files/files.h"
#include "files/paths.h"
#include "files/sharing.h"
#include "processes/modules.h"
#include "processes/search.h"
#include "resources/version_block.h"

namespace winhost {

namespace {

// A name without a folder, or a relative one, is searched for like a library.
Place FileOf(LPCWSTR path) {
    Place file = SearchFile(path, u"", Wanted::Library);
    const bool bare = std::u16string_view(path).find_first_of(u"\\/:") == std::u16string_view::npos;
    if (!file.exists() && bare && IsSystemLibrary(path))
        NotModelled("GetFileVersionInfoW", "the version of a system library");
    return file;
}

class MappedFile {
  public:
    explicit MappedFile(LPCWSTR path) {
        m_file = OpenPlace(FileOf(path), kReading, FILE_SHARE_READ | FILE_SHARE_DELETE, OPEN_EXISTING, 0);
        m_error = m_file ? ERROR_SUCCESS : GetLastError();
        struct stat info;
        if (!m_file || fstat(m_file->descriptor(), &info) != 0) return;
        m_size = static_cast<std::size_t>(info.st_size);
        if (m_size == 0) return;
        m_data = mmap(nullptr, m_size, PROT_READ, MAP_PRIVATE, m_file->descriptor(), 0);
        if (m_data == MAP_FAILED) m_error = ERROR_NOT_ENOUGH_MEMORY;
    }
    ~MappedFile() {
        if (m_data != MAP_FAILED) munmap(m_data, m_size);
    }
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;

    VersionSearch FindBlock() const {
        if (m_error != ERROR_SUCCESS) return {m_error, {}};
        if (m_data == MAP_FAILED) return FindVersionBlock({});
        return FindVersionBlock({static_cast<const char*>(m_data), m_size});
    }

  private:
    DWORD m_error;
    std::unique_ptr<OpenFile> m_file;
    void* m_data = MAP_FAILED;
    std::size_t m_size = 0;
};

}  // namespace

}  // namespace winhost

using namespace winhost;

DWORD GetFileVersionInfoSizeW(LPCWSTR path, LPDWORD handle) {
    if (Fails("GetFileVersionInfoSizeW")) return 0;
    if (handle) *handle = 0;
    if (!path) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    const MappedFile file(path);
    const VersionSearch search = file.FindBlock();
    SetLastError(search.error);
    return static_cast<DWORD>(search.block.size());
}

BOOL GetFileVersionInfoW(LPCWSTR path, DWORD, DWORD cbData, LPVOID data) {
    if (Fails("GetFileVersionInfoW")) return FALSE;
    if (!path || !data || cbData < kVersionHeader) {
        SetLastError(data ? ERROR_INVALID_PARAMETER : ERROR_INVALID_DATA);
        return FALSE;
    }
    const MappedFile file(path);
    const VersionSearch search = file.FindBlock();
    SetLastError(search.error);
    if (search.error != ERROR_SUCCESS) return FALSE;
    const std::string_view block = search.block.substr(0, cbData);
    auto* out = static_cast<BYTE*>(data);
    std::copy(block.begin(), block.end(), out);
    std::fill_n(out + block.size(), cbData > block.size() ? kVersionHeader : 0, BYTE{0});
    // VerQueryValueW knows only the block's own length as its limit, so the length must not exceed the block.
    const std::size_t cbBlock = std::min<std::size_t>(WordAt(block, 0), block.size());
    out[0] = static_cast<BYTE>(cbBlock & 0xFF);
    out[1] = static_cast<BYTE>(cbBlock >> 8);
    return TRUE;
}

BOOL VerQueryValueW(LPCVOID data, LPCWSTR query, LPVOID* value, PUINT cbValue) {
    if (Fails("VerQueryValueW", ERROR_RESOURCE_TYPE_NOT_FOUND)) return FALSE;
    if (!data || !value) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    const auto* bytes = static_cast<const char*>(data);
    const auto found = FindVersionValue({bytes, WordAt({bytes, 2}, 0)}, query ? query : u"");
    if (!found) {
        SetLastError(ERROR_RESOURCE_TYPE_NOT_FOUND);
        return FALSE;
    }
    // As on Windows, the value is a part of the caller's block, which isn't constant there.
    *value = const_cast<char*>(found->bytes.data());
    if (cbValue) *cbValue = found->size;
    return TRUE;
}
