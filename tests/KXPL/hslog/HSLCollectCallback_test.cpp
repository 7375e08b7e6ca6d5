// The two kinds of callback and the circumstances under which a pass calls them.
#include "hslog/HSL.h"

#include "Interpose.h"
#include "ManualPass.h"
#include "WithoutShortcuts.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

void switchToStructured(ManualPass& pass)
{
    pass.Manager().SetStructuredOutputCallback(pass.Manager().GetStructuredOutputCallback());
}

void switchToPlain(ManualPass& pass)
{
    pass.Manager().SetOutputCallback(pass.Manager().GetOutputCallback());
}

HandMadeRecord numbered(int sequence)
{
    return HandMadeRecord().Header(sequence).Inline("n=%d").Count(1).Int32(sequence);
}

bool otherThreadGetsTheLock(HSL::CLogManager& manager)
{
    bool got = false;
    std::thread other([&manager, &got] {
        got = manager.mLock.TryLock();
        if (got) {
            manager.mLock.Unlock();
        }
    });
    other.join();
    return got;
}

} // namespace

TEST(CollectCallback, StructuredOneGetsTheRecordsOwnFields)
{
    ManualPass pass;
    switchToStructured(pass);
    pass.Manager().SetFilterValue(200, true);
    HandMadeRecord()
        .Header(77, 1700000000, 250000, 5, { 9, 200, 3 })
        .Inline("x=%d y=%s")
        .Count(2)
        .Int32(5)
        .String("ab")
        .PublishIn(pass.Context("A context with a long name"));
    pass.Manager().Collect();
    ASSERT_EQ(pass.messages.size(), 1u);
    const ManualPass::Message& message = pass.messages[0];
    EXPECT_EQ(message.text, "x=5 y=ab");
    EXPECT_EQ(message.context, "A context with a long name");
    EXPECT_EQ(message.depth, 5);
    EXPECT_EQ(message.categories, (std::vector<unsigned char> { 9, 200, 3 }));
    EXPECT_EQ(message.seconds, 1700000000u);
    EXPECT_EQ(message.microseconds, 250000u);
}

TEST(CollectCallback, StructuredOneGetsARealCallsFields)
{
    ManualPass pass;
    switchToStructured(pass);
    Interposed hooks;
    hooks.gettimeofdayHook = [](struct timeval* now, void*) {
        now->tv_sec = 1700000000;
        now->tv_usec = 999999;
        return 0;
    };
    HSL::CLogContext& context = pass.Context("Main");
    context.mDepth = 300;
    context.Log(HSL::CCat(3), "ready");
    pass.Manager().Collect();
    ASSERT_EQ(pass.messages.size(), 1u);
    EXPECT_EQ(pass.messages[0].text, "ready");
    EXPECT_EQ(pass.messages[0].depth, 255);
    EXPECT_EQ(pass.messages[0].categories, (std::vector<unsigned char> { 3 }));
    EXPECT_EQ(pass.messages[0].seconds, 1700000000u);
    EXPECT_EQ(pass.messages[0].microseconds, 999999u);
}

TEST(CollectCallback, StructuredOneGetsTimesThatNoLineCouldShow)
{
    ManualPass pass;
    switchToStructured(pass);
    HandMadeRecord().Header(1, 4294967295u, 4294967294u).Inline("").Count(0).PublishIn(pass.Context("Main"));
    pass.Manager().Collect();
    ASSERT_EQ(pass.messages.size(), 1u);
    EXPECT_EQ(pass.messages[0].seconds, 4294967295u);
    EXPECT_EQ(pass.messages[0].microseconds, 4294967294u);
}

TEST(CollectCallback, StructuredTextHasNoNewlineAndNoIndentation)
{
    ManualPass pass;
    switchToStructured(pass);
    HandMadeRecord().Header(1, 0, 0, 2).Inline("ready").Count(0).PublishIn(pass.Context("Main"));
    pass.Manager().Collect();
    ASSERT_EQ(pass.messages.size(), 1u);
    EXPECT_EQ(pass.messages[0].text, "ready");
}

TEST(CollectCallback, StructuredOneAloneIsCalled)
{
    ManualPass pass;
    switchToStructured(pass);
    numbered(1).PublishIn(pass.Context("Main"));
    pass.Manager().Collect();
    EXPECT_TRUE(pass.lines.empty());
    EXPECT_EQ(pass.messages.size(), 1u);
}

TEST(CollectCallback, PlainOneAloneIsCalled)
{
    ManualPass pass;
    numbered(1).PublishIn(pass.Context("Main"));
    pass.Manager().Collect();
    EXPECT_EQ(pass.lines.size(), 1u);
    EXPECT_TRUE(pass.messages.empty());
}

TEST(CollectCallback, NoHeaderIsBuiltForTheStructuredOne)
{
    ManualPass pass;
    switchToStructured(pass);
    numbered(1).PublishIn(pass.Context("Main"));
    const WithoutShortcuts everyPiece;
    Interposed hooks;
    std::vector<std::string> formats;
    hooks.vsnprintfHook = [&formats](char* output, std::size_t size, const char* format, va_list values) {
        formats.push_back(format);
        return __real_vsnprintf(output, size, format, values);
    };
    pass.Manager().Collect();
    EXPECT_EQ(formats, (std::vector<std::string> { "n=%d" }));
    EXPECT_EQ(pass.messages.size(), 1u);
}

TEST(CollectCallback, NothingIsFormattedForAHiddenRecord)
{
    ManualPass pass;
    numbered(1).PublishIn(pass.Context("Main"));
    pass.Manager().SetFilterValue(3, false);
    const WithoutShortcuts everyPiece;
    Interposed hooks;
    int formatted = 0;
    hooks.vsnprintfHook = [&formatted](char*, std::size_t, const char*, va_list) {
        ++formatted;
        return 0;
    };
    pass.Manager().Collect();
    EXPECT_EQ(formatted, 0);
}

TEST(CollectCallback, StructuredOneDoesNotGetHiddenRecords)
{
    ManualPass pass;
    switchToStructured(pass);
    HSL::CLogContext& context = pass.Context("Main");
    HandMadeRecord().Header(1, 0, 0, 0, { 4 }).Inline("hidden").Count(0).PublishIn(context);
    numbered(2).PublishIn(context);
    pass.Manager().Collect();
    ASSERT_EQ(pass.messages.size(), 1u);
    EXPECT_EQ(pass.messages[0].text, "n=2");
}

TEST(CollectCallback, RecordsOfAStructuredPassAreTakenInOrder)
{
    ManualPass pass;
    switchToStructured(pass);
    HSL::CLogContext& a = pass.Context("a");
    HSL::CLogContext& b = pass.Context("b");
    numbered(2).PublishIn(a);
    numbered(1).PublishIn(b);
    numbered(3).PublishIn(b);
    pass.Manager().Collect();
    ASSERT_EQ(pass.messages.size(), 3u);
    EXPECT_EQ(pass.messages[0].text, "n=1");
    EXPECT_EQ(pass.messages[1].text, "n=2");
    EXPECT_EQ(pass.messages[2].text, "n=3");
}

TEST(CollectCallback, KindMayChangeBetweenPasses)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main");
    numbered(1).PublishIn(context);
    pass.Manager().Collect();
    switchToStructured(pass);
    numbered(2).PublishIn(context);
    pass.Manager().Collect();
    switchToPlain(pass);
    numbered(3).PublishIn(context);
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 2u);
    ASSERT_EQ(pass.messages.size(), 1u);
    EXPECT_EQ(messageOf(pass.lines[0]), "n=1");
    EXPECT_EQ(pass.messages[0].text, "n=2");
    EXPECT_EQ(messageOf(pass.lines[1]), "n=3");
}

TEST(CollectCallback, KindInForceIsAskedForEachRecord)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main");
    numbered(1).PublishIn(context);
    numbered(2).PublishIn(context);
    pass.inCallback = [&pass] { switchToStructured(pass); };
    pass.Manager().Collect();
    EXPECT_EQ(pass.lines.size(), 1u);
    EXPECT_EQ(pass.messages.size(), 1u);
}

TEST(CollectCallback, LockIsHeldDuringAPlainCallback)
{
    ManualPass pass;
    numbered(1).PublishIn(pass.Context("Main"));
    bool got = true;
    pass.inCallback = [&pass, &got] { got = otherThreadGetsTheLock(pass.Manager()); };
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 1u);
    EXPECT_FALSE(got);
}

TEST(CollectCallback, LockIsHeldDuringAStructuredCallback)
{
    ManualPass pass;
    switchToStructured(pass);
    numbered(1).PublishIn(pass.Context("Main"));
    bool got = true;
    pass.inCallback = [&pass, &got] { got = otherThreadGetsTheLock(pass.Manager()); };
    pass.Manager().Collect();
    ASSERT_EQ(pass.messages.size(), 1u);
    EXPECT_FALSE(got);
}

TEST(CollectCallback, LockIsFreeAfterThePass)
{
    ManualPass pass;
    numbered(1).PublishIn(pass.Context("Main"));
    pass.Manager().Collect();
    EXPECT_TRUE(otherThreadGetsTheLock(pass.Manager()));
}

TEST(CollectCallback, LockIsFreeAfterAPassWithoutRecords)
{
    ManualPass pass;
    pass.Manager().Collect();
    EXPECT_TRUE(otherThreadGetsTheLock(pass.Manager()));
}

TEST(CollectCallback, LogCallsDoNotWaitForThePass)
{
    ManualPass pass;
    HSL::CLogContext& drained = pass.Context("drained");
    HSL::CLogContext& logging = pass.Context("logging");
    numbered(1).PublishIn(drained);
    pass.inCallback = [&pass, &logging] {
        pass.inCallback = nullptr;
        std::thread other([&logging] { logging.Log(HSL::CCat(3), "meanwhile"); });
        other.join();
    };
    pass.Manager().Collect();
    EXPECT_EQ(logging.mRecordCount, 1);
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 2u);
    EXPECT_EQ(messageOf(pass.lines[1]), "meanwhile");
}

TEST(CollectCallback, NameGivenByAPlainCallbackShowsInTheNextLine)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("before");
    numbered(1).PublishIn(context);
    numbered(2).PublishIn(context);
    pass.inCallback = [&context] { context.SetName("a name longer than before"); };
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 2u);
    EXPECT_NE(pass.lines[0].find("[before            ]"), std::string::npos) << pass.lines[0];
    EXPECT_NE(pass.lines[1].find("[a name longer than before]"), std::string::npos) << pass.lines[1];
}

namespace {

HSL::CLogContext* gRenamed = nullptr;
std::vector<std::string> gNamesAfterRenaming;

void renameAndLookAgain(const char*, const std::string& name, unsigned char, unsigned char, unsigned char*,
                        unsigned int, unsigned int)
{
    gRenamed->SetName((name + ", renamed").c_str());
    gNamesAfterRenaming.push_back(name);
}

} // namespace

TEST(CollectCallback, NameThatAStructuredOneWasGivenOutlivesItsChange)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("context");
    numbered(1).PublishIn(context);
    numbered(2).PublishIn(context);
    gRenamed = &context;
    gNamesAfterRenaming.clear();
    pass.Manager().SetStructuredOutputCallback(renameAndLookAgain);
    pass.Manager().Collect();
    EXPECT_EQ(gNamesAfterRenaming, (std::vector<std::string> { "context", "context, renamed" }));
}
