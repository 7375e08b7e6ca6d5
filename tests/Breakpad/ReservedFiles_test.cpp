#include "ReservedFiles.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

using BreakpadLinux::ReservedFiles;

namespace {

int openFiles()
{
    int count = 0;
    for (int number = 0; number < 1024; ++number) {
        count += fcntl(number, F_GETFD) >= 0 ? 1 : 0;
    }
    return count;
}

} // namespace

TEST(ReservedFiles, MakeRoomInAProcessThatHasNoneLeft)
{
    ReservedFiles reserved;
    std::vector<int> used;
    for (int file = dup(0); file >= 0; file = dup(0)) {
        used.push_back(file);
    }
    reserved.Release();
    for (int i = 0; i < 5; ++i) {
        used.push_back(dup(0));
        EXPECT_GE(used.back(), 0);
    }
    EXPECT_TRUE(reserved.Place(0));
    EXPECT_GE(fcntl(reserved.DumpNumber(), F_GETFD), 0);
    for (const int file : used) {
        close(file);
    }
    close(reserved.DumpNumber());
}

TEST(ReservedFiles, AreGivenBackAtTheEnd)
{
    const int before = openFiles();
    {
        ReservedFiles reserved;
        EXPECT_GT(openFiles(), before);
    }
    EXPECT_EQ(openFiles(), before);
}

TEST(ReservedFiles, AreNotInherited)
{
    const ReservedFiles reserved;
    EXPECT_EQ(fcntl(reserved.DumpNumber(), F_GETFD), FD_CLOEXEC);
}

TEST(ReservedFiles, ANumberThatTheHostHasTakenIsLeftToIt)
{
    ReservedFiles reserved;
    dup2(0, reserved.DumpNumber());
    EXPECT_FALSE(reserved.Place(1));
    close(reserved.DumpNumber());
    EXPECT_TRUE(reserved.Place(1)) << "it is free";
    close(reserved.DumpNumber());
}

TEST(ReservedFiles, CanBeUsedAgainAndAgain)
{
    const int before = openFiles();
    {
        ReservedFiles reserved;
        const int held = openFiles();
        const int number = reserved.DumpNumber();
        for (int i = 0; i < 50; ++i) {
            reserved.Release();
            ASSERT_TRUE(reserved.Place(0));
            reserved.Renew();
            ASSERT_EQ(reserved.DumpNumber(), number);
            ASSERT_EQ(openFiles(), held);
        }
    }
    EXPECT_EQ(openFiles(), before);
}
