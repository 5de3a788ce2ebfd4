#include "archive.h"

#include <lzma.h>

#include <algorithm>

namespace download {

namespace {

constexpr DWORD cbPiece = 256 << 10;
// A program without the package is smaller.
constexpr std::uint64_t cbMostProgram = 64 << 20;

class Decoder {
  public:
    // Concatenated streams aren't allowed: a block is one stream.
    Decoder() : m_ready(lzma_stream_decoder(&m_stream, cbMostDecoder, 0) == LZMA_OK) {}
    ~Decoder() { lzma_end(&m_stream); }
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;

    bool IsReady() const { return m_ready; }
    lzma_stream& Stream() { return m_stream; }

  private:
    lzma_stream m_stream = LZMA_STREAM_INIT;
    bool m_ready;
};

Outcome ReadAt(HANDLE file, std::uint64_t offset, std::string& bytes) {
    if (!Seek(file, offset)) return Outcome::Failed;
    return ReadExactly(file, bytes.data(), bytes.size());
}

// Feeds the decoder from a file, piece by piece.
class Input {
  public:
    Input(HANDLE file, std::uint64_t cbLeft) : m_file(file), m_left(cbLeft), m_piece(PieceOf(cbLeft), 0) {}

    Outcome Refill(lzma_stream& stream) {
        if (stream.avail_in != 0 || m_left == 0) return Outcome::Right;
        const std::size_t cb = PieceOf(m_left);
        m_left -= cb;
        stream.next_in = reinterpret_cast<const std::uint8_t*>(m_piece.data());
        stream.avail_in = cb;
        return ReadExactly(m_file, m_piece.data(), cb);
    }

    // Whether fewer than eight bytes are left, each of them 0.
    bool IsUsedUp(const lzma_stream& stream) const {
        return m_left == 0 && stream.avail_in < 8 &&
               std::all_of(stream.next_in, stream.next_in + stream.avail_in,
                           [](auto byte) { return byte == 0; });
    }

  private:
    HANDLE m_file;
    std::uint64_t m_left;
    std::string m_piece;
};

Outcome ReadTableOf(HANDLE file, const Trailer& trailer, Archive& archive) {
    if (!Seek(file, trailer.cbProgram + trailer.cbBlocks)) return Outcome::Failed;
    std::string bytes;
    const Outcome outcome =
        UnpackStream(file, trailer.cbTable, trailer.cbTableUnpacked, [&](const char* piece, std::size_t cb) {
            bytes.append(piece, cb);
            return Outcome::Right;
        });
    if (outcome != Outcome::Right) return outcome;
    std::optional<Table> table = ReadTable(bytes, trailer.cbBlocks);
    if (!table) return Outcome::Damaged;
    archive.table = std::move(*table);
    archive.cbProgram = trailer.cbProgram;
    return Outcome::Right;
}

}  // namespace

KernelHandle OpenHandle(LPCWSTR path, DWORD access, DWORD share, DWORD disposition, DWORD flags) {
    const HANDLE handle = CreateFileW(path, access, share, nullptr, disposition, flags, nullptr);
    return KernelHandle(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}

std::size_t PieceOf(std::uint64_t cbLeft) {
    return static_cast<std::size_t>(std::min<std::uint64_t>(cbLeft, cbPiece));
}

bool Seek(HANDLE file, std::uint64_t offset) {
    LARGE_INTEGER place;
    place.QuadPart = static_cast<LONGLONG>(offset);
    return SetFilePointerEx(file, place, nullptr, FILE_BEGIN) != FALSE;
}

std::uint64_t SizeOf(HANDLE file) {
    DWORD high = 0;
    const DWORD low = GetFileSize(file, &high);
    return std::uint64_t{high} << 32 | low;
}

Outcome ReadExactly(HANDLE file, void* bytes, std::size_t cb) {
    DWORD cbRead = 0;
    if (!ReadFile(file, bytes, static_cast<DWORD>(cb), &cbRead, nullptr)) return OutcomeOf(GetLastError());
    return cbRead == cb ? Outcome::Right : Outcome::Damaged;
}

Outcome WriteExactly(HANDLE file, const char* bytes, std::size_t cb) {
    DWORD cbWritten = 0;
    if (!WriteFile(file, bytes, static_cast<DWORD>(cb), &cbWritten, nullptr))
        return OutcomeOf(GetLastError());
    return cbWritten == cb ? Outcome::Right : Outcome::NoSpace;
}

bool HasSpace(const CString& folder, std::uint64_t cb) {
    ULARGE_INTEGER available;
    return !GetDiskFreeSpaceExW(folder, &available, nullptr, nullptr) || available.QuadPart >= cb;
}

FILETIME TimeOf(const Entry& entry) {
    return {static_cast<DWORD>(entry.written), static_cast<DWORD>(entry.written >> 32)};
}

KernelHandle OpenArchiveFile(const CString& path) {
    return OpenHandle(path, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, OPEN_EXISTING, 0);
}

Outcome OpenArchive(const CString& path, Archive& archive) {
    archive.path = path;
    const KernelHandle file = OpenArchiveFile(path);
    if (!file) return Outcome::Failed;
    std::uint64_t cbDownload = SizeOf(file.get());
    std::string head(static_cast<std::size_t>(std::min<std::uint64_t>(cbDownload, 4096)), 0);
    Outcome outcome = ReadAt(file.get(), 0, head);
    if (outcome != Outcome::Right) return outcome;
    const SignaturePlace signature = FindSignature(head);
    // Whatever follows the signature was not there when it was made.
    if (signature.cbSignature != 0) {
        if (signature.offset + signature.cbSignature != cbDownload) return Outcome::Damaged;
        cbDownload = signature.offset;
    }
    if (cbDownload < cbTrailer) return Outcome::Damaged;
    std::string trailerBytes(cbTrailer, 0);
    outcome = ReadAt(file.get(), cbDownload - cbTrailer, trailerBytes);
    if (outcome != Outcome::Right) return outcome;
    const std::optional<Trailer> trailer = ReadTrailer(trailerBytes, cbDownload);
    if (!trailer || trailer->cbProgram > cbMostProgram) return Outcome::Damaged;
    std::string program(static_cast<std::size_t>(trailer->cbProgram), 0);
    outcome = ReadAt(file.get(), 0, program);
    if (outcome != Outcome::Right) return outcome;
    if (SumOfProgram(std::move(program)) != trailer->programSum) return Outcome::Damaged;
    return ReadTableOf(file.get(), *trailer, archive);
}

Outcome UnpackStream(HANDLE file, std::uint64_t cbPacked, std::uint64_t cbUnpacked, const Take& take) {
    Decoder decoder;
    if (!decoder.IsReady()) return Outcome::Failed;
    lzma_stream& stream = decoder.Stream();
    Input input(file, cbPacked);
    std::string output(PieceOf(cbUnpacked), 0);
    for (lzma_ret result = LZMA_OK; result != LZMA_STREAM_END;) {
        if (const Outcome outcome = input.Refill(stream); outcome != Outcome::Right) return outcome;
        stream.next_out = reinterpret_cast<std::uint8_t*>(output.data());
        stream.avail_out = output.size();
        // A truncated stream is an error: without input nothing is left to decode.
        result = lzma_code(&stream, LZMA_RUN);
        if (result == LZMA_MEM_ERROR) return Outcome::Failed;
        if (result != LZMA_OK && result != LZMA_STREAM_END) return Outcome::Damaged;
        const std::size_t cb = output.size() - stream.avail_out;
        if (stream.total_out > cbUnpacked) return Outcome::Damaged;
        if (const Outcome outcome = take(output.data(), cb); outcome != Outcome::Right) return outcome;
    }
    return stream.total_out == cbUnpacked && input.IsUsedUp(stream) ? Outcome::Right : Outcome::Damaged;
}

}  // namespace download
