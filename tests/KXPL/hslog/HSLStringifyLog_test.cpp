// The same messages as a host logs and sees them.
#include "hslog/HSL.h"

#include "ManualPass.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

// A context to log to, and the texts that come out.
class Logged : public testing::Test {
protected:
    Logged()
        : mContext(mPass.Context("Main"))
    {
        mPass.Manager().SetStructuredOutputCallback(mPass.Manager().GetStructuredOutputCallback());
    }

    // The text of everything logged since the last call, one line each.
    std::string Text()
    {
        mPass.messages.clear();
        mPass.Manager().Collect();
        std::string text;
        for (const ManualPass::Message& message : mPass.messages) {
            text += text.empty() ? message.text : "\n" + message.text;
        }
        return text;
    }

    ManualPass mPass;
    HSL::CLogContext& mContext;
    const HSL::CCat mCat { 3 };
};

using StringifyLog = Logged;

} // namespace

TEST_F(StringifyLog, ConversionsTakeTheValuesInOrder)
{
    mContext.Log(mCat, "x=%d y=%s", 5, "ab");
    EXPECT_EQ(Text(), "x=5 y=ab");
}

TEST_F(StringifyLog, SurplusValues)
{
    mContext.Log(mCat, "count %d", 1, 2, 3);
    mContext.Log(mCat, "hello", 7);
    EXPECT_EQ(Text(), "count 1 (2, 3) \nhello (7) ");
}

TEST_F(StringifyLog, MissingValues)
{
    mContext.Log(mCat, "a=%d b=%d", 1);
    mContext.Log(mCat, "100% done %d", 5);
    mContext.Log(mCat, "%d%%", 5);
    EXPECT_EQ(Text(),
              "a=1[extra format arguments:  b=_d ]\n"
              "100 5[extra format arguments: one _d ]\n"
              "5[extra format arguments: __ ]");
}

TEST_F(StringifyLog, NoValues)
{
    mContext.Log(mCat, "50%% done");
    EXPECT_EQ(Text(), "50% done");
}

TEST_F(StringifyLog, EveryType)
{
    const unsigned short units[] = { 'u', 0xD83D, 0 };
    int target = 0;
    mContext.Log(mCat, "", static_cast<signed char>(-1), static_cast<short>(-2), -3, -4LL,
                 static_cast<unsigned char>(255), static_cast<unsigned short>(65535), 4294967295u,
                 18446744073709551615ull, 1.5f, 2.5);
    mContext.Log(mCat, "", -5L, static_cast<const void*>(nullptr), "s", L"w", units);
    mContext.Log(mCat, "%p", static_cast<const void*>(&target));
    char shown[32];
    std::snprintf(shown, sizeof shown, "%p", static_cast<void*>(&target));
    EXPECT_EQ(Text(),
              std::string(" (-1, -2, -3, -4, 255, 65535, 4294967295, 18446744073709551615, 1.500000, 2.5) \n"
                          " (-5, 0x0, s, w, u) \n")
                  + shown);
}

TEST_F(StringifyLog, PointerInAListIsCutTo32Bits)
{
    int target = 0;
    mContext.Log(mCat, "at", static_cast<const void*>(&target));
    char shown[32];
    std::snprintf(shown, sizeof shown, "at (0x%x) ",
                  static_cast<unsigned int>(reinterpret_cast<std::uintptr_t>(&target)));
    EXPECT_EQ(Text(), shown);
}

TEST_F(StringifyLog, FormatId)
{
    const int first = mPass.Manager().AddFormatString("a=%d");
    const int second = mPass.Manager().AddFormatString("b=%s!");
    mContext.Log(mCat, static_cast<short>(second), "x");
    mContext.Log(mCat, static_cast<short>(first), 5);
    EXPECT_EQ(Text(), "b=x!\na=5");
}

TEST_F(StringifyLog, FormatIdRegisteredAfterTheCall)
{
    mContext.Log(mCat, static_cast<short>(0), 5);
    mPass.Manager().AddFormatString("late %d");
    EXPECT_EQ(Text(), "late 5");
}

TEST_F(StringifyLog, FormatIdThatCannotBeUsed)
{
    const int wide = mPass.Manager().AddFormatString(L"wide");
    mContext.Log(mCat, static_cast<short>(wide));
    mContext.Log(mCat, static_cast<short>(wide), 1, 2);
    mContext.Log(mCat, static_cast<short>(-1));
    mContext.Log(mCat, static_cast<short>(-1), "one");
    mContext.Log(mCat, static_cast<short>(1), 5);
    EXPECT_EQ(Text(),
              "<WIDE FORMAT STRING NOT SUPPORTED>\n"
              "<WIDE FORMAT STRING NOT SUPPORTED> (1, 2) \n"
              "<UNINITIALIZED FORMAT STRING ID USED>\n"
              "<UNINITIALIZED FORMAT STRING ID USED> (one) \n"
              " (5) ");
}

TEST_F(StringifyLog, NullStrings)
{
    mContext.Log(mCat, static_cast<const char*>(nullptr));
    mContext.Log(mCat, static_cast<const char*>(nullptr), 5);
    mContext.Log(mCat, "s=%s", static_cast<const char*>(nullptr));
    mContext.Log(mCat, "u=%S.", static_cast<const unsigned short*>(nullptr));
    EXPECT_EQ(Text(), "<NULL>\n<NULL> (5) \ns=<NULL>\nu=.");
}

TEST_F(StringifyLog, ReservedTag)
{
    HSL::CValue value(5);
    value.mType = 19;
    mContext.Log(mCat, "x=%d y=%d", value, 6);
    EXPECT_EQ(Text(), "<BAD ARG> I'm horribly confused y=6");
}

TEST_F(StringifyLog, DroppedMessagesText)
{
    HSL::CLogContext& small = mPass.Context("small", 8192);
    const std::string text(3000, 'x');
    small.Log(mCat, text.c_str());
    small.Log(mCat, text.c_str());
    small.Log(mCat, "lost %d", 1);
    EXPECT_EQ(Text(), text + "\n" + text + "\n*** HSLOG DROPPED MESSAGE(S) ***");
}

TEST_F(StringifyLog, StringIsCopiedByTheCall)
{
    char text[] = "before";
    mContext.Log(mCat, "%s", text);
    std::strcpy(text, "after");
    EXPECT_EQ(Text(), "before");
}

TEST_F(StringifyLog, FormatIsCopiedByTheCall)
{
    char format[] = "x=%d";
    mContext.Log(mCat, format, 5);
    std::strcpy(format, "y=%d");
    EXPECT_EQ(Text(), "x=5");
}
