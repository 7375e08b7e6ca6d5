// Formats that never return from rendering. Each is rendered in a child process, which the test ends.
#include "hslog/HSL.h"

#include "RenderRing.h"

#include <gtest/gtest.h>

#include <csignal>
#include <ctime>

#include <sys/wait.h>
#include <unistd.h>

namespace {

enum class Outcome {
    Returned,
    Spins, // has used far more processor time than any rendering takes, and is still at it
    Stuck
};

constexpr double kMuchProcessorTime = 0.3;
constexpr int kLongestWaitInMilliseconds = 60000;

double processorSecondsOf(pid_t process)
{
    clockid_t clock;
    struct timespec used = {};
    if (clock_getcpuclockid(process, &clock) == 0) {
        clock_gettime(clock, &used);
    }
    return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) / 1e9;
}

Outcome watch(pid_t child)
{
    for (int i = 0; i < kLongestWaitInMilliseconds; ++i) {
        int status = 0;
        if (waitpid(child, &status, WNOHANG) == child) {
            return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? Outcome::Returned : Outcome::Stuck;
        }
        if (processorSecondsOf(child) > kMuchProcessorTime) {
            kill(child, SIGKILL);
            waitpid(child, &status, 0);
            return Outcome::Spins;
        }
        usleep(1000);
    }
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    return Outcome::Stuck;
}

Outcome outcomeOf(const std::string& format, int values, bool render = true)
{
    HandMadeRecord record = inlineRecord(format, values);
    for (int i = 0; i < values; ++i) {
        record.Int32(i);
    }
    const pid_t child = fork();
    if (child == 0) {
        alarm(120); // should the test be ended before it ends its child
        RenderRing ring;
        ring.Render(record, render);
        _exit(0);
    }
    return child > 0 ? watch(child) : Outcome::Stuck;
}

} // namespace

TEST(StringifyHang, OrdinaryFormatReturns)
{
    EXPECT_EQ(outcomeOf("100 %d", 1), Outcome::Returned);
    EXPECT_EQ(outcomeOf("100 %d", 1, false), Outcome::Returned);
}

TEST(StringifyHang, DoubledPercentInFrontOfAConversionNeverReturns)
{
    EXPECT_EQ(outcomeOf("100%% %d", 1), Outcome::Spins);
}

TEST(StringifyHang, DoubledPercentNeverReturnsWithoutRenderingEither)
{
    EXPECT_EQ(outcomeOf("100%% %d", 1, false), Outcome::Spins);
}

TEST(StringifyHang, DoubledPercentAtTheStartNeverReturns)
{
    EXPECT_EQ(outcomeOf("%%", 1), Outcome::Spins);
}

TEST(StringifyHang, DoubledPercentBetweenConversionsNeverReturns)
{
    EXPECT_EQ(outcomeOf("%d%% %d", 2), Outcome::Spins);
}

TEST(StringifyHang, DoubledPercentMetForASurplusValueNeverReturns)
{
    EXPECT_EQ(outcomeOf("%d%%", 2), Outcome::Spins);
}

TEST(StringifyHang, PercentAfterABackslashNeverReturns)
{
    EXPECT_EQ(outcomeOf("100\\%d", 1), Outcome::Spins);
}

TEST(StringifyHang, PercentAfterABackslashNeverReturnsWithoutRenderingEither)
{
    EXPECT_EQ(outcomeOf("100\\%d", 1, false), Outcome::Spins);
}

TEST(StringifyHang, PercentAfterABackslashBetweenConversionsNeverReturns)
{
    EXPECT_EQ(outcomeOf("%d\\%d", 2), Outcome::Spins);
}

TEST(StringifyHang, PercentAfterTwoBackslashesNeverReturns)
{
    EXPECT_EQ(outcomeOf("\\\\%d", 1), Outcome::Spins);
}

TEST(StringifyHang, SamePercentsBehindTheLastValueReturn)
{
    EXPECT_EQ(outcomeOf("%d%%", 1), Outcome::Returned);
    EXPECT_EQ(outcomeOf("%d\\%d", 1), Outcome::Returned);
}

TEST(StringifyHang, SamePercentsWithoutValuesReturn)
{
    EXPECT_EQ(outcomeOf("100%%", 0), Outcome::Returned);
    EXPECT_EQ(outcomeOf("100%%", 0x80), Outcome::Returned);
}
