// Objects that the processes of the embedded machine share: mappings and mutexes, their lifetime and their
// owners.
#include <filesystem>
#include <optional>

#include "internal.h"
#include "support/scratch.h"
#include "winhost/neighbour.h"

namespace {

class HostObjects : public ScratchTest {};

HANDLE CreateMapping(LPCWSTR name, DWORD size = 131072) {
    return CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE | SEC_COMMIT, 0, size, name);
}

int* MapFirst(HANDLE mapping) {
    return static_cast<int*>(MapViewOfFile(mapping, FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, 0));
}

TEST_F(HostObjects, MappingLivesAsLongAsAProcessHoldsIt) {
    constexpr LPCWSTR kName = TEXT("Local\\list / of 100% v4");
    EXPECT_EQ(OpenFileMappingW(FILE_MAP_READ, FALSE, kName), nullptr);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
    const auto writeSeven = [] {
        const HANDLE mapping = CreateMapping(kName);
        *MapFirst(mapping) = 7;
        return GetLastError() == ERROR_SUCCESS;
    };
    std::optional<Neighbour> holder(writeSeven);
    const HANDLE second = CreateMapping(kName, 4096);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_EXISTS});
    int* view = MapFirst(second);
    ASSERT_TRUE(view);
    EXPECT_EQ(view[0], 7);
    view[131072 / sizeof(int) - 1] = 1;  // the first size counts
    holder.reset();
    EXPECT_EQ(view[0], 7) << "this process holds it still";

    EXPECT_TRUE(CloseHandle(second));
    const HANDLE fresh = CreateMapping(kName);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SUCCESS}) << "a view alone does not keep the name";
    int* freshView = MapFirst(fresh);
    EXPECT_EQ(freshView[0], 0);
    EXPECT_EQ(view[0], 7) << "the old view keeps its pages";
    EXPECT_TRUE(UnmapViewOfFile(view));
    EXPECT_TRUE(UnmapViewOfFile(freshView));
    EXPECT_TRUE(CloseHandle(fresh));

    // Nobody says goodbye for a process that is killed while it is the only holder.
    { const Neighbour killed(writeSeven); }
    const HANDLE third = CreateMapping(kName);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SUCCESS});
    freshView = MapFirst(third);
    EXPECT_EQ(freshView[0], 0);
    EXPECT_TRUE(UnmapViewOfFile(freshView));
    EXPECT_TRUE(CloseHandle(third));
    EXPECT_TRUE(std::filesystem::is_empty(winhost::StateFolder() / "objects"));
}

constexpr LPCWSTR kMutex = TEXT("Local\\owned");

CHILD_PROGRAM(TakeMutex) {
    return static_cast<int>(WaitForSingleObject(CreateMutexW(nullptr, FALSE, kMutex), 30));
}

TEST_F(HostObjects, MutexIsItsOwnersUntilAsManyReleases) {
    const HANDLE mutex = CreateMutexW(nullptr, TRUE, kMutex);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SUCCESS});
    const HANDLE same = CreateMutexW(nullptr, TRUE, kMutex);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_EXISTS}) << "which gives no ownership";
    EXPECT_EQ(WaitForSingleObject(same, INFINITE), WAIT_OBJECT_0) << "the owner never waits";
    EXPECT_EQ(RunChild("TakeMutex").exitCode, WAIT_TIMEOUT);
    EXPECT_TRUE(ReleaseMutex(same));
    EXPECT_EQ(RunChild("TakeMutex").exitCode, WAIT_TIMEOUT) << "taken twice";
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_EQ(RunChild("TakeMutex").exitCode, WAIT_OBJECT_0);
    EXPECT_FALSE(ReleaseMutex(mutex));
    EXPECT_EQ(GetLastError(), 288u);
    EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_ABANDONED) << "the child ended as its owner";
    EXPECT_TRUE(ReleaseMutex(mutex));
    EXPECT_EQ(WaitForSingleObject(mutex, 0), WAIT_OBJECT_0) << "which is told once";
    EXPECT_TRUE(CloseHandle(same));
    EXPECT_TRUE(CloseHandle(mutex));
}

// Eight processes count in plain memory, each a thousand times, opening and closing the mutex as they go;
// every now and then one that owns it is killed.
TEST_F(HostObjects, MutexKeepsProcessesApart) {
    constexpr int kProcesses = 8;
    constexpr int kRounds = 1000;
    const HANDLE mapping = CreateMapping(TEXT("Local\\count"));
    int* count = MapFirst(mapping);
    const auto work = [&] {
        for (int i = 0; i < kRounds; ++i) {
            const HANDLE mutex = CreateMutexW(nullptr, FALSE, kMutex);
            const DWORD taken = WaitForSingleObject(mutex, INFINITE);
            if (taken != WAIT_OBJECT_0 && taken != WAIT_ABANDONED) return false;
            *static_cast<volatile int*>(count) = *static_cast<volatile int*>(count) + 1;
            if (!ReleaseMutex(mutex) || !CloseHandle(mutex)) return false;
        }
        return true;
    };
    std::vector<pid_t> workers;
    for (int i = 0; i < kProcesses; ++i) {
        workers.push_back(fork());
        if (workers.back() == 0) _exit(work() ? 0 : 1);
    }
    for (int i = 0; i < kProcesses; ++i)
        const Neighbour killed([] {
            return WaitForSingleObject(CreateMutexW(nullptr, FALSE, kMutex), INFINITE) != WAIT_FAILED;
        });
    for (const pid_t worker : workers) {
        int status = 1;
        waitpid(worker, &status, 0);
        EXPECT_EQ(status, 0);
    }
    EXPECT_EQ(*count, kProcesses * kRounds);
    EXPECT_TRUE(UnmapViewOfFile(count));
    EXPECT_TRUE(CloseHandle(mapping));
}

}  // namespace
