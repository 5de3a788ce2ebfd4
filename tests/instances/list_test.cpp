// The list in its memory, as a process sees it that knows only the layout.
#include "instances/frame.h"

#include <numeric>

namespace {

constexpr DWORD kStale = 0xEEEEEEEE;
constexpr DWORD kNobody = 0x70000000;  // from here on no process has its id

class InstanceList : public ScratchTest {};

const Text kDump = kScratch + TEXT("\\list.bin");

// Leaves the list's memory in a file.
CHILD_PROGRAM(DumpsTheList) {
    RawList raw;
    if (!raw) return 1;
    MakeFile(kDump, {reinterpret_cast<const char*>(&raw[0]), RawList::kWords * sizeof(DWORD)});
    return 0;
}

// Whether another process finds the count, the slots with `behind` after them, and the empty region.
bool Dumps(DWORD count, const Ids& slots, DWORD behind) {
    Ids words(RawList::kWords);
    words[0] = 1;
    words[1] = count;
    std::fill(std::copy(slots.begin(), slots.end(), words.begin() + RawList::kFirstId),
              words.begin() + RawList::kAdditional, behind);
    EXPECT_EQ(RunChild("DumpsTheList").exitCode, 0u);
    return FileBytes(kDump) == std::string(reinterpret_cast<const char*>(words.data()), 131072);
}

TEST_F(InstanceList, AnotherProcessReadsItByItsLayout) {
    COXInstanceManager manager(kListName, 1024, false);
    EXPECT_TRUE(Dumps(0, {}, 0));
    for (const DWORD id : {1u, 2u, 0x12345678u})
        EXPECT_EQ(manager.AddInstance(id), 1);
    EXPECT_TRUE(Dumps(3, {1, 2, 0x12345678}, 0));
    EXPECT_EQ(manager.RemoveInstance(2), 1);
    EXPECT_TRUE(Dumps(2, {1, 0x12345678, 0x12345678}, 0)) << "the last id stays behind, stale";
}

TEST_F(InstanceList, EntriesKeepTheirOrder) {
    static const struct {
        const char* name;
        Ids added;
        DWORD removed;
        int result;
        Ids listed;
        Ids slots;  // one more than were added
    } kRows[] = {
        {"the middle one", {11, 12, 13}, 12, 1, {11, 13}, {11, 13, 13, 0}},
        {"the first", {11, 12, 13}, 11, 1, {12, 13}, {12, 13, 13, 0}},
        {"the last", {11, 12, 13}, 13, 1, {11, 12}, {11, 12, 13, 0}},
        {"the only one", {11}, 11, 1, {}, {11, 0}},
        {"one that is there twice", {11, 12, 11}, 11, 1, {12, 11}, {12, 11, 11, 0}},
        {"one that isn't there", {11, 12}, 13, 0, {11, 12}, {11, 12, kStale}},
        {"a stale word", {}, kStale, 0, {}, {kStale}},
        {"odd ids", {0, 0xFFFFFFFF}, 0, 1, {0xFFFFFFFF}, {0xFFFFFFFF, 0xFFFFFFFF, 0}},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.name);
        COXInstanceManager manager(kListName, 1024, false);
        RawList raw;
        raw.Fill(kStale);
        for (const DWORD id : row.added)
            EXPECT_EQ(manager.AddInstance(id), 1);
        EXPECT_EQ(manager.RemoveInstance(row.removed), row.result);
        EXPECT_EQ(manager.CountInstances(), static_cast<int>(row.listed.size()));
        EXPECT_EQ(manager.IsOtherInstanceRunning(), row.listed.size() > 1);
        EXPECT_EQ(Listed(manager), row.listed);
        EXPECT_EQ(raw.Slots(row.slots.size()), row.slots);
    }
}

TEST_F(InstanceList, TakesAThousand) {
    COXInstanceManager manager(kListName, 1024, false);
    RawList raw;
    raw.Fill(kStale);
    Ids ids(kFull);
    std::iota(ids.begin(), ids.end(), kNobody);
    std::copy(ids.begin(), ids.end(), &raw[RawList::kFirstId]);
    raw[1] = kFull - 1;
    EXPECT_EQ(manager.AddInstance(ids.back()), 1);
    {
        const COXInstanceManager another(kListName, 1024, true);
        EXPECT_EQ(Listed(manager), ids) << "it runs unregistered";
    }
    EXPECT_TRUE(Dumps(kFull, ids, kStale));

    EXPECT_EQ(manager.RemoveInstance(kNobody), 1);
    ids.erase(ids.begin());
    // The 0 goes into the slot behind the last one.
    ids.insert(ids.end(), {ids.back(), 0});
    EXPECT_TRUE(Dumps(kFull - 1, ids, kStale));
    EXPECT_EQ(manager.AddInstance(4), 1);
    EXPECT_EQ(manager.AddInstance(4), 0);
}

// The count is whatever another process wrote there.
TEST_F(InstanceList, LooksAtNoMoreThanItCanHold) {
    static constexpr DWORD kCounts[] = {kFull + 1, 16382, 16383, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
    for (const DWORD count : kCounts) {
        SCOPED_TRACE(count);
        COXInstanceManager manager(kListName, 1024, false);
        RawList raw;
        raw.Fill(kStale);
        raw[1] = count;
        EXPECT_EQ(manager.CountInstances(), static_cast<int>(count));
        EXPECT_EQ(Listed(manager), Ids(kFull, kStale));
        EXPECT_EQ(manager.AddInstance(7), 0);
        EXPECT_EQ(manager.RemoveInstance(7), 0);
        EXPECT_TRUE(manager.IsOverLimit(true));
        EXPECT_EQ(manager.SetMaxInstances(0, true), 1);
        EXPECT_EQ(raw[1], count);
        EXPECT_EQ(manager.RemoveInstance(kStale), 1);
        EXPECT_EQ(raw[1], count - 1);
        EXPECT_EQ(raw[RawList::kReserved], 0u);
        EXPECT_EQ(raw[RawList::kReserved + 1], kStale);
        EXPECT_EQ(raw[RawList::kAdditional], 0u);
    }
}

TEST_F(InstanceList, LimitIsOnlyCompared) {
    static const struct {
        DWORD limit, count;
        bool over;
    } kRows[] = {{1, 0, false}, {1, 1, false}, {1, 2, true}, {0, 1, true}, {0xFFFFFFFF, 2, false}};
    COXInstanceManager manager(kListName, 1024, false);
    RawList raw;
    EXPECT_EQ(manager.GetMaxInstances(), 1u);
    for (const auto& row : kRows) {
        raw[1] = row.count;
        EXPECT_EQ(manager.SetMaxInstances(row.limit, false), 1);
        EXPECT_EQ(raw[0], row.limit);
        EXPECT_EQ(manager.GetMaxInstances(), row.limit);
        EXPECT_EQ(manager.IsOverLimit(false), row.over);
        EXPECT_EQ(manager.AddInstance(7), 1) << "whatever the limit";
    }
}

TEST_F(InstanceList, AdditionalRegionLiesBehindIt) {
    COXInstanceManager manager(kListName, 1024, false);
    COXInstanceManager other(kListName, 1024, false);
    RawList raw;
    EXPECT_EQ(manager.GetAdditionalSize(), 65536u);
    DWORD* const words = static_cast<DWORD*>(manager.MapAdditionalData());
    ASSERT_TRUE(words);
    EXPECT_EQ(manager.MapAdditionalData(), words);
    words[0] = 8;
    words[RawList::kWords - RawList::kAdditional - 1] = 9;
    EXPECT_EQ(raw[RawList::kAdditional], 8u);
    EXPECT_EQ(raw[RawList::kWords - 1], 9u);
    manager.UnmapAdditionalData();
    manager.UnmapAdditionalData();
    EXPECT_EQ(*static_cast<DWORD*>(other.MapAdditionalData()), 8u);

    CSingleLock lock(&manager.GetAdditionalMutex(), true);
    CMutex named(FALSE, TEXT("Local\\COXInstanceManager_Additional_Mutex_Qantivo.Tests.List"));
    EXPECT_TRUE(named.Unlock()) << "it is the mutex of that name, which this thread owns";
    EXPECT_EQ(manager.AddInstance(7), 1);
}

// Without a mapping, or with one that is too small for a view, there is no list; nothing else fails.
TEST_F(InstanceList, DoesNothingWhereItCantBeOpened) {
    const KernelHandle small(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE | SEC_COMMIT, 0,
                                                4096, kListMapping));
    for (const LPCWSTR name : {TEXT("no\\such\\folder"), kListName}) {
        COXInstanceManager manager(name, 1024, true);
        CDWordArray ids;
        ids.Add(3);
        EXPECT_EQ(manager.AddInstance(7), 0);
        EXPECT_EQ(manager.RemoveInstance(7), 0);
        EXPECT_EQ(manager.CountInstances(), 0);
        EXPECT_EQ(manager.ListInstances(ids), 0);
        EXPECT_EQ(ids.GetSize(), 1);
        EXPECT_FALSE(manager.IsOtherInstanceRunning());
        EXPECT_EQ(manager.GetMaxInstances(), 0u);
        EXPECT_EQ(manager.SetMaxInstances(0, true), 0);
        EXPECT_FALSE(manager.IsOverLimit(true));
        EXPECT_EQ(manager.MapAdditionalData(), nullptr);
        manager.UnmapAdditionalData();
        EXPECT_EQ(manager.GetAdditionalSize(), 65536u);
    }
}

TEST_F(InstanceList, RoundsSizesAsTheApplicationDoes) {
    static constexpr std::pair<DWORD, DWORD> kRows[] = {{0, 0},     {1, 65536},     {65535, 65536},
                                                        {65536, 1}, {65537, 65537}, {131072, 2}};
    for (const auto& [wanted, rounded] : kRows)
        EXPECT_EQ(COXInstanceManager(kListName, wanted, false).GetAdditionalSize(), rounded) << wanted;
}

TEST_F(InstanceList, KnowsItsClass) {
    const COXInstanceManager manager(kListName, 1024, false);
    EXPECT_STREQ(manager.GetRuntimeClass()->m_lpszClassName, "COXInstanceManager");
    EXPECT_TRUE(manager.IsKindOf(RUNTIME_CLASS(CObject)));
}

}  // namespace
