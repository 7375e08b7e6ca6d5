// The order of a merge, against an ordered set that refuses equal numbers.
#include "hslog/collect/HSLMerge.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <set>
#include <vector>

namespace {

struct Context {
    int number = 0;
    int name = 0;
};

struct Less {
    bool operator()(const Context* a, const Context* b) const { return a->number < b->number; }
};

using Merge = HSL::Merge<Context, Less>;
using Set = std::set<Context*, Less>;

void replaceFirst(Merge& merge, int number)
{
    merge.First()->number = number;
    merge.ReplaceFirst(number);
}

void insert(Merge& merge, Context& context, int number)
{
    context.number = number;
    merge.Insert(number, &context);
}

} // namespace

TEST(Merge, SmallestNumberIsFirst)
{
    Merge merge;
    Context contexts[3];
    insert(merge, contexts[0], 5);
    insert(merge, contexts[1], -7);
    insert(merge, contexts[2], INT_MAX);
    EXPECT_EQ(merge.First(), &contexts[1]);
    merge.RemoveFirst();
    EXPECT_EQ(merge.First(), &contexts[0]);
    merge.RemoveFirst();
    EXPECT_EQ(merge.First(), &contexts[2]);
    merge.RemoveFirst();
    EXPECT_TRUE(merge.IsEmpty());
}

TEST(Merge, OrderIsSigned)
{
    Merge merge;
    Context contexts[2];
    insert(merge, contexts[0], INT_MAX);
    insert(merge, contexts[1], INT_MIN);
    EXPECT_EQ(merge.First(), &contexts[1]);
}

TEST(Merge, OfEqualNumbersTheFirstInsertedStays)
{
    Merge merge;
    Context contexts[3];
    for (Context& context : contexts) {
        insert(merge, context, 4);
    }
    EXPECT_EQ(merge.First(), &contexts[0]);
    merge.RemoveFirst();
    EXPECT_TRUE(merge.IsEmpty());
}

TEST(Merge, ReplacedFirstThatEqualsAWaitingOneIsTheOneToGo)
{
    Merge merge;
    Context contexts[2];
    insert(merge, contexts[0], 1);
    insert(merge, contexts[1], 4);
    ASSERT_EQ(merge.First(), &contexts[0]);
    replaceFirst(merge, 4);
    EXPECT_EQ(merge.First(), &contexts[1]);
    merge.RemoveFirst();
    EXPECT_TRUE(merge.IsEmpty());
}

TEST(Merge, FirstMayFollowItselfWithTheSameNumber)
{
    Merge merge;
    Context contexts[2];
    insert(merge, contexts[0], 4);
    insert(merge, contexts[1], 4);
    ASSERT_EQ(merge.First(), &contexts[0]);
    replaceFirst(merge, 4);
    EXPECT_EQ(merge.First(), &contexts[0]);
    merge.RemoveFirst();
    EXPECT_TRUE(merge.IsEmpty());
}

// Small ranges make equal numbers frequent, large ones make them rare.
TEST(Merge, RandomNumbersComeOutAsOfASet)
{
    std::mt19937 random(17);
    int refused = 0;
    for (int round = 0; round < 20000; ++round) {
        std::vector<Context> contexts(1 + random() % 20);
        const unsigned int range = round % 3 == 0 ? 10 : (round % 3 == 1 ? 100 : 1u << 31);
        Merge merge;
        Set set;
        int names = 0;
        for (Context& context : contexts) {
            context.name = ++names;
            insert(merge, context, static_cast<int>(random() % range) - 5);
            refused += set.insert(&context).second ? 0 : 1;
        }
        for (int step = 0; step < 60; ++step) {
            ASSERT_EQ(merge.IsEmpty(), set.empty()) << "round " << round;
            if (set.empty()) {
                break;
            }
            Context* first = *set.begin();
            set.erase(set.begin());
            ASSERT_EQ(merge.First()->name, first->name) << "round " << round << ", step " << step;
            if (random() % 4 == 0) {
                merge.RemoveFirst();
                continue;
            }
            // Mostly larger than before, as in a ring.
            first->number = random() % 10 != 0 && first->number < 1 << 30
                ? first->number + static_cast<int>(random() % 8)
                : static_cast<int>(random() % range);
            merge.ReplaceFirst(first->number);
            refused += set.insert(first).second ? 0 : 1;
        }
    }
    EXPECT_GT(refused, 10000);
}
