#include "rebuild.h"

#include <mutex>

#include "difference.h"
#include "install/file_version.h"
#include "processors.h"
#include "run/earlier_folder.h"
#include "run/product.h"
#include "run/run_values.h"
#include "sha256.h"
#include "support/path_text.h"

namespace download {

namespace {

// Gives all bytes of a file of the installation to `take`. Others may write any part of it at any time. OtherInstallation
// if there are fewer or more of them.
Outcome ReadEarlier(const CString& path, std::uint64_t cbEarlier, const Take& take) {
    const KernelHandle file = OpenHandle(path, GENERIC_READ, kShareAll, OPEN_EXISTING, 0);
    if (!file || SizeOf(file.get()) != cbEarlier) return Outcome::OtherInstallation;
    std::string piece(PieceOf(cbEarlier), 0);
    for (std::uint64_t left = cbEarlier; left > 0;) {
        const std::size_t cb = PieceOf(left);
        if (ReadExactly(file.get(), piece.data(), cb) != Outcome::Right) return Outcome::OtherInstallation;
        if (const Outcome outcome = take(piece.data(), cb); outcome != Outcome::Right) return outcome;
        left -= cb;
    }
    return Outcome::Right;
}

// All that the threads of one rebuilding share.
class Rebuilding {
  public:
    Rebuilding(const Archive& archive, Installation& installation, const CString& folder, Progress& progress)
        : m_archive(archive), m_installation(installation), m_folder(folder), m_progress(progress) {
        std::uint64_t offset = archive.cbProgram, cbAll = 0;
        for (const Block& block : archive.table.blocks)
            offset += block.cbPacked;
        for (const Rebuilt& rebuilt : archive.table.rebuilt) {
            m_offsets.push_back(offset);
            offset += rebuilt.difference.cbPacked;
            cbAll += rebuilt.file.cbFile;
        }
        if (!HasSpace(folder, cbAll)) m_outcome = Outcome::NoSpace;
    }

    Outcome Run() {
        OnProcessors(m_offsets.size(), [this] {
            for (std::size_t file; State() == Outcome::Right && (file = m_next++) < m_offsets.size();)
                if (const Outcome outcome = Make(file);
                    Note(outcome) && outcome == Outcome::OtherInstallation)
                    m_installation.NoteDiffering(m_archive.table.rebuilt[file].earlier);
        });
        for (const Rebuilt& rebuilt : m_archive.table.rebuilt)
            if (State() == Outcome::Right && !Exists(PathOf(rebuilt))) (void)Note(Outcome::Failed);
        (void)Note(State());
        return m_outcome;
    }

  private:
    CString PathOf(const Rebuilt& rebuilt) const {
        return m_folder + TEXT("\\") + CString(rebuilt.file.name);
    }

    // The first outcome that isn't Right ends all threads. Returns whether it is this one.
    bool Note(Outcome outcome) {
        Outcome right = Outcome::Right;
        return outcome != Outcome::Right && m_outcome.compare_exchange_strong(right, outcome);
    }
    Outcome State() const { return m_progress.IsCancelled() ? Outcome::Cancelled : m_outcome.load(); }

    Outcome Make(std::size_t index) {
        const Rebuilt& rebuilt = m_archive.table.rebuilt[index];
        const KernelHandle target =
            OpenHandle(PathOf(rebuilt), GENERIC_WRITE, kShareAll, CREATE_NEW, rebuilt.file.attributes);
        if (!target) return OutcomeOf(GetLastError());
        const Take write = [&](const char* bytes, std::size_t cb) {
            if (const Outcome state = State(); state != Outcome::Right) return state;
            m_progress.Add(cb);
            return WriteExactly(target.get(), bytes, cb);
        };
        const Outcome outcome = rebuilt.IsCopy() ? Copy(rebuilt, write) : Join(index, write);
        if (outcome != Outcome::Right) return outcome;
        const FILETIME written = TimeOf(rebuilt.file);
        return SetFileTime(target.get(), nullptr, nullptr, &written) ? Outcome::Right
                                                                     : OutcomeOf(GetLastError());
    }

    Outcome Copy(const Rebuilt& rebuilt, const Take& write) {
        Sha256 sum;
        const Outcome outcome = ReadEarlier(m_installation.PathOf(rebuilt.earlier), rebuilt.cbEarlier,
                                            [&](const char* piece, std::size_t cb) {
                                                sum.Add(piece, cb);
                                                return write(piece, cb);
                                            });
        if (outcome != Outcome::Right) return outcome;
        return sum.Finish() == rebuilt.earlierSum ? Outcome::Right : Outcome::OtherInstallation;
    }

    // Another processor sums the earlier bytes meanwhile.
    Outcome Join(std::size_t index, const Take& write) {
        const std::lock_guard<std::mutex> lock(m_oneDifference);
        const Rebuilt& rebuilt = m_archive.table.rebuilt[index];
        std::string bytes;
        bytes.reserve(static_cast<std::size_t>(rebuilt.cbEarlier));
        const Outcome read = ReadEarlier(m_installation.PathOf(rebuilt.earlier), rebuilt.cbEarlier,
                                         [&](const char* piece, std::size_t cb) {
                                             bytes.append(piece, cb);
                                             return State();
                                         });
        if (read != Outcome::Right) return read;
        Outcome outcome = Outcome::Failed;
        bool isEarlier = false;
        std::atomic<int> next = 0;
        OnProcessors(2, [&] {
            for (int job; (job = next++) < 2;)
                if (job == 0)
                    outcome = JoinBytes(index, bytes, write);
                else
                    isEarlier = SumOf(bytes) == rebuilt.earlierSum;
        });
        return isEarlier || outcome == Outcome::Cancelled ? outcome : Outcome::OtherInstallation;
    }

    Outcome JoinBytes(std::size_t index, const std::string& earlier, const Take& write) {
        const Rebuilt& rebuilt = m_archive.table.rebuilt[index];
        const KernelHandle file = OpenArchiveFile(m_archive.path);
        if (!file || !Seek(file.get(), m_offsets[index])) return Outcome::Failed;
        Sha256 sum;
        std::uint64_t cbMade = 0;
        const Take take = [&](const char* piece, std::size_t cb) {
            sum.Add(piece, cb);
            cbMade += cb;
            return cbMade <= rebuilt.file.cbFile ? write(piece, cb) : Outcome::Damaged;
        };
        Joiner joiner(earlier, take);
        const Outcome outcome =
            UnpackStream(file.get(), rebuilt.difference.cbPacked, rebuilt.difference.cbUnpacked,
                         [&](const char* piece, std::size_t cb) { return joiner.Add(piece, cb); });
        if (outcome != Outcome::Right) return outcome;
        if (const Outcome end = joiner.Finish(); end != Outcome::Right) return end;
        return sum.Finish() == rebuilt.sum ? Outcome::Right : Outcome::Damaged;
    }

    const Archive& m_archive;
    Installation& m_installation;
    const CString& m_folder;
    Progress& m_progress;
    std::vector<std::uint64_t> m_offsets;  // of the differences in the download
    std::mutex m_oneDifference;
    std::atomic<std::size_t> m_next = 0;
    std::atomic<Outcome> m_outcome = Outcome::Right;
};

constexpr std::size_t kVersionChars = 24;

}  // namespace

bool Installation::HasVersion(const WideText& version) const {
    if (m_folder.IsEmpty() || version.empty()) return !m_folder.IsEmpty();
    ReadFileVersion(PathOf(kApplicationFile));
    WCHAR text[kVersionChars];
    (void)FormatBounded(text, kVersionChars, TEXT("%u.%u.%u.%u"), g_version.major, g_version.minor,
                        g_version.release, g_version.build);
    return version == text;
}

CString FindInstallation() {
    for (const CString& folder : {GetFolderOption(), GetInstalledFolder()})
        if (!folder.IsEmpty() && Exists(folder + TEXT("\\") + kApplicationFile)) return folder;
    return {};
}

Outcome Rebuild(const Archive& archive, Installation& installation, const CString& folder,
                Progress& progress) {
    if (archive.table.rebuilt.empty()) return Outcome::Right;
    return Rebuilding(archive, installation, folder, progress).Run();
}

}  // namespace download
