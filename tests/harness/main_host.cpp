#include "harness/target.h"

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    return RunTestsOrChild();
}
