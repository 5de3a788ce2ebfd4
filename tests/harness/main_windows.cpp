#include "harness/target.h"

int wmain(int argc, wchar_t** argv);

int wmain(int argc, wchar_t** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    return RunTestsOrChild();
}
