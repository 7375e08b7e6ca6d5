// The order in which one pass outputs the records of several contexts.
#include "hslog/HSL.h"

#include "ManualPass.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <random>
#include <thread>

namespace {

HandMadeRecord numbered(int sequence)
{
    return HandMadeRecord().Header(sequence).Inline("m").Count(0);
}

std::vector<long> numbersOf(const std::vector<std::string>& lines)
{
    std::vector<long> numbers;
    for (const std::string& line : lines) {
        numbers.push_back(numberOf(line));
    }
    return numbers;
}

std::string nameOf(const std::string& line)
{
    const std::size_t open = line.find('[');
    return line.substr(open + 1, line.find_first_of(" ]", open) - open - 1);
}

// Two threads that log in turns, each to its own context, the first of which is given.
void logInTurns(HSL::CLogContext& even, HSL::CLogContext& odd, int calls)
{
    std::atomic<int> turn { 0 };
    const auto writer = [&turn, calls](HSL::CLogContext& context, int remainder) {
        for (int i = remainder; i < calls; i += 2) {
            while (turn.load() != i) {
                std::this_thread::yield();
            }
            context.Log(HSL::CCat(3), "turn %d", i);
            turn.store(i + 1);
        }
    };
    std::thread other(writer, std::ref(odd), 1);
    writer(even, 0);
    other.join();
}

} // namespace

TEST(CollectMerge, RecordsOfSeveralContextsComeOutByNumber)
{
    ManualPass pass;
    HSL::CLogContext& a = pass.Context("a");
    HSL::CLogContext& b = pass.Context("b");
    HSL::CLogContext& c = pass.Context("c");
    for (int sequence : { 3, 4, 9 }) {
        numbered(sequence).PublishIn(a);
    }
    for (int sequence : { 1, 8 }) {
        numbered(sequence).PublishIn(b);
    }
    for (int sequence : { 2, 5, 6, 7 }) {
        numbered(sequence).PublishIn(c);
    }
    pass.Manager().Collect();
    EXPECT_EQ(numbersOf(pass.lines), (std::vector<long> { 1, 2, 3, 4, 5, 6, 7, 8, 9 }));
}

TEST(CollectMerge, EachLineNamesItsOwnContext)
{
    ManualPass pass;
    HSL::CLogContext& a = pass.Context("a");
    HSL::CLogContext& b = pass.Context("b");
    numbered(2).PublishIn(a);
    numbered(1).PublishIn(b);
    numbered(3).PublishIn(b);
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 3u);
    EXPECT_EQ(nameOf(pass.lines[0]), "b");
    EXPECT_EQ(nameOf(pass.lines[1]), "a");
    EXPECT_EQ(nameOf(pass.lines[2]), "b");
}

TEST(CollectMerge, OrderWithinAContextIsThatOfItsRing)
{
    ManualPass pass;
    HSL::CLogContext& a = pass.Context("a");
    HSL::CLogContext& b = pass.Context("b");
    numbered(7).PublishIn(a);
    numbered(1).PublishIn(a);
    numbered(5).PublishIn(b);
    pass.Manager().Collect();
    EXPECT_EQ(numbersOf(pass.lines), (std::vector<long> { 5, 7, 1 }));
}

TEST(CollectMerge, ThreadsThatLogInTurnsGiveConsecutiveNumbers)
{
    ManualPass pass;
    HSL::CLogContext& first = pass.Context("first");
    HSL::CLogContext& second = pass.Context("second");
    logInTurns(first, second, 200);
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 200u);
    for (int i = 0; i < 200; ++i) {
        EXPECT_EQ(numberOf(pass.lines[static_cast<std::size_t>(i)]), i + 1);
        EXPECT_EQ(messageOf(pass.lines[static_cast<std::size_t>(i)]), "turn " + std::to_string(i));
    }
}

TEST(CollectMerge, OrderOfTheContextsDoesNotMatter)
{
    ManualPass pass;
    HSL::CLogContext& second = pass.Context("second");
    HSL::CLogContext& first = pass.Context("first");
    logInTurns(first, second, 200);
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 200u);
    for (int i = 0; i < 200; ++i) {
        EXPECT_EQ(numberOf(pass.lines[static_cast<std::size_t>(i)]), i + 1);
    }
}

TEST(CollectMerge, ContextWithoutRecordsTakesNoPart)
{
    ManualPass pass;
    pass.Context("before");
    HSL::CLogContext& middle = pass.Context("middle");
    pass.Context("after");
    numbered(1).PublishIn(middle);
    numbered(2).PublishIn(middle);
    pass.Manager().Collect();
    EXPECT_EQ(numbersOf(pass.lines), (std::vector<long> { 1, 2 }));
    EXPECT_EQ(nameOf(pass.lines[0]), "middle");
}

TEST(CollectMerge, UncountedBytesAreNotTouched)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("unfinished");
    const HandMadeRecord record = numbered(1);
    record.PushTo(*context.mBuffer);
    pass.Manager().Collect();
    EXPECT_TRUE(pass.lines.empty());
    EXPECT_EQ(cb_get_num_elem_used(context.mBuffer->mControl), record.Size());
}

TEST(CollectMerge, PassWithoutContextsOutputsNothing)
{
    ManualPass pass;
    EXPECT_FALSE(pass.Manager().Collect());
    EXPECT_TRUE(pass.lines.empty());
}

TEST(CollectMerge, PassWithoutRecordsReturnsTheShutdownFlag)
{
    ManualPass pass;
    pass.Context("empty");
    EXPECT_FALSE(pass.Manager().Collect());
    pass.Manager().mShutdown = true;
    EXPECT_TRUE(pass.Manager().Collect());
    EXPECT_TRUE(pass.lines.empty());
}

TEST(CollectMerge, NegativeNumbersComeFirst)
{
    ManualPass pass;
    HSL::CLogContext& old = pass.Context("old");
    HSL::CLogContext& wrapped = pass.Context("wrapped");
    numbered(2147483646).PublishIn(old);
    numbered(2147483647).PublishIn(old);
    numbered(-2147483647 - 1).PublishIn(wrapped);
    numbered(-2147483647).PublishIn(wrapped);
    pass.Manager().Collect();
    EXPECT_EQ(numbersOf(pass.lines),
              (std::vector<long> { -2147483647 - 1, -2147483647, 2147483646, 2147483647 }));
}

TEST(CollectMerge, CounterThatPassesItsLargestValueGoesOnNegative)
{
    ManualPass pass;
    pass.Manager().mSequence = 2147483646;
    HSL::CLogContext& a = pass.Context("a");
    HSL::CLogContext& b = pass.Context("b");
    a.Log(HSL::CCat(3), "older");
    b.Log(HSL::CCat(3), "newer");
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 2u);
    EXPECT_EQ(messageOf(pass.lines[0]), "newer");
    EXPECT_EQ(messageOf(pass.lines[1]), "older");
}

TEST(CollectMerge, SmallerNumberOfALaterPassIsPrintedLater)
{
    ManualPass pass;
    HSL::CLogContext& quick = pass.Context("quick");
    HSL::CLogContext& slow = pass.Context("slow");
    numbered(5).PublishIn(quick);
    pass.Manager().Collect();
    numbered(4).PublishIn(slow);
    numbered(6).PublishIn(quick);
    pass.Manager().Collect();
    EXPECT_EQ(numbersOf(pass.lines), (std::vector<long> { 5, 4, 6 }));
}

TEST(CollectMerge, RandomRecordsComeOutInOrderPassByPass)
{
    ManualPass pass;
    std::mt19937 random(20240229);
    int sequence = 0;
    for (int round = 0; round < 1000; ++round) {
        if (round % 50 == 0) {
            pass.Replace();
            for (auto contexts = 1 + random() % 8; contexts > 0; --contexts) {
                pass.Context("c");
            }
        }
        // Numbers that a pass sees are any permutation over contexts of an increasing run with gaps.
        const std::vector<HSL::CLogContext*> contexts = pass.Manager().mContexts;
        std::vector<long> expected;
        for (auto records = random() % 40; records > 0; --records) {
            sequence += 1 + static_cast<int>(random() % 3);
            expected.push_back(sequence);
            numbered(sequence).PublishIn(*contexts[random() % contexts.size()]);
        }
        pass.lines.clear();
        pass.Manager().Collect();
        ASSERT_EQ(numbersOf(pass.lines), expected) << "round " << round;
    }
}
