// Mappings that the processes of the embedded machine share, and how long they live.

#include "harness/scratch.h"
#include "winhost/neighbour.h"
#include "core/machine.h"

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
    EXPECT_EQ(GetLastError(), DWORD{ERROR_SUCCESS}) << "a view does not keep the name";
    int* freshView = MapFirst(fresh);
    EXPECT_EQ(freshView[0], 0);
    EXPECT_EQ(view[0], 7) << "the old view keeps its pages";
    EXPECT_TRUE(UnmapViewOfFile(view) && UnmapViewOfFile(freshView) && CloseHandle(fresh));

    // A process that is killed while it is the only holder can't clean up.
    { const Neighbour killed(writeSeven); }
    EXPECT_EQ(OpenFileMappingW(FILE_MAP_READ, FALSE, kName), nullptr);
    EXPECT_TRUE(std::filesystem::is_empty(winhost::StateFolder() / "objects"));
}

}  // namespace
