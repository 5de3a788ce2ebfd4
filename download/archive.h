// The download as a file: finds what the program carries, and reads it.
#pragma once

#include <framework.h>

#include <functional>

#include "format.h"
#include "outcome.h"
#include "support/handles.h"

namespace download {

// Opens a file or, with FILE_FLAG_BACKUP_SEMANTICS in `flags`, a folder. Null, with the last error set, on failure.
KernelHandle OpenHandle(LPCWSTR path, DWORD access, DWORD share, DWORD disposition, DWORD flags);

// A scanner may look at a file that is being written.
inline constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// The size of the next piece where so many bytes are left. Most streams of an update are small, and a large buffer would take
// longer than they do.
std::size_t PieceOf(std::uint64_t cbLeft);
bool Seek(HANDLE file, std::uint64_t offset);
std::uint64_t SizeOf(HANDLE file);
// Damaged if the file ends before.
Outcome ReadExactly(HANDLE file, void* bytes, std::size_t cb);
// NoSpace if not all bytes can be written.
Outcome WriteExactly(HANDLE file, const char* bytes, std::size_t cb);

// False only if the drive surely has too little. Others may take what it has now, so each write is checked too.
bool HasSpace(const CString& folder, std::uint64_t cb);

FILETIME TimeOf(const Entry& entry);

struct Archive {
    CString path;
    std::uint64_t cbProgram;
    Table table;
};

// Opens the download for reading. It may be renamed or deleted meanwhile.
KernelHandle OpenArchiveFile(const CString& path);

// Checks program and trailer of the download at `path`, and reads its table.
Outcome OpenArchive(const CString& path, Archive& archive);

// Unpacks `cbPacked` bytes of the file from its present place on, which must be one whole .xz stream of `cbUnpacked`
// bytes. Gives the bytes to `take` in pieces. When `take` returns another outcome than Right, so does this function.
using Take = std::function<Outcome(const char* bytes, std::size_t cb)>;
Outcome UnpackStream(HANDLE file, std::uint64_t cbPacked, std::uint64_t cbUnpacked, const Take& take);

}  // namespace download
