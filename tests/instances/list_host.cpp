// Only the embedded machine can tell what a process leaves open.
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

}  // namespace
