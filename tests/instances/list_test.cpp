// The memory of the list, as a process sees it that knows only its layout.
#include "instances/frame.h"

#include <numeric>
#include <thread>

namespace {

constexpr DWORD kStale = 0xEEEEEEEE;
class InstanceList : public ScratchTest {};

// Whether the memory holds the count, the slots, the word `after` in all later slots, and an empty region.
bool Holds(DWORD count, const Ids& slots, DWORD after) {
    RawList raw;
    Ids words(RawList::kWords);
    words[0] = 1;
    words[1] = count;
    std::fill(std::copy(slots.begin(), slots.end(), words.begin() + RawList::kFirstId),
              words.begin() + RawList::kAdditional, after);
    return std::equal(words.begin(), words.end(), &raw[0]);
}

TEST_F(InstanceList, EntriesKeepTheirOrder) {
    static const struct {
        Ids added;
        DWORD removed;
        int result = 1;
        Ids listed;
        Ids slots;  // one more than were added
    } kRows[] = {
        {.added = {11, 12, 13}, .removed = 12, .listed = {11, 13}, .slots = {11, 13, 13, 0}},
        {.added = {11, 12, 13}, .removed = 13, .listed = {11, 12}, .slots = {11, 12, 13, 0}},
        {.added = {11, 12, 11}, .removed = 11, .listed = {12, 11}, .slots = {12, 11, 11, 0}},
        {.added = {11, 12}, .removed = 13, .result = 0, .listed = {11, 12}, .slots = {11, 12, kStale}},
        {.added = {}, .removed = kStale, .result = 0, .listed = {}, .slots = {kStale}},
        {.added = {0, ~0u}, .removed = 0, .listed = {~0u}, .slots = {~0u, ~0u, 0}},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(&row - kRows);
        COXInstanceManager manager(kListName, 1024, false);
        EXPECT_TRUE(Holds(0, {}, 0));
        RawList raw;
        raw.Fill(kStale);
        for (const DWORD id : row.added)
            EXPECT_EQ(manager.AddInstance(id), 1);
        EXPECT_EQ(manager.RemoveInstance(row.removed), row.result);
        EXPECT_EQ(manager.CountInstances(), static_cast<int>(row.listed.size()));
        EXPECT_EQ(manager.IsOtherInstanceRunning(), row.listed.size() > 1);
        EXPECT_EQ(Listed(manager), row.listed);
        EXPECT_EQ(Ids(&raw[RawList::kFirstId], &raw[RawList::kFirstId + row.slots.size()]), row.slots);
    }
}

TEST_F(InstanceList, TakesAThousand) {
    COXInstanceManager manager(kListName, 1024, false);
    RawList raw;
    raw.Fill(kStale);
    Ids ids(kFull);
    std::iota(ids.begin(), ids.end(), kNobody);
    Frame own(TEXT("Qantivo - test"));
    ids.back() = GetCurrentProcessId();
    std::copy(ids.begin(), ids.end(), &raw[RawList::kFirstId]);
    raw[1] = kFull - 1;
    EXPECT_EQ(manager.AddInstance(ids.back()), 1);
    EXPECT_TRUE(Holds(kFull, ids, kStale));

    EXPECT_EQ(manager.RemoveInstance(kNobody), 1);
    ids.erase(ids.begin());
    // The 0 goes into the slot after the last one.
    ids.insert(ids.end(), {ids.back(), 0});
    EXPECT_TRUE(Holds(kFull - 1, ids, kStale));
    EXPECT_EQ(manager.AddInstance(4), 1);
    (void)own.Take();
    EXPECT_EQ(manager.AddInstance(4), 0);
    EXPECT_TRUE(own.Take().empty()) << "nobody is told of a process that doesn't enter";
}

// Another process may have written any count.
TEST_F(InstanceList, LooksAtNoMoreThanItCanHold) {
    for (const DWORD count : Ids{kFull + 1, 16382, 16383, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF}) {
        SCOPED_TRACE(count);
        COXInstanceManager manager(kListName, 1024, false);
        RawList raw;
        raw.Fill(kStale);
        raw[1] = count;
        EXPECT_EQ(manager.CountInstances(), static_cast<int>(count));
        EXPECT_EQ(Listed(manager), Ids(kFull, kStale));
        EXPECT_EQ(manager.AddInstance(7), 0);
        EXPECT_TRUE(manager.IsOverLimit(true));
        Frame own(TEXT("Qantivo - test"));
        EXPECT_EQ(manager.SetMaxInstances(kFull, true), 1);
        EXPECT_EQ(own.Take(), (std::vector<Received>{{WM_CLOSE, 0, 0}})) << "by the count as it is written";
        EXPECT_EQ(manager.RemoveInstance(kStale), 1);
        EXPECT_EQ(raw[1], count - 1);
        EXPECT_EQ(raw[RawList::kReserved], 0u);
        EXPECT_EQ(raw[RawList::kReserved + 1], kStale);
    }
}

// There is no list without a mapping, or when the mapping is too small for a view. Nothing else fails then.
TEST_F(InstanceList, DoesNothingWhereItCantBeOpened) {
    const KernelHandle small(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE | SEC_COMMIT, 0,
                                                4096, kListMapping));
    for (const LPCWSTR name : {TEXT("no\\such\\folder"), kListName}) {
        COXInstanceManager manager(name, 1024, true);
        CDWordArray ids;
        EXPECT_EQ(manager.AddInstance(7), 0);
        EXPECT_EQ(manager.RemoveInstance(7), 0);
        EXPECT_EQ(manager.CountInstances(), 0);
        EXPECT_EQ(manager.ListInstances(ids), 0);
        EXPECT_EQ(manager.GetMaxInstances(), 0u);
        EXPECT_EQ(manager.SetMaxInstances(0, true), 0);
        EXPECT_FALSE(manager.IsOverLimit(true));
        EXPECT_EQ(manager.MapAdditionalData(), nullptr);
    }
}

// The additional data come after the list and have their own mutex.
TEST_F(InstanceList, KeepsAdditionalDataBesideIt) {
    COXInstanceManager manager(kListName, 1024, false);
    RawList raw;
    DWORD* const data = static_cast<DWORD*>(manager.MapAdditionalData());
    ASSERT_TRUE(data);
    EXPECT_EQ(manager.MapAdditionalData(), data);
    data[0] = kStale;
    EXPECT_EQ(raw[RawList::kAdditional], kStale);
    CSingleLock lock(&manager.GetAdditionalMutex());
    for (const bool held : {false, true}) {
        if (held) (void)lock.Lock();
        const std::jthread other([held] {
            CMutex list(FALSE, kListMutex), own(FALSE, kAdditionalMutex);
            EXPECT_TRUE(CSingleLock(&list).Lock(0));
            EXPECT_EQ(CSingleLock(&own).Lock(0), !held);
        });
    }
    manager.UnmapAdditionalData();
    EXPECT_FALSE(UnmapViewOfFile(data)) << "the view is gone";
    EXPECT_EQ(*static_cast<DWORD*>(manager.MapAdditionalData()), kStale);
}

TEST_F(InstanceList, RoundsSizesAsTheApplicationDoes) {
    static constexpr std::pair<DWORD, DWORD> kRows[] = {{0, 0}, {65535, 65536}, {65537, 65537}};
    for (const auto& [wanted, rounded] : kRows)
        EXPECT_EQ(COXInstanceManager(kListName, wanted, false).GetAdditionalSize(), rounded) << wanted;
}

}  // namespace
