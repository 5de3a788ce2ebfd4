// Several processes use one list.
#include "instances/frame.h"

#include <list>
#include <random>
#include <set>

namespace {

constexpr std::size_t kProcesses = 8;

class InstanceProcesses : public ScratchTest {};

// Enters and leaves as often as the argument says. Meanwhile the list holds this process exactly once.
CHILD_PROGRAM(EntersAndLeaves) {
    for (int round = _wtoi(__wargv[1]); round > 0; --round) {
        COXInstanceManager manager(kListName, 1024, true);
        const Ids ids = Listed(manager);
        if (std::count(ids.begin(), ids.end(), GetCurrentProcessId()) != 1) return 1;
        if (manager.RemoveInstance(GetCurrentProcessId()) != 1) return 2;
        // Messages that are posted without a window arrive at this thread.
        for (MSG message; PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);) {
        }
    }
    return 0;
}

// Several processes enter and leave at once. So many of them are killed, and another one comes for each. This process stays.
void EnterAndLeave(unsigned rounds, unsigned kills) {
    COXInstanceManager holder(kListName, 1024, true);
    std::list<RunningProgram> running;
    std::set<DWORD> known = {GetCurrentProcessId()};
    const auto start = [&](unsigned count) {
        running.push_back(StartChild("EntersAndLeaves", Wide(std::to_string(count))));
        known.insert(running.back().Id());
    };
    for (std::size_t number = 0; number < kProcesses; ++number)
        start(rounds);
    std::mt19937 random(1);
    for (std::size_t killed = 0; !running.empty(); Sleep(static_cast<DWORD>(random()) % 20)) {
        const Ids ids = Listed(holder);
        const std::multiset<DWORD> listed(ids.begin(), ids.end());
        EXPECT_EQ(listed.count(GetCurrentProcessId()), 1u);
        for (const DWORD id : listed)
            EXPECT_TRUE(known.contains(id) && listed.count(id) == 1) << id;
        EXPECT_LE(listed.size(), 1 + kProcesses + killed) << "only a killed process leaves its entry";
        if (killed < kills && random() % 8 == 0) {
            const auto victim = std::next(running.begin(), static_cast<int>(random() % running.size()));
            if (victim->EndNow()) {
                ++killed;
                running.erase(victim);
                start(rounds / 2);
            }
        }
        std::erase_if(running, [](const RunningProgram& program) {
            if (program.Runs()) return false;
            EXPECT_EQ(program.ExitCode(), 0u);
            return true;
        });
    }
    EXPECT_LE(Listed(holder).size(), 1 + kills);
}

TEST_F(InstanceProcesses, StartAndEndWithoutLosingAnEntry) {
    EnterAndLeave(100, 5);
}

// A part of the proof.
TEST_F(InstanceProcesses, DISABLED_StartAndEndTenThousandTimes) {
    EnterAndLeave(10'000, 100);
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
    EXPECT_TRUE(ids.size() == 2 && ids[0] == GetCurrentProcessId());
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
