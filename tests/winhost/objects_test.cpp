// Objects that the processes of the embedded machine share: mappings and mutexes, their lifetime and their
// owners.
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <functional>

#include "support/scratch.h"
#include "internal.h"

namespace {

class HostObjects : public ScratchTest {};

// Runs the body in a process of its own and gives its id; the process waits to be ended when `stays` is set.
pid_t Fork(const std::function<bool()>& body, bool stays) {
    int ready[2];
    if (pipe(ready) != 0) return -1;
    const pid_t id = fork();
    if (id == 0) {
        const char done = body();
        if (stays && write(ready[1], &done, 1) == 1) pause();
        _exit(done ? 0 : 1);
    }
    char done = 1;
    if (stays && read(ready[0], &done, 1) != 1) done = 0;
    EXPECT_TRUE(done);
    close(ready[0]);
    close(ready[1]);
    return id;
}

void End(pid_t id) {
    kill(id, SIGKILL);
    waitpid(id, nullptr, 0);
}

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
    const pid_t holder = Fork(writeSeven, true);
    const HANDLE second = CreateMapping(kName, 4096);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_EXISTS});
    int* view = MapFirst(second);
    ASSERT_TRUE(view);
    EXPECT_EQ(view[0], 7);
    view[131072 / sizeof(int) - 1] = 1;  // the first size counts
    End(holder);
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
    End(Fork(writeSeven, true));
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
    for (int i = 0; i < kProcesses; ++i)
        workers.push_back(Fork(work, false));
    for (int i = 0; i < kProcesses; ++i)
        End(Fork(
            [] { return WaitForSingleObject(CreateMutexW(nullptr, FALSE, kMutex), INFINITE) != WAIT_FAILED; },
            true));
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
