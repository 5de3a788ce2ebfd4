// Only the embedded machine can tell what a process leaves open, and which calls it makes.
#include "instances/frame.h"
#include <winhost.h>

namespace {

class InstanceHandles : public ScratchTest {};

TEST_F(InstanceHandles, NothingIsLeftOpen) {
    const unsigned handles = winhost::OpenHandles();
    winhost::SetFaults({});
    {
        COXInstanceManager manager(kListName, 1024, true);
        EXPECT_EQ(Listed(manager).size(), 1u);
        EXPECT_EQ(manager.RemoveInstance(kNobody), 0);
        EXPECT_TRUE(manager.MapAdditionalData());
    }
    std::map<std::string, unsigned> calls = winhost::CallCounts();
    EXPECT_EQ(calls["UnmapViewOfFile"], calls["MapViewOfFile"]);
    EXPECT_EQ(winhost::OpenHandles(), handles);
}

// Who enters or leaves looks for the window of each entry by one pass over all windows, which does no more than ask for the owner of
// windows that aren't the entry's. So the time grows as the list does.
TEST_F(InstanceHandles, EachEntryCostsOnePassOverTheWindows) {
    const Frame frames[] = {Frame(TEXT("Qantivo - one")), Frame(TEXT("Another"))};
    winhost::SetFaults({});
    EXPECT_EQ(COXInstanceManager::FindInstanceWindow(kNobody), nullptr);
    const unsigned windows = winhost::CallCounts()["GetWindowThreadProcessId"];
    EXPECT_GE(windows, 2u);
    COXInstanceManager manager(kListName, 1024, false);
    RawList raw;
    raw.Fill(kNobody);
    for (const DWORD entries : {10, 999}) {
        raw[1] = entries;
        winhost::SetFaults({});
        EXPECT_EQ(manager.AddInstance(kNobody + 1), 1);
        EXPECT_EQ(manager.RemoveInstance(kNobody + 1), 1);
        std::map<std::string, unsigned> calls = winhost::CallCounts();
        EXPECT_EQ(calls["EnumWindows"], 2 * entries);
        EXPECT_EQ(calls["GetWindowThreadProcessId"], 2 * entries * windows);
        for (const char* const more : {"GetWindow", "GetWindowLongW", "GetWindowTextW"})
            EXPECT_EQ(calls[more], 0u) << more;
    }
}

}  // namespace
