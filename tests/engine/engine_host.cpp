// Tests of the engine for which only the embedded machine can cause a failure.
#include "engine/file_ops.h"
#include "harness/machine_view.h"
#include <winhost.h>

namespace {

using EngineOnHost = ScratchTest;

// In one folder, a source that another process takes after it was found is no failure if the target exists.
TEST_F(EngineOnHost, SourceThatDisappears) {
    for (const bool there : {true, false}) {
        Make(there ? "a.dll:new b.dll:old" : "a.dll:new");
        winhost::SetFaults({{.call = "_waccess", .nth = 2}});
        EXPECT_EQ(ReplaceFile(TEXT("a.dll"), kScratch.c_str(), kScratch.c_str(), TEXT("b.dll")), there);
        winhost::SetFaults({});
        EXPECT_EQ(Look(), State(there ? "a.dll:new b.dll:old" : "a.dll:new"));
        DeleteTree(At("b.dll"));
    }
}

}  // namespace
