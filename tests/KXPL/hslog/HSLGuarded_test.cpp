// What comes from outside, with a manager that guards against it.
#include "hslog/HSL.h"

#include "ManualPass.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

using HSL::CCat;
using HSL::CLogContext;

namespace {

constexpr char kDropped[] = "*** HSLOG DROPPED MESSAGE(S) ***";
constexpr char kAbandoned[] = "*** HSLOG ABANDONED UNREADABLE RECORDS ***";

class Guarded : public testing::Test {
protected:
    Guarded() { mPass.Manager().SetGuarded(true); }

    std::vector<std::string> Messages()
    {
        mPass.Manager().Collect();
        std::vector<std::string> messages;
        for (const std::string& line : mPass.lines) {
            messages.push_back(messageOf(line));
        }
        mPass.lines.clear();
        return messages;
    }

    unsigned int BytesIn(const CLogContext& context) { return cb_get_num_elem_used(context.mBuffer->mControl); }

    // Whether the message is the text, or as much of it as had room, marked.
    static bool IsWholeOrMarked(const std::string& message, const std::string& text)
    {
        if (message == text) {
            return true;
        }
        return message.size() >= 3 && message.size() <= text.size()
            && message == text.substr(0, message.size() - 3) + "...";
    }

    ManualPass mPass;
};

} // namespace

TEST_F(Guarded, IsOffUntilAskedFor)
{
    EXPECT_FALSE(HSL::CLogManager().IsGuarded());
}

TEST_F(Guarded, TextOfAnyLengthComesOutWholeOrCutAndMarkedAndNothingElse)
{
    for (const int size : { 8192, 20000, 65536 }) {
        CLogContext& context = mPass.Context("Main", size);
        for (int length = 0; length < 66000; length += length < 9000 ? 97 : 1999) {
            const std::string text(static_cast<std::size_t>(length % 65536), 'a');
            context.Log(CCat(3), "%s", text.c_str());
            const std::vector<std::string> messages = Messages();
            ASSERT_EQ(messages.size(), 1u) << size << " " << length;
            ASSERT_TRUE(IsWholeOrMarked(messages[0], text))
                << size << " " << length << " " << messages[0].size();
            // A record of this message has 25 bytes besides the text. It is measured with up to nine more where it
            // does not lie in one piece.
            const std::size_t room = static_cast<std::size_t>(size);
            const bool isWhole = messages[0].size() == text.size();
            ASSERT_TRUE(isWhole ? text.size() + 25 <= room : text.size() + 34 > room) << size << " " << length;
            ASSERT_EQ(BytesIn(context), 0u);
        }
    }
}

// The texts' own bytes are records, if anybody reads them as such.
TEST_F(Guarded, TextsThatLookLikeRecordsMakeNoLines)
{
    std::string record;
    {
        HandMadeRecord made;
        made.Header(77).Inline("nobody logged this %s").Count(1).String("at all");
        CCircularBuffer ring(1, 1000, CCircularBuffer::MallocFunc, CCircularBuffer::FreeFunc, nullptr);
        made.PushTo(ring);
        record.resize(made.Size());
        int count = static_cast<int>(made.Size());
        ring.Read(record.data(), count);
    }
    std::string wide;
    for (int i = 0; i < 3000; ++i) {
        wide += record;
    }
    CLogContext& context = mPass.Context("Main", 65536);
    std::mt19937 random(5);
    for (int round = 0; round < 200; ++round) {
        for (unsigned long i = random() % 40; i > 0; --i) {
            const std::size_t length = random() % 20000;
            std::wstring text(length / 4, L'x');
            std::memcpy(text.data(), wide.data() + random() % 100, text.size() * sizeof(wchar_t));
            for (wchar_t& unit : text) {
                unit = unit != 0 ? unit : L'y';
            }
            context.Log(CCat(3), "wide %d", static_cast<int>(text.size()));
            context.Log(CCat(3), "", text.c_str(), wide.c_str() + 1);
        }
        for (const std::string& message : Messages()) {
            ASSERT_EQ(message.find("nobody"), std::string::npos);
            ASSERT_NE(message, kAbandoned);
        }
    }
    EXPECT_EQ(context.mRecordCount, 0);
    EXPECT_EQ(BytesIn(context), 0u);
}

TEST_F(Guarded, ThreadThatLoggedManyLongTextsIsNotMute)
{
    CLogContext& context = mPass.Context("Main", 1 << 18);
    const std::string text(8000, 'a');
    for (int i = 0; i < 1000; ++i) {
        context.Log(CCat(3), "%s", text.c_str());
        if (i % 50 == 49) {
            for (const std::string& message : Messages()) {
                ASSERT_TRUE(IsWholeOrMarked(message, text) || message == kDropped) << message.substr(0, 80);
            }
        }
    }
    Messages();
    for (int i = 0; i < 200; ++i) {
        context.Log(CCat(3), "short %d", i);
    }
    const std::vector<std::string> messages = Messages();
    ASSERT_EQ(messages.size(), 200u);
    EXPECT_EQ(messages[199], "short 199");
}

// Against what was logged: every line is one of them, in order, whole or marked, and what is missing was dropped.
TEST_F(Guarded, AnyTextsAtAnyFillLevelComeOutInOrderOrAreDropped)
{
    std::mt19937 random(11);
    for (int round = 0; round < 60; ++round) {
        CLogContext& context = mPass.Context("Main", 5000 + static_cast<int>(random() % 60000));
        std::vector<std::string> logged;
        int next = 0;
        for (int i = 0; i < 200; ++i) {
            const std::string narrow(random() % 3 == 0 ? random() % 30000 : random() % 200, 'n');
            const std::u16string utf16(random() % 4 == 0 ? random() % 20000 : random() % 20, u'u');
            const std::wstring wide(random() % 4 == 0 ? random() % 9000 : random() % 20, L'w');
            context.Log(CCat(3), "%d %s|%S|%S", i, narrow.c_str(),
                        reinterpret_cast<const unsigned short*>(utf16.c_str()), wide.c_str());
            logged.push_back(std::to_string(i) + " " + narrow + "|" + std::string(utf16.size(), 'u') + "|"
                             + std::string(wide.size(), 'w'));
            if (random() % 8 != 0) {
                continue;
            }
            for (const std::string& message : Messages()) {
                if (message == kDropped) {
                    continue;
                }
                const int number = std::atoi(message.c_str());
                ASSERT_GE(number, next) << message.substr(0, 100);
                ASSERT_LT(number, static_cast<int>(logged.size()));
                next = number + 1;
                const std::string& whole = logged[static_cast<std::size_t>(number)];
                if (message == whole) {
                    continue;
                }
                ASSERT_NE(message.find("..."), std::string::npos) << message.substr(0, 100);
                std::string letters = message;
                letters.erase(std::remove(letters.begin(), letters.end(), '.'), letters.end());
                ASSERT_LT(letters.size(), whole.size());
                ASSERT_EQ(std::count(letters.begin(), letters.end(), '|'), 2);
            }
        }
        Messages();
        ASSERT_EQ(BytesIn(context), 0u);
    }
}

TEST_F(Guarded, OnlyTheLongestTextIsCutAndBetweenCharacters)
{
    CLogContext& context = mPass.Context("Main", 8192);
    std::string euros;
    for (int i = 0; i < 5000; ++i) {
        euros += "\xE2\x82\xAC";
    }
    context.Log(CCat(3), "%s and %s, %d", "short", euros.c_str(), 7);
    const std::vector<std::string> messages = Messages();
    ASSERT_EQ(messages.size(), 1u);
    const std::string& message = messages[0];
    ASSERT_EQ(message.substr(0, 10), "short and ");
    ASSERT_EQ(message.substr(message.size() - 6), "..., 7");
    EXPECT_EQ((message.size() - 16) % 3, 0u);
    EXPECT_GT(message.size(), 8000u);
}

TEST_F(Guarded, DroppedRecordIsCountedOnlyWhereItIsWhole)
{
    CLogContext& context = mPass.Context("Main", 8192);
    // Full but for fewer bytes than that record has.
    HandMadeRecord().Header(1).Inline(std::string(8192 - 20 - 30, 'x')).Count(0).PublishIn(context);
    ASSERT_EQ(BytesIn(context), 8192u - 30);
    context.Log(CCat(3), "lost");
    EXPECT_EQ(context.mRecordCount, 1);
    EXPECT_EQ(BytesIn(context), 8192u - 30);
    EXPECT_EQ(Messages().size(), 1u);
    context.Log(CCat(3), "seen");
    EXPECT_EQ(Messages(), (std::vector<std::string> { "seen" }));
}

TEST_F(Guarded, NullWideTextHarmsNothingBehindIt)
{
    CLogContext& context = mPass.Context("Main");
    context.Log(CCat(3), "%S!", static_cast<const wchar_t*>(nullptr));
    context.Log(CCat(3), "next");
    EXPECT_EQ(Messages(), (std::vector<std::string> { "<NULL>!", "next" }));
}

TEST_F(Guarded, ConversionsThatDoNotSuitAreShownAndNotFollowed)
{
    CLogContext& context = mPass.Context("Main");
    int written = 5;
    context.Log(CCat(3), "%n", static_cast<const void*>(&written));
    context.Log(CCat(3), "%s", 17);
    context.Log(CCat(3), "%*d", 17);
    context.Log(CCat(3), "%1999999999d", 17);
    context.Log(CCat(3), "100%% %d", 17);
    context.Log(CCat(3), "%s %s");
    context.Log(CCat(3), "%d is fine", 17);
    const std::vector<std::string> messages = Messages();
    ASSERT_EQ(messages.size(), 7u);
    EXPECT_EQ(messages[1], "<%s with int32 17>");
    EXPECT_EQ(messages[2], "<%*d with int32 17>");
    EXPECT_EQ(messages[3], "<%1999999999d with int32 17>");
    EXPECT_EQ(messages[4], "<NEVER RETURNS> 100%% %d (17)");
    EXPECT_EQ(messages[5], "<no value for %s %s>");
    EXPECT_EQ(messages[6], "17 is fine");
    EXPECT_EQ(written, 5);
}

TEST_F(Guarded, RingThatMakesNoRecordIsToldOnceAndItsThreadLogsOn)
{
    CLogContext& context = mPass.Context("Main");
    CLogContext& other = mPass.Context("other");
    context.Log(CCat(3), "before");
    HandMadeRecord().Byte(9).Bytes("no record has these bytes", 25).PublishIn(context);
    context.Log(CCat(3), "lost, as it lies behind them");
    other.Log(CCat(3), "other");
    std::vector<std::string> messages = Messages();
    EXPECT_EQ(std::set<std::string>(messages.begin(), messages.end()),
              (std::set<std::string> { "before", kAbandoned, "other" }));
    EXPECT_EQ(messages.size(), 3u);
    context.Log(CCat(3), "again");
    other.Log(CCat(3), "other again");
    EXPECT_EQ(Messages(), (std::vector<std::string> { "again", "other again" }));
    EXPECT_EQ(context.mRecordCount, 0);
    EXPECT_EQ(BytesIn(context), 0u);
}

TEST_F(Guarded, CountBeyondTheRecordsIsTold)
{
    CLogContext& context = mPass.Context("Main");
    context.Log(CCat(3), "one");
    context.mRecordCount = 1000;
    EXPECT_EQ(Messages(), (std::vector<std::string> { "one", kAbandoned }));
    context.Log(CCat(3), "two");
    EXPECT_EQ(Messages(), (std::vector<std::string> { "two" }));
}

TEST_F(Guarded, RingThatIsFullOfBytesWithoutARecordIsAbandonedByTheSecondPass)
{
    CLogContext& context = mPass.Context("Main", 8192);
    HandMadeRecord().Bytes(std::string(7000, 'x').data(), 7000).PushTo(*context.mBuffer);
    context.mDropping = true;
    context.Log(CCat(3), "dropped");
    EXPECT_TRUE(Messages().empty());
    EXPECT_EQ(Messages(), (std::vector<std::string> { kAbandoned }));
    EXPECT_TRUE(Messages().empty());
    context.Log(CCat(3), "first");
    EXPECT_LE(Messages().size(), 1u);
    context.Log(CCat(3), "second");
    const std::vector<std::string> messages = Messages();
    ASSERT_FALSE(messages.empty());
    EXPECT_EQ(messages.back(), "second");
}

TEST_F(Guarded, RecordThatIsBeingWrittenIsNotTakenForOne)
{
    CLogContext& context = mPass.Context("Main");
    context.LogPre(CCat(3));
    for (int i = 0; i < 5; ++i) {
        EXPECT_TRUE(Messages().empty());
    }
}

TEST_F(Guarded, StructuredCallbackIsToldToo)
{
    CLogContext& context = mPass.Context("Main");
    mPass.Manager().SetStructuredOutputCallback(mPass.Manager().GetStructuredOutputCallback());
    HandMadeRecord().Byte(9).PublishIn(context);
    mPass.Manager().Collect();
    ASSERT_EQ(mPass.messages.size(), 1u);
    EXPECT_EQ(mPass.messages[0].text, kAbandoned);
    EXPECT_EQ(mPass.messages[0].context, "Main");
}

// The thread and the passes agree on where records begin again, however they meet.
TEST_F(Guarded, ThreadLogsOnWhileItsRingIsAbandonedAgainAndAgain)
{
    CLogContext& context = mPass.Context("Main", 20000);
    int seen = 0;
    std::thread thread([&] {
        for (int i = 0; i < 3000; ++i) {
            context.Log(CCat(3), "message %d", i);
            if (i % 100 == 50) {
                HandMadeRecord().Byte(9).PublishIn(context);
            }
        }
    });
    const auto look = [&] {
        for (const std::string& message : Messages()) {
            if (message == kAbandoned || message == kDropped) {
                continue;
            }
            ASSERT_EQ(message.substr(0, 8), "message ");
            const int number = std::atoi(message.c_str() + 8);
            ASSERT_GE(number, seen);
            seen = number + 1;
        }
    };
    for (int i = 0; i < 300; ++i) {
        look();
        std::this_thread::yield();
    }
    thread.join();
    look();
    context.Log(CCat(3), "message %d", 3000);
    look();
    context.Log(CCat(3), "message %d", 3001);
    look();
    EXPECT_EQ(seen, 3002);
    EXPECT_EQ(context.mRecordCount, 0);
}

// The ring ends behind a number, where the thread then begins anew.
TEST_F(Guarded, NumberOfAnAbandonedRecordIsNotTakenForTheOneThatFollows)
{
    CLogContext& context = mPass.Context("Main");
    HandMadeRecord().Byte(0).Raw(70000).PublishIn(context);
    EXPECT_EQ(Messages(), std::vector<std::string> { kAbandoned });
    context.Log(CCat(3), "again");
    mPass.Manager().Collect();
    ASSERT_EQ(mPass.lines.size(), 1u);
    EXPECT_EQ(messageOf(mPass.lines[0]), "again");
    EXPECT_NE(numberOf(mPass.lines[0]), 70000);
}
