// Values that a log call lays out by their types leave what CValue makes of them.
#include "hslog/HSLBounded.h"
#include "hslog/HSLLogContext.h"

#include "BareManager.h"
#include "HandMadeRecord.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <string>

using HSL::Bounded;
using HSL::CCat;
using HSL::CLogContext;
using HSL::CValue;

namespace {

enum Unscoped {
    kSeven = 7
};

enum Narrow : unsigned char {
    kNine = 9
};

struct BitFields {
    unsigned int mUnsigned : 3;
    long mLong : 5;
    unsigned long long mLongLong : 12;
    bool mBool : 1;
};

struct Constants {
    static const int kDeclaredOnly = 5; // without a definition, so nothing may take its address
};

// Nothing but a CValue can be made of it, and no copy.
class Convertible {
public:
    explicit Convertible(int number)
        : mNumber(number)
    {
    }
    Convertible(const Convertible&) = delete;
    Convertible& operator=(const Convertible&) = delete;
    operator CValue() const { return CValue(mNumber); }

private:
    int mNumber;
};

class LogTyped : public testing::Test {
protected:
    LogTyped()
        : mContext("context", 300000, CLogContext::MallocFunc, CLogContext::FreeFunc)
    {
        mManager->SetFilterValue(3, true);
    }

    std::string TakeBody()
    {
        const std::string record = TakeFrom(*mContext.mBuffer, UsedIn(*mContext.mBuffer));
        constexpr std::size_t kHeader = 16;
        return record.size() > kHeader ? record.substr(kHeader) : "";
    }

    template <typename Value> void ExpectAsCValue(Value value)
    {
        mContext.Log(CCat(3), "f", value);
        const std::string typed = TakeBody();
        mContext.Log(CCat(3), static_cast<short>(5), value);
        const std::string typedById = TakeBody();
        mContext.Log(CCat(3), "f", CValue(value));
        EXPECT_EQ(typed, TakeBody());
        mContext.Log(CCat(3), static_cast<short>(5), CValue(value));
        EXPECT_EQ(typedById, TakeBody());
        EXPECT_GT(typed.size(), 5u);
    }

    BareManager mManager;
    CLogContext mContext;
};

} // namespace

TEST_F(LogTyped, NumbersOfEveryTypeAreThoseOfCValue)
{
    ExpectAsCValue<signed char>(-1);
    ExpectAsCValue<short>(-2);
    ExpectAsCValue<int>(-3);
    ExpectAsCValue<long long>(-4000000000000);
    ExpectAsCValue<unsigned char>(251);
    ExpectAsCValue<unsigned short>(65531);
    ExpectAsCValue<unsigned int>(4000000001u);
    ExpectAsCValue<unsigned long long>(18000000000000000001u);
    ExpectAsCValue<float>(1.25f);
    ExpectAsCValue<double>(-2.5e300);
    ExpectAsCValue<long>(-5l);
}

TEST_F(LogTyped, TypesWithoutATagOfTheirOwnBecomeTheSameAsInCValue)
{
    ExpectAsCValue<char>('c');
    ExpectAsCValue<bool>(true);
    ExpectAsCValue<wchar_t>(L'w');
    ExpectAsCValue<char16_t>(u'u');
    ExpectAsCValue<char32_t>(U'U');
    ExpectAsCValue<Unscoped>(kSeven);
    ExpectAsCValue<Narrow>(kNine);
}

TEST_F(LogTyped, PointersAreThoseOfCValue)
{
    int object = 0;
    ExpectAsCValue<void*>(&object);
    ExpectAsCValue<const int*>(&object);
    ExpectAsCValue<const unsigned char*>(nullptr);
    ExpectAsCValue<const char16_t*>(u"u");
    ExpectAsCValue<int**>(nullptr);
}

TEST_F(LogTyped, TextsAreThoseOfCValue)
{
    char changeable[] = "changeable";
    unsigned short sixteen[] = { 'u', 'v', 0 };
    wchar_t wide[] = L"wide";
    ExpectAsCValue<const char*>("text");
    ExpectAsCValue<char*>(changeable);
    ExpectAsCValue<wchar_t*>(wide);
    ExpectAsCValue<unsigned short*>(sixteen);
    ExpectAsCValue<const char*>("");
    const std::string longText(70000, 't');
    ExpectAsCValue(longText.c_str());
}

TEST_F(LogTyped, NullTextsAreThoseOfCValue)
{
    ExpectAsCValue<const char*>(nullptr);
    ExpectAsCValue<const wchar_t*>(nullptr);
    ExpectAsCValue<const unsigned short*>(nullptr);
}

TEST_F(LogTyped, ArraysAreTexts)
{
    const char text[] = "abc";
    mContext.Log(CCat(3), "f", text, "literal");
    EXPECT_EQ(TakeBody(), HandMadeRecord().Inline("f").Count(2).String("abc").String("literal").AsString());
}

TEST_F(LogTyped, BracedValuesCompile)
{
    mContext.Log(3, "f", { 5 }, { "text" });
    EXPECT_EQ(TakeBody(), HandMadeRecord().Inline("f").Count(2).Int32(5).String("text").AsString());
    mContext.Log(3, static_cast<short>(2), 6, { 7 });
    EXPECT_EQ(TakeBody(), HandMadeRecord().Id(2).Count(2).Int32(6).Int32(7).AsString());
}

TEST_F(LogTyped, TypesThatConvertToCValueCompileAndNeedNoCopy)
{
    const Convertible eight(8);
    mContext.Log(3, "f", eight, 1, Convertible(9));
    EXPECT_EQ(TakeBody(), HandMadeRecord().Inline("f").Count(3).Int32(8).Int32(1).Int32(9).AsString());
}

TEST_F(LogTyped, ConstantsWithoutADefinitionLink)
{
    mContext.Log(3, "f", Constants::kDeclaredOnly);
    EXPECT_EQ(TakeBody(), HandMadeRecord().Inline("f").Count(1).Int32(5).AsString());
}

TEST_F(LogTyped, BitFieldsAreThoseOfCValue)
{
    const BitFields fields = { 5, 9, 17, true };
    mContext.Log(3, "f", fields.mUnsigned, fields.mLong, fields.mLongLong, fields.mBool);
    const std::string typed = TakeBody();
    mContext.Log(3, "f", CValue(fields.mUnsigned), CValue(fields.mLong), CValue(fields.mLongLong),
                 CValue(fields.mBool));
    EXPECT_EQ(typed, TakeBody());
}

TEST_F(LogTyped, TypedValuesStandBesideCValues)
{
    mContext.Log(3, "f", 1, CValue("two"), 3);
    EXPECT_EQ(TakeBody(), HandMadeRecord().Inline("f").Count(3).Int32(1).String("two").Int32(3).AsString());
}

TEST_F(LogTyped, BoundedTextsAreTakenByNameAndAsTheyAreMade)
{
    const std::string longText(5000, 'b');
    const Bounded cut(longText.c_str(), 30);
    const Bounded whole("whole");
    mContext.Log(3, "f", cut, 1, whole, Bounded(longText, 20));
    EXPECT_EQ(TakeBody(),
              HandMadeRecord()
                  .Inline("f")
                  .Count(4)
                  .String(std::string(30, 'b'))
                  .Int32(1)
                  .String("whole")
                  .String(std::string(20, 'b'))
                  .AsString());
}

TEST_F(LogTyped, CopyOfABoundedTextOutlivesTheOneThatWasCut)
{
    auto first = std::make_unique<Bounded<char>>(std::string(5000, 'b').c_str(), 30);
    const Bounded copy(*first);
    first.reset();
    EXPECT_EQ(std::string(copy.Text()), std::string(30, 'b'));
}

TEST_F(LogTyped, SeveralCategoriesLeaveTheSameFields)
{
    CCat cat(3);
    cat.mCount = 3;
    mContext.Log(cat, "f", 1, "text");
    const std::string record = TakeFrom(*mContext.mBuffer, UsedIn(*mContext.mBuffer));
    EXPECT_EQ(record.substr(18), HandMadeRecord().Inline("f").Count(2).Int32(1).String("text").AsString());
}

TEST_F(LogTyped, RefusedMessageTakesNoNumber)
{
    mContext.Log(4, "f", 1, "text");
    EXPECT_EQ(mManager->mSequence, 0);
    EXPECT_EQ(UsedIn(*mContext.mBuffer), 0u);
}

TEST_F(LogTyped, MessagesAreReplacedAndDiscardedLikeOthers)
{
    mContext.mHighWater = 0;
    mContext.Log(3, "f", 1);
    EXPECT_EQ(TakeBody(), HandMadeRecord().Dropped().AsString());
    mContext.mLowWater = 0;
    mContext.Log(3, "f", 1);
    EXPECT_EQ(UsedIn(*mContext.mBuffer), 0u);
    EXPECT_EQ(mManager->mSequence, 2);
    EXPECT_EQ(mContext.mRecordCount, 1);
}
