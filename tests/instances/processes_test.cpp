// Several processes use one list.
#include "instances/frame.h"

#include <algorithm>

namespace {

constexpr int kProcesses = 8;
constexpr int kRounds = 50;

class InstanceProcesses : public ScratchTest {};

// At any time the list holds the holder, and this process exactly once.
CHILD_PROGRAM(EntersAndLeaves) {
    for (int round = 0; round < kRounds; ++round) {
        COXInstanceManager manager(kListName, 1024, true);
        const Ids ids = Listed(manager);
        if (ids.size() < 2 || ids.size() > kProcesses + 1) return 1;
        if (std::count(ids.begin(), ids.end(), GetCurrentProcessId()) != 1) return 2;
    }
    return 0;
}

TEST_F(InstanceProcesses, StartAndEndWithoutLosingAnEntry) {
    COXInstanceManager holder(kListName, 1024, true);
    std::vector<RunningProgram> workers;
    for (int index = 0; index < kProcesses; ++index)
        workers.push_back(StartChild("EntersAndLeaves"));
    for (const RunningProgram& worker : workers)
        EXPECT_EQ(worker.ExitCode(), 0u);
    EXPECT_EQ(Listed(holder), Ids{GetCurrentProcessId()});
}

CHILD_PROGRAM(DiesWithTheMutex) {
    COXInstanceManager manager(kListName, 1024, true);
    CMutex mutex(TRUE, kListMutex);
    if (!mutex.Lock(0)) return 1;
    ExitProcess(0);
}

TEST_F(InstanceProcesses, DeadProcessKeepsItsEntryButNotTheMutex) {
    COXInstanceManager manager(kListName, 1024, true);
    EXPECT_EQ(RunChild("DiesWithTheMutex"), 0u);
    const Ids ids = Listed(manager);
    ASSERT_EQ(ids.size(), 2u);
    EXPECT_EQ(ids[0], GetCurrentProcessId());
    EXPECT_EQ(manager.RemoveInstance(ids[1]), 1);
}

CHILD_PROGRAM(ComesFirst) {
    COXInstanceManager manager(kListName, 1024, true);
    return Listed(manager) == Ids{GetCurrentProcessId()} ? 0 : 1;
}

// A process makes the mapping first and then writes the list. If another process enters itself in between, its entry is
// lost, and neither process notices.
TEST_F(InstanceProcesses, EntryMadeBeforeTheListIsWrittenIsLost) {
    CMutex mutex(FALSE, kListMutex);
    CSingleLock lock(&mutex, true);
    const RunningProgram first = StartChild("ComesFirst");  // makes the mapping, and waits for the mutex
    Await("the mapping", [] { return static_cast<bool>(RawList()); });
    COXInstanceManager second(kListName, 1024, true);
    EXPECT_EQ(Listed(second), Ids{GetCurrentProcessId()});
    EXPECT_TRUE(lock.Unlock());
    EXPECT_EQ(first.ExitCode(), 0u) << "it finds only itself in the list";
    EXPECT_EQ(Listed(second), Ids{});
}

}  // namespace
