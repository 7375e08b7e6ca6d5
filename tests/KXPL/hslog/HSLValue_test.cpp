#include "hslog/HSLValue.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <type_traits>

using HSL::CValue;

namespace {

// What a log call makes of an argument.
unsigned char tagOf(const CValue& value)
{
    return value.mType;
}

template <typename T> constexpr bool kMakesAValue = std::is_constructible_v<CValue, T>;

} // namespace

TEST(CValue, TagsHaveTheirNumbers)
{
    EXPECT_EQ(HSL::kInt8, 4);
    EXPECT_EQ(HSL::kInt16, 5);
    EXPECT_EQ(HSL::kInt32, 6);
    EXPECT_EQ(HSL::kInt64, 7);
    EXPECT_EQ(HSL::kUInt8, 8);
    EXPECT_EQ(HSL::kUInt16, 9);
    EXPECT_EQ(HSL::kUInt32, 10);
    EXPECT_EQ(HSL::kUInt64, 11);
    EXPECT_EQ(HSL::kFloat, 12);
    EXPECT_EQ(HSL::kDouble, 13);
    EXPECT_EQ(HSL::kLong, 14);
    EXPECT_EQ(HSL::kPointer, 15);
    EXPECT_EQ(HSL::kString, 16);
    EXPECT_EQ(HSL::kWString, 17);
    EXPECT_EQ(HSL::kUTF16String, 18);
}

TEST(CValue, IsATagByteAndOneEightByteUnion)
{
    EXPECT_EQ(sizeof(CValue::mType), 1u);
    EXPECT_EQ(sizeof(CValue::mValue), 8u);
    EXPECT_EQ(offsetof(CValue, mType), 0u);
    EXPECT_GT(offsetof(CValue, mValue), 0u);
    EXPECT_FALSE(std::is_polymorphic_v<CValue>);
}

TEST(CValue, SignedCharBecomesInt8)
{
    const CValue value(static_cast<signed char>(-100));
    EXPECT_EQ(value.mType, 4);
    EXPECT_EQ(value.mValue.mInt8, -100);
}

TEST(CValue, ShortBecomesInt16)
{
    const CValue value(static_cast<short>(-30000));
    EXPECT_EQ(value.mType, 5);
    EXPECT_EQ(value.mValue.mInt16, -30000);
}

TEST(CValue, IntBecomesInt32)
{
    const CValue value(-2000000000);
    EXPECT_EQ(value.mType, 6);
    EXPECT_EQ(value.mValue.mInt32, -2000000000);
}

TEST(CValue, LongLongBecomesInt64)
{
    const CValue value(-9000000000000000000ll);
    EXPECT_EQ(value.mType, 7);
    EXPECT_EQ(value.mValue.mInt64, -9000000000000000000ll);
}

TEST(CValue, UnsignedCharBecomesUInt8)
{
    const CValue value(static_cast<unsigned char>(200));
    EXPECT_EQ(value.mType, 8);
    EXPECT_EQ(value.mValue.mUInt8, 200);
}

TEST(CValue, UnsignedShortBecomesUInt16)
{
    const CValue value(static_cast<unsigned short>(60000));
    EXPECT_EQ(value.mType, 9);
    EXPECT_EQ(value.mValue.mUInt16, 60000);
}

TEST(CValue, UnsignedIntBecomesUInt32)
{
    const CValue value(4000000000u);
    EXPECT_EQ(value.mType, 10);
    EXPECT_EQ(value.mValue.mUInt32, 4000000000u);
}

TEST(CValue, UnsignedLongLongBecomesUInt64)
{
    const CValue value(18000000000000000000ull);
    EXPECT_EQ(value.mType, 11);
    EXPECT_EQ(value.mValue.mUInt64, 18000000000000000000ull);
}

TEST(CValue, FloatIsStoredInPlace)
{
    const CValue value(-1.5f);
    EXPECT_EQ(value.mType, 12);
    EXPECT_EQ(value.mValue.mFloat, -1.5f);
}

TEST(CValue, DoubleIsStoredInPlace)
{
    const CValue value(0.1);
    EXPECT_EQ(value.mType, 13);
    EXPECT_EQ(value.mValue.mDouble, 0.1);
}

TEST(CValue, LongHasATagOfItsOwn)
{
    const CValue value(-2000000000l);
    EXPECT_EQ(value.mType, 14);
    EXPECT_EQ(value.mValue.mLong, -2000000000l);
}

TEST(CValue, AnyObjectPointerBecomesAPointer)
{
    const int object = 0;
    const CValue value(&object);
    EXPECT_EQ(value.mType, 15);
    EXPECT_EQ(value.mValue.mPointer, &object);
}

TEST(CValue, NarrowStringIsHeldByItsPointer)
{
    const char* text = "text";
    const CValue value(text);
    EXPECT_EQ(value.mType, 16);
    EXPECT_EQ(value.mValue.mString, text);
}

TEST(CValue, WideStringIsHeldByItsPointer)
{
    const wchar_t* text = L"text";
    const CValue value(text);
    EXPECT_EQ(value.mType, 17);
    EXPECT_EQ(value.mValue.mWString, text);
}

TEST(CValue, SixteenBitStringIsHeldByItsPointer)
{
    const unsigned short text[] = { 't', 0 };
    const CValue value(text);
    EXPECT_EQ(value.mType, 18);
    EXPECT_EQ(value.mValue.mUTF16String, text);
}

TEST(CValue, IsMadeImplicitlyOfEveryTypeThatHasATag)
{
    EXPECT_TRUE((std::is_convertible_v<signed char, CValue>));
    EXPECT_TRUE((std::is_convertible_v<short, CValue>));
    EXPECT_TRUE((std::is_convertible_v<int, CValue>));
    EXPECT_TRUE((std::is_convertible_v<long long, CValue>));
    EXPECT_TRUE((std::is_convertible_v<unsigned char, CValue>));
    EXPECT_TRUE((std::is_convertible_v<unsigned short, CValue>));
    EXPECT_TRUE((std::is_convertible_v<unsigned int, CValue>));
    EXPECT_TRUE((std::is_convertible_v<unsigned long long, CValue>));
    EXPECT_TRUE((std::is_convertible_v<float, CValue>));
    EXPECT_TRUE((std::is_convertible_v<double, CValue>));
    EXPECT_TRUE((std::is_convertible_v<long, CValue>));
    EXPECT_TRUE((std::is_convertible_v<const void*, CValue>));
    EXPECT_TRUE((std::is_convertible_v<const char*, CValue>));
    EXPECT_TRUE((std::is_convertible_v<const wchar_t*, CValue>));
    EXPECT_TRUE((std::is_convertible_v<const unsigned short*, CValue>));
}

// One more constructor than those of the tags would make some of these unambiguous.
TEST(CValue, HasNoConstructorBesideThoseOfTheTags)
{
    enum class Scoped {
        kOne
    };
    EXPECT_FALSE(kMakesAValue<unsigned long>);
    EXPECT_FALSE(kMakesAValue<long double>);
    EXPECT_FALSE(kMakesAValue<std::nullptr_t>);
    EXPECT_FALSE(kMakesAValue<std::string>);
    EXPECT_FALSE(kMakesAValue<std::wstring>);
    EXPECT_FALSE(kMakesAValue<Scoped>);
    EXPECT_FALSE(kMakesAValue<void (*)()>);
    EXPECT_FALSE(kMakesAValue<volatile char*>);
    EXPECT_FALSE(std::is_default_constructible_v<CValue>);
    EXPECT_FALSE((std::is_constructible_v<CValue, const char*, int>));
}

TEST(CValue, SmallerIntegersThatHaveNoTagBecomeInt32)
{
    enum Unscoped {
        kOne
    };
    EXPECT_EQ(tagOf('c'), 6);
    EXPECT_EQ(tagOf(true), 6);
    EXPECT_EQ(tagOf(u'c'), 6);
    EXPECT_EQ(tagOf(kOne), 6);
    const int bits = 3;
    EXPECT_EQ(tagOf(static_cast<char>(bits)), 6);
}

TEST(CValue, LiteralZeroIsANumber)
{
    EXPECT_EQ(tagOf(0), 6);
}

TEST(CValue, WritableStringsAreStringsToo)
{
    char narrow[] = "n";
    wchar_t wide[] = L"w";
    unsigned short sixteen[] = { 'u', 0 };
    EXPECT_EQ(tagOf(narrow), 16);
    EXPECT_EQ(tagOf(wide), 17);
    EXPECT_EQ(tagOf(sixteen), 18);
}

TEST(CValue, PointersToOtherCharacterTypesArePointers)
{
    const signed char signedText[] = { 's', 0 };
    const unsigned char unsignedText[] = { 'u', 0 };
    const short shortText[] = { 's', 0 };
    EXPECT_EQ(tagOf(signedText), 15);
    EXPECT_EQ(tagOf(unsignedText), 15);
    EXPECT_EQ(tagOf(shortText), 15);
    EXPECT_EQ(tagOf(u"text"), 15);
    EXPECT_EQ(tagOf(U"text"), 15);
}

TEST(CValue, PointersToPointersAndToWritableObjectsArePointers)
{
    int object = 0;
    int* pointer = &object;
    EXPECT_EQ(tagOf(pointer), 15);
    EXPECT_EQ(tagOf(&pointer), 15);
    EXPECT_EQ(tagOf(static_cast<void*>(pointer)), 15);
}

TEST(CValue, NullPointersKeepTheirKind)
{
    EXPECT_EQ(tagOf(static_cast<const void*>(nullptr)), 15);
    EXPECT_EQ(tagOf(static_cast<const char*>(nullptr)), 16);
    EXPECT_EQ(tagOf(static_cast<const wchar_t*>(nullptr)), 17);
    EXPECT_EQ(tagOf(static_cast<const unsigned short*>(nullptr)), 18);
}

TEST(CValue, CopyHoldsTheSameArgument)
{
    const char* text = "text";
    const CValue value(text);
    CValue copy(7);
    copy = value;
    EXPECT_EQ(copy.mType, 16);
    EXPECT_EQ(copy.mValue.mString, text);
}
