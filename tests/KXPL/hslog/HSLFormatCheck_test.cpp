// Formats that are registered under a check, and checked calls at work. Built twice: with NDEBUG and without.
#include "hslog/HSLFormatCheck.h"

#include "BareManager.h"
#include "ManualPass.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

#ifdef NDEBUG
constexpr bool kDebug = false;
#else
constexpr bool kDebug = true;
#endif

using Told = std::vector<std::string>;

Told gTold;

void tell(const char* format, const char* problem)
{
    gTold.push_back(std::string(format) + ": " + problem);
}

// What is told of one format; its id is checked on the way.
Told toldOf(const char* format)
{
    BareManager manager;
    gTold.clear();
    EXPECT_EQ(HSL::CheckedAddFormatString(*manager, format, tell), 0);
    EXPECT_EQ(manager->mFormatStrings.size(), 1u);
    EXPECT_TRUE(manager->mFormatStrings[0].mNarrow);
    EXPECT_EQ(manager->mFormatStrings[0].mString, format != nullptr ? format : "<NULL>");
    return gTold;
}

using Class = HSL::FormatCheck::ValueKind::Class;

// The class that a value's conversion has to suit, by the tag that it gets in a record.
Class classOf(const HSL::CValue& value)
{
    switch (value.mType) {
    case HSL::kFloat:
    case HSL::kDouble:
        return Class::kReal;
    case HSL::kPointer:
        return Class::kAddress;
    case HSL::kString:
        return Class::kNarrowText;
    case HSL::kWString:
    case HSL::kUTF16String:
        return Class::kWideText;
    default:
        return Class::kInteger;
    }
}

template <typename Value> void expectSameChoice(Value value)
{
    const HSL::CValue logged(value);
    constexpr HSL::FormatCheck::ValueKind kKind = HSL::FormatCheck::KindOfValue<Value>::kKind;
    EXPECT_EQ(kKind.mClass, classOf(logged)) << static_cast<int>(logged.mType);
    EXPECT_EQ(kKind.mIsLong, logged.mType == HSL::kLong) << static_cast<int>(logged.mType);
    const bool isWide = logged.mType == HSL::kInt64 || logged.mType == HSL::kUInt64;
    EXPECT_EQ(kKind.mClass == Class::kInteger && !kKind.mIsLong && kKind.mSize == 8, isWide)
        << static_cast<int>(logged.mType);
}

Told inDebug(const std::string& text)
{
    return kDebug ? Told({ text }) : Told();
}

} // namespace

TEST(CheckedAddFormatString, EndlessFormatIsToldInDebugBuildsAndRegisteredAllTheSame)
{
    EXPECT_EQ(
        toldOf("100%% %d"),
        inDebug("100%% %d: never returns from rendering: no %% and no % behind a backslash in a format with "
                "values"));
}

TEST(CheckedAddFormatString, WritingFormatIsToldInDebugBuilds)
{
    EXPECT_EQ(toldOf("%n"), inDebug("%n: %n writes to memory"));
}

TEST(CheckedAddFormatString, HarmlessFormatsAreNotTold)
{
    EXPECT_EQ(toldOf("%d of %s"), Told());
    EXPECT_EQ(toldOf("50%% done"), Told());
    EXPECT_EQ(toldOf(""), Told());
}

TEST(CheckedAddFormatString, NullIsLeftToTheManager)
{
    EXPECT_EQ(toldOf(nullptr), Told());
}

TEST(CheckedAddFormatString, NullCallbackIsNotCalled)
{
    BareManager manager;
    EXPECT_EQ(HSL::CheckedAddFormatString(*manager, "%n", nullptr), 0);
    EXPECT_EQ(HSL::CheckedAddFormatString(*manager, "%n", nullptr), 1);
}

TEST(FormatCheck, SeesTheTypeThatACallWillRecord)
{
    expectSameChoice<signed char>(1);
    expectSameChoice<unsigned char>(1);
    expectSameChoice<char>(1);
    expectSameChoice<bool>(true);
    expectSameChoice<char16_t>(1);
    expectSameChoice<wchar_t>(1);
    expectSameChoice<short>(1);
    expectSameChoice<unsigned short>(1);
    expectSameChoice<int>(1);
    expectSameChoice<unsigned int>(1);
    expectSameChoice<long>(1);
    expectSameChoice<long long>(1);
    expectSameChoice<unsigned long long>(1);
    expectSameChoice<float>(1);
    expectSameChoice<double>(1);
    expectSameChoice<void*>(nullptr);
    expectSameChoice<const int*>(nullptr);
    expectSameChoice<char*>(nullptr);
    expectSameChoice<const char*>(nullptr);
    expectSameChoice<signed char*>(nullptr);
    expectSameChoice<wchar_t*>(nullptr);
    expectSameChoice<const wchar_t*>(nullptr);
    expectSameChoice<unsigned short*>(nullptr);
    expectSameChoice<const char16_t*>(nullptr);
}

TEST(CheckedCalls, AreLoggedLikeAnyOther)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("here");
    HSL_CHECKED_LOG(&context, 3, "plain 50%%");
    HSL_CHECKED_LOG(&context, HSL::CCat(3), "%s took %.1f ms on %S", "layout", 7.25, L"Monday");
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 2u);
    EXPECT_EQ(messageOf(pass.lines[0]), "plain 50%");
    EXPECT_EQ(messageOf(pass.lines[1]), "layout took 7.2 ms on Monday");
}

TEST(CheckedCalls, FrontDoorLogsToTheCallingThreadsContext)
{
    ManualPass pass;
    HSL_CHECKED_HSLOG(3, "none");
    HSL_CHECKED_HSLOG(HSL::CCat(3), "%d files opened", 42);
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 2u);
    EXPECT_EQ(messageOf(pass.lines[0]), "none");
    EXPECT_EQ(messageOf(pass.lines[1]), "42 files opened");
}

TEST(CheckedCalls, EvaluateTheirArgumentsOnce)
{
    ManualPass pass;
    HSL::CLogContext* context = &pass.Context("here");
    int contexts = 0;
    int values = 0;
    HSL_CHECKED_LOG((++contexts, context), 3, "%d", ++values);
    EXPECT_EQ(contexts, 1);
    EXPECT_EQ(values, 1);
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 1u);
    EXPECT_EQ(messageOf(pass.lines[0]), "1");
}

TEST(CheckedCalls, AreStatements)
{
    ManualPass pass;
    HSL::CLogContext* context = &pass.Context("here");
    for (int i = 0; i < 3; ++i)
        if (i == 1)
            HSL_CHECKED_LOG(context, 3, "%s", "one");
        else
            HSL_CHECKED_LOG(context, 3, "%d", i);
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 3u);
    EXPECT_EQ(messageOf(pass.lines[1]), "one");
}
