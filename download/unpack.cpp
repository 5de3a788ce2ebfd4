#include "unpack.h"

#include <algorithm>

#include "processors.h"

namespace download {

namespace {

// All that the threads of one unpacking share.
class Unpacking {
  public:
    Unpacking(const Archive& archive, const CString& folder, Progress& progress)
        : m_archive(archive), m_folder(folder), m_progress(progress) {
        std::uint64_t offset = archive.cbProgram, place = 0;
        for (const Block& block : archive.table.blocks) {
            m_blockOffsets.push_back(offset);
            m_blockPlaces.push_back(place);
            offset += block.cbPacked;
            place += block.cbUnpacked;
        }
        place = 0;
        for (const Entry& entry : archive.table.entries) {
            m_filePlaces.push_back(place);
            place += entry.cbFile;
        }
        m_cbAll = place;
    }

    Outcome Run() {
        if (!HasSpace(m_folder, m_cbAll)) return Outcome::NoSpace;
        Prepare();
        OnProcessors(m_blockPlaces.size(), [this] { UnpackBlocks(); });
        Finish();
        return m_outcome;
    }

  private:
    friend class BlockWriter;

    CString PathOf(const Entry& entry) const { return m_folder + TEXT("\\") + CString(entry.name); }

    // Whether more than one block holds bytes of the file.
    bool IsDivided(std::size_t entry) const {
        const std::uint64_t begin = m_filePlaces[entry];
        const auto next = std::upper_bound(m_blockPlaces.begin(), m_blockPlaces.end(), begin);
        return next != m_blockPlaces.end() && begin + m_archive.table.entries[entry].cbFile > *next;
    }

    // The first outcome that isn't Right ends all threads.
    void Note(Outcome outcome) {
        Outcome right = Outcome::Right;
        if (outcome != Outcome::Right) (void)m_outcome.compare_exchange_strong(right, outcome);
    }
    Outcome State() const { return m_progress.IsCancelled() ? Outcome::Cancelled : m_outcome.load(); }

    // Makes the folders, and the files that no single block makes.
    void Prepare() {
        for (std::size_t i = 0; i < m_filePlaces.size() && State() == Outcome::Right; ++i) {
            const Entry& entry = m_archive.table.entries[i];
            if (entry.IsFolder()) {
                if (!CreateDirectoryW(PathOf(entry), nullptr)) Note(OutcomeOf(GetLastError()));
            } else if (entry.cbFile == 0 || IsDivided(i)) {
                if (!OpenHandle(PathOf(entry), GENERIC_WRITE, kShareAll, CREATE_NEW, 0))
                    Note(OutcomeOf(GetLastError()));
            }
        }
    }

    void UnpackBlocks() {
        const KernelHandle file = OpenArchiveFile(m_archive.path);
        if (!file) return Note(Outcome::Failed);
        for (std::size_t block; State() == Outcome::Right && (block = m_nextBlock++) < m_blockPlaces.size();)
            Note(UnpackBlock(file.get(), block));
    }

    Outcome UnpackBlock(HANDLE file, std::size_t block);

    // A time that is set before the last thread has written wouldn't stay. What was whole may have been deleted meanwhile.
    void Finish() {
        for (std::size_t i = 0; i < m_filePlaces.size() && State() == Outcome::Right; ++i) {
            const Entry& entry = m_archive.table.entries[i];
            if (entry.IsFolder() || (entry.cbFile != 0 && !IsDivided(i))) {
                if (GetFileAttributesW(PathOf(entry)) == INVALID_FILE_ATTRIBUTES) Note(Outcome::Failed);
                continue;
            }
            const FILETIME written = TimeOf(entry);
            const KernelHandle file = OpenHandle(PathOf(entry), GENERIC_WRITE, kShareAll, OPEN_EXISTING, 0);
            if (!file || !SetFileTime(file.get(), nullptr, nullptr, &written) ||
                (entry.attributes && !SetFileAttributesW(PathOf(entry), entry.attributes)))
                Note(OutcomeOf(GetLastError()));
        }
        Note(State());
    }

    const Archive& m_archive;
    const CString& m_folder;
    Progress& m_progress;
    std::vector<std::uint64_t> m_blockOffsets;  // of the packed bytes in the download
    std::vector<std::uint64_t> m_blockPlaces;   // of the first byte in the sequence of all files
    std::vector<std::uint64_t> m_filePlaces;
    std::uint64_t m_cbAll = 0;
    std::atomic<std::size_t> m_nextBlock = 0;
    std::atomic<Outcome> m_outcome = Outcome::Right;
};

// Writes the bytes of one block to the files that they belong to.
class BlockWriter {
  public:
    BlockWriter(Unpacking& all, std::uint64_t place) : m_all(all), m_place(place) {
        const auto next = std::upper_bound(all.m_filePlaces.begin(), all.m_filePlaces.end(), place);
        m_entry = static_cast<std::size_t>(next - all.m_filePlaces.begin()) - 1;
    }

    Outcome Write(const char* bytes, std::size_t cb) {
        while (cb > 0) {
            if (const Outcome state = m_all.State(); state != Outcome::Right) return state;
            const std::uint64_t end = m_all.m_filePlaces[m_entry] + Current().cbFile;
            if (m_place >= end) {
                ++m_entry;
                continue;
            }
            if (!m_file && !Open()) return OutcomeOf(GetLastError());
            const auto piece = static_cast<std::size_t>(std::min<std::uint64_t>(cb, end - m_place));
            if (const Outcome outcome = WriteExactly(m_file.get(), bytes, piece); outcome != Outcome::Right)
                return outcome;
            bytes += piece;
            cb -= piece;
            m_place += piece;
            m_all.m_progress.Add(piece);
            if (m_place == end && !Close()) return OutcomeOf(GetLastError());
        }
        return Outcome::Right;
    }

  private:
    const Entry& Current() const { return m_all.m_archive.table.entries[m_entry]; }

    bool Open() {
        const bool isDivided = m_all.IsDivided(m_entry);
        m_file = OpenHandle(m_all.PathOf(Current()), GENERIC_WRITE, kShareAll,
                            isDivided ? OPEN_EXISTING : CREATE_NEW, isDivided ? 0 : Current().attributes);
        return m_file && Seek(m_file.get(), m_place - m_all.m_filePlaces[m_entry]);
    }

    bool Close() {
        const FILETIME written = TimeOf(Current());
        const bool isSet = SetFileTime(m_file.get(), nullptr, nullptr, &written) != FALSE;
        m_file.reset();
        return isSet;
    }

    Unpacking& m_all;
    std::uint64_t m_place;
    std::size_t m_entry;
    KernelHandle m_file;
};

Outcome Unpacking::UnpackBlock(HANDLE file, std::size_t block) {
    const Block& sizes = m_archive.table.blocks[block];
    BlockWriter writer(*this, m_blockPlaces[block]);
    if (!Seek(file, m_blockOffsets[block])) return Outcome::Failed;
    return UnpackStream(file, sizes.cbPacked, sizes.cbUnpacked,
                        [&](const char* bytes, std::size_t cb) { return writer.Write(bytes, cb); });
}

}  // namespace

Progress::Progress(const Table& table) : m_all(std::max<std::uint64_t>(TotalBytes(table), 1)) {}

void Progress::Add(std::uint64_t cb) {
    const std::uint64_t before = m_done.fetch_add(cb);
    if (onShare && ShareAt(before) != ShareAt(before + cb)) onShare();
}

Outcome Unpack(const Archive& archive, const CString& folder, Progress& progress) {
    return Unpacking(archive, folder, progress).Run();
}

}  // namespace download
