// The list in its memory, as a process sees it that knows only the layout.
#include "instances/frame.h"

#include <numeric>

namespace {

constexpr DWORD kStale = 0xEEEEEEEE;
constexpr DWORD kNobody = 0x70000000;  // from here on no process has its id

class InstanceList : public ScratchTest {};

// Whether the memory holds the count, the slots with `behind` after them, and the empty region.
bool Holds(DWORD count, const Ids& slots, DWORD behind) {
    RawList raw;
    Ids words(RawList::kWords);
    words[0] = 1;
    words[1] = count;
    std::fill(std::copy(slots.begin(), slots.end(), words.begin() + RawList::kFirstId),
              words.begin() + RawList::kAdditional, behind);
    return std::equal(words.begin(), words.end(), &raw[0]);
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
        {"the last", {11, 12, 13}, 13, 1, {11, 12}, {11, 12, 13, 0}},
        {"one that is there twice", {11, 12, 11}, 11, 1, {12, 11}, {12, 11, 11, 0}},
        {"one that isn't there", {11, 12}, 13, 0, {11, 12}, {11, 12, kStale}},
        {"a stale word", {}, kStale, 0, {}, {kStale}},
        {"odd ids", {0, 0xFFFFFFFF}, 0, 1, {0xFFFFFFFF}, {0xFFFFFFFF, 0xFFFFFFFF, 0}},
    };
    for (const auto& row : kRows) {
        SCOPED_TRACE(row.name);
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
    std::copy(ids.begin(), ids.end(), &raw[RawList::kFirstId]);
    raw[1] = kFull - 1;
    EXPECT_EQ(manager.AddInstance(ids.back()), 1);
    EXPECT_TRUE(Holds(kFull, ids, kStale));

    EXPECT_EQ(manager.RemoveInstance(kNobody), 1);
    ids.erase(ids.begin());
    // The 0 goes into the slot behind the last one.
    ids.insert(ids.end(), {ids.back(), 0});
    EXPECT_TRUE(Holds(kFull - 1, ids, kStale));
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
        EXPECT_TRUE(manager.IsOverLimit(true));
        EXPECT_EQ(manager.SetMaxInstances(0, true), 1);
        EXPECT_EQ(manager.RemoveInstance(kStale), 1);
        EXPECT_EQ(raw[1], count - 1);
        EXPECT_EQ(raw[RawList::kReserved], 0u);
        EXPECT_EQ(raw[RawList::kReserved + 1], kStale);
    }
}

// Without a mapping, or with one that is too small for a view, there is no list; nothing else fails.
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

TEST_F(InstanceList, RoundsSizesAsTheApplicationDoes) {
    static constexpr std::pair<DWORD, DWORD> kRows[] = {{0, 0}, {65535, 65536}, {65537, 65537}};
    for (const auto& [wanted, rounded] : kRows)
        EXPECT_EQ(COXInstanceManager(kListName, wanted, false).GetAdditionalSize(), rounded) << wanted;
}

}  // namespace
