// The bytes that log calls leave in a context's ring.
#include "hslog/HSLLogContext.h"

#include "BareManager.h"
#include "HandMadeRecord.h"

#include <gtest/gtest.h>

#include <ctime>
#include <string>
#include <type_traits>
#include <utility>

using HSL::CCat;
using HSL::CLogContext;
using HSL::CValue;

namespace {

constexpr unsigned int kSeconds = 1700000000;
constexpr unsigned int kMicroseconds = 250000;

// A context of its own manager, with every category let through and the clock standing still.
class LogRecord : public testing::Test {
protected:
    LogRecord()
        : mContext("context", 300000, CLogContext::MallocFunc, CLogContext::FreeFunc)
    {
        for (int code = 0; code < 256; ++code) {
            mManager->SetFilterValue(static_cast<unsigned char>(code), true);
        }
        SetClock(kSeconds, kMicroseconds);
    }

    void SetClock(long long seconds, int microseconds)
    {
        mHooks.gettimeofdayHook = [seconds, microseconds](struct timeval* now, void*) {
            now->tv_sec = static_cast<std::time_t>(seconds);
            now->tv_usec = microseconds;
            return 0;
        };
    }

    // The record of one call, taken off the ring.
    template <typename... Arguments> std::string Logged(const Arguments&... arguments)
    {
        mContext.Log(arguments...);
        return TakeFrom(*mContext.mBuffer, UsedIn(*mContext.mBuffer));
    }

    // Logs twice where the ring ends so many bytes behind the first record's begin, for every such number up to
    // a few more than the record has.
    template <typename Function> void LogAtTheRingsEnd(const Function& log, const HandMadeRecord& body)
    {
        const std::string first = Header(1).Bytes(body.AsString()).AsString();
        const std::string second = Header(2).Bytes(body.AsString()).AsString();
        for (unsigned int left = 1; left < first.size() + 4; ++left) {
            CLogContext context("context", 8192, CLogContext::MallocFunc, CLogContext::FreeFunc);
            CCircularBuffer& ring = *context.mBuffer;
            SetUsed(ring, 8193 - left);
            SetUsed(ring, 0);
            ASSERT_EQ(ring.mControl->end_offset + 1 - ring.mControl->write_offset, left);
            mManager->mSequence = 0;
            log(context);
            ASSERT_EQ(BytesIn(ring), first) << left << " bytes before the ring's end";
            log(context);
            ASSERT_EQ(BytesIn(ring), first + second) << left << " bytes before the ring's end";
            ASSERT_LE(ring.mControl->write_offset, ring.mControl->end_offset);
        }
    }

    static HandMadeRecord Header(int sequence)
    {
        return HandMadeRecord().Header(sequence, kSeconds, kMicroseconds, 0, { 3 });
    }

    Interposed mHooks;
    BareManager mManager;
    CLogContext mContext;
};

template <std::size_t> using Value = const CValue&;

// Names the member with these values under its very signature, and does not compile without one.
template <typename Format, std::size_t... I> constexpr void nameMember(std::index_sequence<I...>)
{
    using Member = void (CLogContext::*)(const CCat&, Format, Value<I>...);
    static_assert(std::is_same_v<decltype(static_cast<Member>(&CLogContext::Log)), Member>);
}

template <typename Format, std::size_t... Counts> constexpr void nameMembers(std::index_sequence<Counts...>)
{
    (nameMember<Format>(std::make_index_sequence<Counts>()), ...);
}

template <typename Enable, typename Format, typename... Values> struct TakesValues : std::false_type {
};
template <typename Format, typename... Values>
struct TakesValues<std::void_t<decltype(std::declval<CLogContext&>().Log(
                       std::declval<const CCat&>(), std::declval<Format>(), std::declval<Values>()...))>,
                   Format, Values...> : std::true_type {
};

// Whether a call with these ten ints compiles, and with the ints that follow.
template <typename Format, typename... More>
constexpr bool kTakesTenAnd =
    TakesValues<void, Format, int, int, int, int, int, int, int, int, int, int, More...>::value;

template <typename Format, std::size_t... I>
void logValues(CLogContext& context, Format format, std::index_sequence<I...>)
{
    context.Log(CCat(3), format, CValue(static_cast<int>(100 + I))...);
}

// One call of each member of a row, from no value to ten.
template <typename Format, std::size_t... Counts>
void logRow(CLogContext& context, Format format, std::index_sequence<Counts...>)
{
    (logValues(context, format, std::make_index_sequence<Counts>()), ...);
}

} // namespace

TEST_F(LogRecord, EveryFieldLiesAtItsOffset)
{
    mManager->mSequence = 0x01020303;
    mContext.mDepth = 2;
    EXPECT_EQ(Logged(CCat(9), "hi", CValue(static_cast<short>(7))),
              Raw({ 0x00,                   // marker
                    0x04, 0x03, 0x02, 0x01, // sequence
                    0x00, 0xF1, 0x53, 0x65, // seconds
                    0x90, 0xD0, 0x03, 0x00, // microseconds
                    0x02,                   // depth
                    0x01, 0x09,             // categories
                    0x01,                   // format kind
                    0x02, 0x00, 'h',  'i',  // format
                    0x01,                   // values
                    0x05, 0x07, 0x00 }));
}

TEST_F(LogRecord, FormatIdTakesThePlaceOfTheText)
{
    EXPECT_EQ(Logged(CCat(3), static_cast<short>(0x1234), CValue(5)),
              Header(1).Bytes(Raw({ 3, 0x34, 0x12, 1, 6, 5, 0, 0, 0 })).AsString());
}

TEST_F(LogRecord, FormatIdIsSigned)
{
    EXPECT_EQ(Logged(CCat(3), static_cast<short>(-1)), Header(1).Bytes(Raw({ 3, 0xFF, 0xFF, 0 })).AsString());
    EXPECT_EQ(Logged(CCat(3), static_cast<short>(32767)),
              Header(2).Bytes(Raw({ 3, 0xFF, 0x7F, 0 })).AsString());
}

TEST_F(LogRecord, SeveralCategoriesMoveWhatFollows)
{
    CCat cat(3);
    cat.mCount = 3;
    cat.mCodes[1] = 200;
    cat.mCodes[2] = 0;
    EXPECT_EQ(
        Logged(cat, "x"),
        HandMadeRecord().Header(1, kSeconds, kMicroseconds, 0, { 3, 200, 0 }).Inline("x").Count(0).AsString());
}

TEST_F(LogRecord, MembersHaveTheirVeryArguments)
{
    nameMembers<const char*>(std::make_index_sequence<11>());
    nameMembers<short>(std::make_index_sequence<11>());
    EXPECT_TRUE(kTakesTenAnd<const char*>);
    EXPECT_TRUE(kTakesTenAnd<short>);
    EXPECT_FALSE((kTakesTenAnd<const char*, int>));
    EXPECT_FALSE((kTakesTenAnd<short, int>));
}

TEST_F(LogRecord, EveryMemberWithATextRecordsItsValuesInOrder)
{
    logRow<const char*>(mContext, "f", std::make_index_sequence<11>());
    HandMadeRecord expected;
    for (int count = 0; count <= 10; ++count) {
        expected.Bytes(Header(count + 1).Inline("f").Count(count).AsString());
        for (int value = 0; value < count; ++value) {
            expected.Int32(100 + value);
        }
    }
    EXPECT_EQ(BytesIn(*mContext.mBuffer), expected.AsString());
    EXPECT_EQ(mContext.mRecordCount, 11);
}

TEST_F(LogRecord, EveryMemberWithAnIdRecordsItsValuesInOrder)
{
    logRow<short>(mContext, 5, std::make_index_sequence<11>());
    HandMadeRecord expected;
    for (int count = 0; count <= 10; ++count) {
        expected.Bytes(Header(count + 1).Id(5).Count(count).AsString());
        for (int value = 0; value < count; ++value) {
            expected.Int32(100 + value);
        }
    }
    EXPECT_EQ(BytesIn(*mContext.mBuffer), expected.AsString());
    EXPECT_EQ(mContext.mRecordCount, 11);
}

TEST_F(LogRecord, ValuesOfEveryKindFollowEachOther)
{
    const unsigned short sixteen[] = { 'u', 0 };
    const int object = 0;
    const std::string record = Logged(CCat(3), "f", CValue(1.0f), CValue("s"), CValue(L"w"), CValue(sixteen),
                                      CValue(&object), CValue(2l), CValue(static_cast<unsigned char>(3)));
    HandMadeRecord expected = Header(1).Inline("f").Count(7);
    expected.Raw<unsigned char>(12).Raw(1.0f).String("s").Bytes(Raw({ 17, 1, 0, 'w', 0, 0, 0 }));
    expected.Bytes(Raw({ 18, 1, 0, 'u', 0 })).Raw<unsigned char>(15).Raw(&object);
    expected.Raw<unsigned char>(14).Raw(2l).Bytes(Raw({ 8, 3 }));
    EXPECT_EQ(record, expected.AsString());
}

TEST_F(LogRecord, FormatIsCopiedNotFormatted)
{
    EXPECT_EQ(Logged(CCat(3), "%d%%%s", CValue(1)), Header(1).Inline("%d%%%s").Count(1).Int32(1).AsString());
}

TEST_F(LogRecord, EmptyFormatHasNoText)
{
    EXPECT_EQ(Logged(CCat(3), ""), Header(1).Bytes(Raw({ 1, 0, 0, 0 })).AsString());
}

TEST_F(LogRecord, NullFormatIsTheTextNull)
{
    EXPECT_EQ(Logged(CCat(3), static_cast<const char*>(nullptr)),
              Header(1).Inline("<NULL>").Count(0).AsString());
}

TEST_F(LogRecord, NullFormatKeepsItsValues)
{
    EXPECT_EQ(Logged(CCat(3), static_cast<const char*>(nullptr), CValue(1)),
              Header(1).Inline("<NULL>").Count(1).Int32(1).AsString());
}

TEST_F(LogRecord, FormatOf70000BytesIsCutTo4464)
{
    std::string format(70000, 'x');
    format[4463] = 'y';
    format[4464] = 'z';
    EXPECT_EQ(Logged(CCat(3), format.c_str(), CValue(1)),
              Header(1).Inline(format.substr(0, 4464)).Count(1).Int32(1).AsString());
}

TEST_F(LogRecord, FormatOf65535BytesIsWhole)
{
    const std::string format(65535, 'x');
    EXPECT_EQ(Logged(CCat(3), format.c_str()), Header(1).Inline(format).Count(0).AsString());
}

TEST_F(LogRecord, TextsOfEverySizeAreWholeWhateverLiesAroundThem)
{
    for (std::size_t size = 0; size <= 70; ++size) {
        std::string around(size + 80, '#');
        for (std::size_t i = 0; i < size; ++i) {
            around[40 + i] = static_cast<char>('!' + 1 + i);
        }
        around[40 + size] = '\0';
        const char* text = around.data() + 40;
        EXPECT_EQ(Logged(CCat(3), text, text),
                  Header(static_cast<int>(size) + 1).Inline(text).Count(1).String(text).AsString())
            << size;
    }
}

TEST_F(LogRecord, UTF16TextOf65535UnitsIsWholeAndALongerOneIsCut)
{
    for (const std::size_t units : { 65535u, 65536u }) {
        CLogContext context("context", 1 << 18, CLogContext::MallocFunc, CLogContext::FreeFunc);
        std::vector<unsigned short> text(units, 'u');
        text.push_back(0);
        context.Log(CCat(3), "f", static_cast<const unsigned short*>(text.data()));
        const std::size_t before = Header(1).Inline("f").Count(1).AsString().size();
        EXPECT_EQ(UsedIn(*context.mBuffer), before + 3 + 2 * 65535u);
    }
}

TEST_F(LogRecord, RecordWithAnIdAcrossTheRingsEndIsLikeAnyOther)
{
    CLogContext context("context", 65536, CLogContext::MallocFunc, CLogContext::FreeFunc);
    SetUsed(*context.mBuffer, 61000);
    TakeFrom(*context.mBuffer, 61000);
    SetUsed(*context.mBuffer, 4520);
    TakeFrom(*context.mBuffer, 4520);
    context.Log(CCat(3), static_cast<short>(7), CValue(5));
    EXPECT_EQ(context.mRecordCount, 1);
    EXPECT_EQ(BytesIn(*context.mBuffer), Header(1).Bytes(Raw({ 3, 7, 0, 1, 6, 5, 0, 0, 0 })).AsString());
}

TEST_F(LogRecord, LongTextsAreWholeWithoutACopyFunction)
{
    mContext.mBuffer->SetCopyFunc(nullptr);
    const std::string format(33, 'f');
    const std::string text(500, 't');
    mContext.Log(CCat(3), format.c_str(), text.c_str());
    EXPECT_EQ(BytesIn(*mContext.mBuffer), Header(1).Inline(format).Count(1).String(text).AsString());
}

TEST_F(LogRecord, DepthIsClampedToAByte)
{
    const struct {
        int depth;
        char recorded;
    } cases[] = {
        { 300, '\xFF' }, { 256, '\xFF' }, { 255, '\xFF' },  { 254, '\xFE' },        { 1, '\x01' },
        { 0, '\x00' },   { -1, '\x00' },  { -256, '\x00' }, { 2147483647, '\xFF' }, { -2147483647 - 1, '\x00' }
    };
    for (const auto& one : cases) {
        mContext.mDepth = one.depth;
        EXPECT_EQ(Logged(CCat(3), "f")[13], one.recorded) << one.depth;
        EXPECT_EQ(mContext.mDepth, one.depth);
    }
}

TEST_F(LogRecord, TimeIsSplitIntoSecondsAndMicroseconds)
{
    SetClock(1699999999, 999999);
    EXPECT_EQ(Logged(CCat(3), "f").substr(5, 8), HandMadeRecord().Raw(1699999999u).Raw(999999u).AsString());
}

TEST_F(LogRecord, TimeIsZeroWhenTheClockCannotBeRead)
{
    mHooks.gettimeofdayHook = [](struct timeval* now, void*) {
        now->tv_sec = 5;
        now->tv_usec = 5;
        return -1;
    };
    EXPECT_EQ(Logged(CCat(3), "f").substr(5, 8), std::string(8, '\0'));
}

TEST_F(LogRecord, TimeIsAskedForWithTheTimeZoneRecordLikeEveryTime)
{
    bool asked = false;
    mHooks.gettimeofdayHook = [&asked](struct timeval* now, void* zone) {
        asked = zone != nullptr;
        *now = {};
        return 0;
    };
    Logged(CCat(3), "f");
    EXPECT_TRUE(asked);
}

TEST_F(LogRecord, MicrosecondsBeyondTheirSecondCountForItsNeighbour)
{
    SetClock(100, -1);
    EXPECT_EQ(Logged(CCat(3), "f").substr(5, 8), HandMadeRecord().Raw(99u).Raw(999999u).AsString());
    SetClock(100, 1000000);
    EXPECT_EQ(Logged(CCat(3), "f").substr(5, 8), HandMadeRecord().Raw(101u).Raw(0u).AsString());
}

TEST_F(LogRecord, LastSecondOfSigned32BitTimeIsExact)
{
    SetClock(2147483647, 750000);
    EXPECT_EQ(Logged(CCat(3), "f").substr(5, 8), HandMadeRecord().Raw(2147483647u).Raw(750000u).AsString());
}

// The time is negative there, so the division's truncation toward zero counts up, not down.
TEST_F(LogRecord, TimePast2038IsTruncatedTowardZero)
{
    SetClock(2147483648, 250000);
    EXPECT_EQ(Logged(CCat(3), "f").substr(5, 8),
              HandMadeRecord().Raw(2147483649u).Raw(static_cast<unsigned int>(-750000)).AsString());
}

TEST_F(LogRecord, WholeSecondPast2038KeepsItsBits)
{
    SetClock(2147483648, 0);
    EXPECT_EQ(Logged(CCat(3), "f").substr(5, 8), HandMadeRecord().Raw(2147483648u).Raw(0u).AsString());
}

TEST_F(LogRecord, FirstRecordOfAManagerIsNumberOne)
{
    EXPECT_EQ(Logged(CCat(3), "f").substr(1, 4), Raw({ 1, 0, 0, 0 }));
    EXPECT_EQ(mManager->mSequence, 1);
}

TEST_F(LogRecord, ContextsShareTheNumbers)
{
    CLogContext other("other", 8192, CLogContext::MallocFunc, CLogContext::FreeFunc);
    mContext.Log(CCat(3), "a");
    other.Log(CCat(3), "b");
    mContext.Log(CCat(3), "c");
    EXPECT_EQ(BytesIn(*mContext.mBuffer),
              Header(1).Inline("a").Count(0).AsString() + Header(3).Inline("c").Count(0).AsString());
    EXPECT_EQ(BytesIn(*other.mBuffer), Header(2).Inline("b").Count(0).AsString());
}

TEST_F(LogRecord, LogPreWritesTheHeaderAndPublishesNothing)
{
    mContext.mDepth = 7;
    mContext.LogPre(CCat(3));
    EXPECT_EQ(BytesIn(*mContext.mBuffer),
              HandMadeRecord().Header(1, kSeconds, kMicroseconds, 7, { 3 }).AsString());
    EXPECT_EQ(mManager->mSequence, 1);
    EXPECT_EQ(mContext.mRecordCount, 0);
}

TEST_F(LogRecord, LogPreDoesNotAskTheFilter)
{
    mManager->SetFilterValue(3, false);
    mContext.LogPre(CCat(3));
    EXPECT_EQ(BytesIn(*mContext.mBuffer), Header(1).AsString());
}

TEST_F(LogRecord, LogPostOnlyCountsTheRecord)
{
    mContext.LogPost();
    mContext.LogPost();
    EXPECT_EQ(mContext.mRecordCount, 2);
    EXPECT_EQ(UsedIn(*mContext.mBuffer), 0u);
    EXPECT_EQ(mManager->mSequence, 0);
}

// Nothing checks the length of a record against what is left of the ring.
TEST_F(LogRecord, RecordBeyondTheReserveIsCutShortAndCountedAllTheSame)
{
    CLogContext context("context", 65536, CLogContext::MallocFunc, CLogContext::FreeFunc);
    SetUsed(*context.mBuffer, 61439);
    const std::string text(10000, 'x');
    context.Log(CCat(3), "%s", text.c_str());
    EXPECT_EQ(context.mRecordCount, 1);
    EXPECT_EQ(UsedIn(*context.mBuffer), 65536u);
    TakeFrom(*context.mBuffer, 61439);
    const std::string whole = Header(1).Inline("%s").Count(1).String(text).AsString();
    EXPECT_EQ(BytesIn(*context.mBuffer), whole.substr(0, 4097));
}

// A record that does not lie in one piece goes another way through the code; which it is hangs on its exact
// size.
TEST_F(LogRecord, RecordsAreWholeWhereverTheRingEnds)
{
    const std::string text(40, 't');
    const char* const utf8 = text.c_str();
    LogAtTheRingsEnd([&](CLogContext& context) { context.Log(CCat(3), "%d %s %s", 7, utf8, "short"); },
                     HandMadeRecord().Inline("%d %s %s").Count(3).Int32(7).String(text).String("short"));
    LogAtTheRingsEnd([&](CLogContext& context) { context.Log(CCat(3), static_cast<short>(5), utf8, 7); },
                     HandMadeRecord().Id(5).Count(2).String(text).Int32(7));
    LogAtTheRingsEnd([&](CLogContext& context) { context.Log(CCat(3), "alone"); },
                     HandMadeRecord().Inline("alone").Count(0));
}

TEST_F(LogRecord, RecordsOfAnyValuesAreWholeWhereverTheRingEnds)
{
    const std::string text(40, 't');
    const CValue values[] = { CValue(7), CValue(text.c_str()), CValue("short") };
    const CValue* volatile any = values; // whose types the compiler cannot see
    LogAtTheRingsEnd([&](CLogContext& context) { context.Log(CCat(3), "%d %s %s", any[0], any[1], any[2]); },
                     HandMadeRecord().Inline("%d %s %s").Count(3).Int32(7).String(text).String("short"));
    LogAtTheRingsEnd([&](CLogContext& context) { context.Log(CCat(3), static_cast<short>(5), any[1], any[0]); },
                     HandMadeRecord().Id(5).Count(2).String(text).Int32(7));
}

TEST_F(LogRecord, AsManyValuesOfAnyTypesAsThereMayBeAreRecorded)
{
    const CValue values[] = { CValue(1), CValue(2), CValue(3), CValue(4), CValue(5),
                              CValue(6), CValue(7), CValue(8), CValue(9), CValue("ten") };
    const CValue* volatile any = values;
    HandMadeRecord expected = Header(1).Id(5).Count(10);
    for (int number = 1; number < 10; ++number) {
        expected.Int32(number);
    }
    EXPECT_EQ(Logged(CCat(3), static_cast<short>(5), any[0], any[1], any[2], any[3], any[4], any[5], any[6],
                     any[7], any[8], any[9]),
              expected.String("ten").AsString());
}
