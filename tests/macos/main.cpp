#include <gtest/gtest.h>

// Linux cuts a name that is too long and macOS refuses it, so the tests of the cut are Linux's alone. Set
// before the command line is read, so that listing the tests leaves them out and naming one still runs it.
int main(int argumentCount, char** arguments)
{
    testing::GTEST_FLAG(filter) = "-*CutToFifteenCharacters";
    testing::InitGoogleTest(&argumentCount, arguments);
    return RUN_ALL_TESTS();
}
