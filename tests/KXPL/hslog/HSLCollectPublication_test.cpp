// When the bytes that a pass takes are handed back to the writer.
#include "hslog/HSL.h"

#include "ManualPass.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

HandMadeRecord numbered(int sequence)
{
    return HandMadeRecord().Header(sequence).Inline("a message of some length: %d").Count(1).Int32(sequence);
}

constexpr unsigned int kMarkerAndNumber = 5;

unsigned int bytesIn(const HSL::CLogContext& context)
{
    return cb_get_num_elem_used(context.mBuffer->mControl);
}

// The bytes of a record behind its number.
HandMadeRecord body(const std::string& text)
{
    return HandMadeRecord().Raw(1u).Raw(2u).Byte(0).Byte(1).Byte(3).Inline(text).Count(0);
}

} // namespace

// What is left in the ring whenever a callback runs.
TEST(CollectPublication, RecordIsFreeWhenItsCallbackRuns)
{
    for (const int size : { 4000, 1 << 18 }) {
        ManualPass pass;
        HSL::CLogContext& context = pass.Context("Main", size);
        const unsigned int record = static_cast<unsigned int>(numbered(1).Size());
        unsigned int left = 0;
        for (int sequence = 1; sequence <= 60; ++sequence) {
            numbered(sequence).PublishIn(context);
            left += record;
        }
        pass.inCallback = [&] {
            left -= record;
            EXPECT_EQ(bytesIn(context), left) << pass.lines.size();
        };
        pass.Manager().Collect();
        EXPECT_EQ(pass.lines.size(), 60u);
        EXPECT_EQ(left, 0u);
    }
}

TEST(CollectPublication, RecordIsFreeWhenTheStructuredCallbackRuns)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main");
    pass.Manager().SetStructuredOutputCallback(pass.Manager().GetStructuredOutputCallback());
    numbered(1).PublishIn(context);
    numbered(2).PublishIn(context);
    std::vector<unsigned int> seen;
    pass.inCallback = [&] { seen.push_back(bytesIn(context)); };
    pass.Manager().Collect();
    EXPECT_EQ(seen, (std::vector<unsigned int> { static_cast<unsigned int>(numbered(2).Size()), 0 }));
}

TEST(CollectPublication, RecordOutputAloneIsFreeWhenItsCallbackRuns)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main");
    body("first").PushTo(*context.mBuffer);
    body("second").PushTo(*context.mBuffer);
    unsigned int seen = 0;
    pass.inCallback = [&] { seen = bytesIn(context); };
    pass.Manager().OutputNextMessage(&context, 1);
    EXPECT_EQ(seen, body("second").Size());
}

// The pass has taken the number of each other context's next record, to compare them.
TEST(CollectPublication, NumbersOfOtherContextsNextRecordsAreFreeWhenACallbackRuns)
{
    ManualPass pass;
    HSL::CLogContext& one = pass.Context("one");
    HSL::CLogContext& other = pass.Context("other");
    HSL::CLogContext& idle = pass.Context("idle");
    const unsigned int record = static_cast<unsigned int>(numbered(1).Size());
    for (const int sequence : { 1, 2, 5 }) {
        numbered(sequence).PublishIn(one);
    }
    for (const int sequence : { 3, 4 }) {
        numbered(sequence).PublishIn(other);
    }
    numbered(9).PushTo(*idle.mBuffer); // not counted
    std::vector<std::vector<unsigned int>> seen;
    pass.inCallback = [&] { seen.push_back({ bytesIn(one), bytesIn(other), bytesIn(idle) }); };
    pass.Manager().Collect();
    EXPECT_EQ(seen,
              (std::vector<std::vector<unsigned int>> { { 2 * record, 2 * record - kMarkerAndNumber, record },
                                                        { record, 2 * record - kMarkerAndNumber, record },
                                                        { record - kMarkerAndNumber, record, record },
                                                        { record - kMarkerAndNumber, 0, record },
                                                        { 0, 0, record } }));
}

// Its ring holds as much as makes it drop, but for those five bytes.
TEST(CollectPublication, MessageOnAnotherContextFindsTheRoomOfTheNumberThatWasTaken)
{
    for (const int bytesAbove : { 0, 4, 5 }) {
        ManualPass pass;
        pass.Context("one").Log(HSL::CCat(3), "first");
        HSL::CLogContext& other = pass.Context("other", 65536);
        const unsigned int wanted = 65536 - 4096 + static_cast<unsigned int>(bytesAbove);
        const unsigned int plain =
            static_cast<unsigned int>(HandMadeRecord().Header(1).Inline("").Count(0).Size());
        while (wanted - bytesIn(other) >= 2 * plain) {
            other.Log(HSL::CCat(3),
                      std::string(std::min(3000u, wanted - bytesIn(other) - 2 * plain), 'x').c_str());
        }
        other.Log(HSL::CCat(3), std::string(wanted - bytesIn(other) - plain, 'x').c_str());
        ASSERT_EQ(bytesIn(other), wanted);
        pass.inCallback = [&] {
            pass.inCallback = nullptr;
            other.Log(HSL::CCat(3), "logged meanwhile");
        };
        pass.Manager().Collect();
        pass.Manager().Collect();
        EXPECT_EQ(messageOf(pass.lines.back()),
                  bytesAbove < 5 ? "logged meanwhile" : "*** HSLOG DROPPED MESSAGE(S) ***");
    }
}

// 64 records and 40 messages that are logged while the first of them is output: the ring has room for all.
TEST(CollectPublication, MessagesLoggedDuringACallbackFindTheRoomOfItsRecord)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main", 262144);
    const std::string text(3975, 'x');
    for (int i = 0; i < 64; ++i) {
        context.Log(3, "%s", text.c_str());
    }
    pass.inCallback = [&] {
        for (int i = 0; i < 40; ++i) {
            context.Log(3, "short %d", i);
        }
        pass.inCallback = nullptr;
    };
    pass.Manager().Collect();
    pass.Manager().Collect();
    EXPECT_EQ(pass.lines.size(), 104u);
    EXPECT_EQ(messageOf(pass.lines.back()), "short 39");
}

TEST(CollectPublication, WriterThatDroppedMayGoOnDuringThePass)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main", 65536);
    while (!context.mDropping) {
        context.Log(HSL::CCat(3), "fill %d", 1);
    }
    const int records = context.mRecordCount;
    pass.inCallback = [&] {
        if (context.mDropping) {
            context.Log(HSL::CCat(3), "again");
        }
    };
    pass.Manager().Collect();
    EXPECT_EQ(pass.lines.size(), static_cast<std::size_t>(records));
    EXPECT_FALSE(context.mDropping);
    EXPECT_EQ(context.mRecordCount, 1);
}

TEST(CollectPublication, ContextThatIsDrainedIsEmptyBeforeThePassEnds)
{
    ManualPass pass;
    HSL::CLogContext& early = pass.Context("early");
    HSL::CLogContext& late = pass.Context("late");
    numbered(1).PublishIn(early);
    numbered(2).PublishIn(early);
    numbered(3).PublishIn(late);
    unsigned int seen = 1;
    pass.inCallback = [&] {
        if (pass.lines.size() == 3) {
            seen = bytesIn(early);
        }
    };
    pass.Manager().Collect();
    EXPECT_EQ(seen, 0u);
}

TEST(CollectPublication, EverythingTakenIsHandedBackByTheEndOfThePass)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main");
    for (int round = 0; round < 3; ++round) {
        for (int sequence = 1; sequence <= 1000; ++sequence) {
            numbered(sequence).PublishIn(context);
        }
        numbered(2000).PushTo(*context.mBuffer); // not counted
        pass.Manager().Collect();
        EXPECT_EQ(bytesIn(context), numbered(2000).Size());
        context.LogPost();
        pass.Manager().Collect();
        EXPECT_EQ(bytesIn(context), 0u);
    }
}

// Of two records with one number a pass outputs the first and takes no more of the other than that number.
TEST(CollectPublication, NumberOfARecordThatLostItsPlaceIsForgottenByTheEndOfThePass)
{
    ManualPass pass;
    HSL::CLogContext& first = pass.Context("first");
    HSL::CLogContext& second = pass.Context("second");
    numbered(7).PublishIn(first);
    numbered(7).PublishIn(second);
    pass.Manager().Collect();
    EXPECT_EQ(pass.lines.size(), 1u);
    EXPECT_EQ(bytesIn(second), numbered(7).Size() - kMarkerAndNumber);
    EXPECT_EQ(pass.Taken(first).mOffset, 0u);
    EXPECT_EQ(pass.Taken(second).mOffset, 0u);
}

// A count below zero, as misread records leave it, ends a pass one record early: behind the next one's number.
TEST(CollectPublication, NumberTakenAheadStaysTakenWhenThePassEndsThere)
{
    ManualPass pass;
    pass.Context("early").mRecordCount = -1;
    HSL::CLogContext& context = pass.Context("Main");
    numbered(7).PublishIn(context);
    numbered(8).PublishIn(context);
    pass.Manager().Collect();
    EXPECT_EQ(pass.lines.size(), 1u);
    EXPECT_EQ(bytesIn(context), numbered(8).Size() - kMarkerAndNumber);
    EXPECT_EQ(pass.Taken(context).mOffset, 0u);
}

TEST(CollectPublication, RecordOutputAloneIsHandedBackAtOnce)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main");
    body("first").PushTo(*context.mBuffer);
    body("second").PushTo(*context.mBuffer);
    pass.Manager().OutputNextMessage(&context, 1);
    EXPECT_EQ(bytesIn(context), body("second").Size());
    pass.Manager().OutputNextMessage(&context, 2);
    EXPECT_EQ(bytesIn(context), 0u);
    ASSERT_EQ(pass.lines.size(), 2u);
    EXPECT_EQ(messageOf(pass.lines[0]), "first");
    EXPECT_EQ(messageOf(pass.lines[1]), "second");
}

TEST(CollectPublication, HiddenRecordIsHandedBackAsWell)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main");
    pass.Manager().SetFilterValue(3, false);
    body("hidden").PushTo(*context.mBuffer);
    pass.Manager().OutputNextMessage(&context, 1);
    EXPECT_EQ(bytesIn(context), 0u);
    EXPECT_TRUE(pass.lines.empty());
}

TEST(CollectPublication, ContextWithoutARingOutputsAnEmptyRecord)
{
    ManualPass pass;
    HSL::CLogContext broken(
        "broken", 65536, [](int) -> void* { return nullptr; }, HSL::CLogContext::FreeFunc);
    pass.Manager().OutputNextMessage(&broken, 1);
    EXPECT_TRUE(pass.lines.empty());
}
