// Limits of the machine. They are in a file that all its processes map. All processes share one count of steps, so that
// none of them changes anything after the power is cut.
#include "core/limits.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>

#include "core/faults.h"
#include "core/host_io.h"
#include "core/machine.h"
#include <winhost.h>

namespace fs = std::filesystem;

namespace winhost {

namespace {

// The number of parts that a write is split into. The power can be cut between two of them.
constexpr std::size_t kPartsOfWrite = 32;

struct CallName {
    char text[64];
};

struct SharedLimits {
    Limits limits;
    std::atomic<std::uint64_t> steps;
    std::atomic<std::uint64_t> leastRefused;
    CallName call;  // the first that met a limit
};

struct View {
    bool known = false;
    SharedLimits* shared = nullptr;

    void Forget() {
        if (shared) munmap(shared, sizeof(SharedLimits));
        *this = {};
    }
};

View& TheView() {
    static View view;
    [[maybe_unused]] static const bool registered = [] {
        OnEnter([] { TheView().Forget(); });
        return true;
    }();
    return view;
}

fs::path LimitsFile() {
    return StateFolder() / "limits";
}

SharedLimits* MapLimits() {
    const Descriptor file(open(LimitsFile().c_str(), O_RDWR | O_CLOEXEC));
    if (!file) return nullptr;
    void* view = mmap(nullptr, sizeof(SharedLimits), PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
    if (view == MAP_FAILED) NotModelled("limits", "a host that can't map a file");
    return static_cast<SharedLimits*>(view);
}

SharedLimits* OwnLimits() {
    View& view = TheView();
    if (!view.known) {
        view.shared = MapLimits();
        view.known = true;
    }
    return view.shared;
}

void NoteCall(SharedLimits& shared) {
    if (!shared.call.text[0]) std::strncpy(shared.call.text, CurrentCall(), sizeof shared.call.text - 1);
}

void LowerTo(std::atomic<std::uint64_t>& least, std::uint64_t value) {
    for (std::uint64_t known = least; value < known && !least.compare_exchange_weak(known, value);) {
    }
}

std::uint64_t SizeOf(int descriptor) {
    struct stat info;
    return fstat(descriptor, &info) == 0 ? static_cast<std::uint64_t>(info.st_size) : 0;
}

}  // namespace

std::uint64_t BytesUsed() {
    std::error_code error;
    std::uint64_t bytes = fs::file_size(Root() / "registry.reg", error);
    for (const char* drive : {"C", "D"}) {
        const fs::recursive_directory_iterator end;
        for (fs::recursive_directory_iterator entry(Root() / drive, error); !error && entry != end;
             entry.increment(error)) {
            // A file that another process removes meanwhile is not counted.
            std::error_code gone;
            const bool isFile = entry->is_regular_file(gone);
            const std::uint64_t size = isFile ? entry->file_size(gone) : 0;
            if (!gone) bytes += size;
        }
    }
    return bytes;
}

void SetLimits(const Limits& limits) {
    TheView().Forget();
    {
        const Descriptor file(open(LimitsFile().c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
        if (!file || ftruncate(file.get(), sizeof(SharedLimits)) != 0)
            NotModelled("SetLimits", "a machine whose own files can't be written");
    }
    SharedLimits& shared = *OwnLimits();
    shared.limits = limits;
    shared.leastRefused = UINT64_MAX;
}

LimitsMet LiftLimits() {
    LimitsMet met;
    if (const SharedLimits* shared = OwnLimits())
        met = {shared->steps, shared->leastRefused, shared->steps > shared->limits.steps, shared->call.text};
    fs::remove(LimitsFile());
    TheView().Forget();
    return met;
}

bool HasLimits() {
    return OwnLimits() != nullptr;
}

bool HasSpace(std::uint64_t formerSize, std::uint64_t size) {
    SharedLimits* shared = OwnLimits();
    if (!shared || size <= formerSize || shared->limits.space == UINT64_MAX) return true;
    const std::uint64_t needed = BytesUsed() + (size - formerSize);
    if (needed <= shared->limits.space) return true;
    NoteCall(*shared);
    LowerTo(shared->leastRefused, needed);
    errno = ENOSPC;
    return false;
}

void Step() {
    SharedLimits* shared = OwnLimits();
    if (!shared) return;
    const std::uint64_t step = ++shared->steps;
    if (step <= shared->limits.steps) return;
    if (step == shared->limits.steps + 1) NoteCall(*shared);
    kill(getpid(), SIGKILL);
}

bool WriteWhole(int descriptor, const void* data, std::size_t cbData) {
    if (!HasLimits()) return WriteAtOnce(descriptor, data, cbData);
    const off_t place = lseek(descriptor, 0, SEEK_CUR);
    if (place < 0 || !HasSpace(SizeOf(descriptor), static_cast<std::uint64_t>(place) + cbData)) return false;
    const std::size_t cbPart = cbData / kPartsOfWrite + 1;
    const char* const bytes = static_cast<const char*>(data);
    for (std::size_t done = 0; done < cbData; done += cbPart) {
        Step();
        if (!WriteAtOnce(descriptor, bytes + done, std::min(cbPart, cbData - done))) return false;
    }
    return true;
}

}  // namespace winhost
