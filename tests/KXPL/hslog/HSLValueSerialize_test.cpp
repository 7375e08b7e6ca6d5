#include "hslog/HSLValue.h"

#include "HandMadeRecord.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using HSL::CValue;

namespace {

// More than the longest text needs.
constexpr unsigned int kAmple = 400000;

std::string serialised(const CValue& value)
{
    ByteRing ring(kAmple);
    EXPECT_EQ(value.Serialize(&ring), 0);
    return BytesIn(ring);
}

// The value of all bits known under another tag.
std::string serialisedAs(unsigned char tag)
{
    CValue value(0x8877665544332211ull);
    value.mType = tag;
    return serialised(value);
}

const std::string kLeadingBytes = Raw({ 0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88 });

void expectLeadingBytes(unsigned char tag, std::size_t width)
{
    EXPECT_EQ(serialisedAs(tag), Raw({ tag }) + kLeadingBytes.substr(0, width));
}

std::string lengthOf(const std::string& serialisedText)
{
    return serialisedText.substr(1, 2);
}

} // namespace

TEST(CValueSerialize, Int8TakesOneByte)
{
    EXPECT_EQ(serialised(static_cast<signed char>(-2)), Raw({ 4, 0xFE }));
    expectLeadingBytes(4, 1);
}

TEST(CValueSerialize, Int16TakesTwoBytes)
{
    EXPECT_EQ(serialised(static_cast<short>(-2)), Raw({ 5, 0xFE, 0xFF }));
    expectLeadingBytes(5, 2);
}

TEST(CValueSerialize, Int32TakesFourBytes)
{
    EXPECT_EQ(serialised(-2), Raw({ 6, 0xFE, 0xFF, 0xFF, 0xFF }));
    expectLeadingBytes(6, 4);
}

TEST(CValueSerialize, Int64TakesEightBytes)
{
    EXPECT_EQ(serialised(-2ll), Raw({ 7, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF }));
    expectLeadingBytes(7, 8);
}

TEST(CValueSerialize, UInt8TakesOneByte)
{
    EXPECT_EQ(serialised(static_cast<unsigned char>(0xAB)), Raw({ 8, 0xAB }));
    expectLeadingBytes(8, 1);
}

TEST(CValueSerialize, UInt16TakesTwoBytes)
{
    EXPECT_EQ(serialised(static_cast<unsigned short>(0xABCD)), Raw({ 9, 0xCD, 0xAB }));
    expectLeadingBytes(9, 2);
}

TEST(CValueSerialize, UInt32TakesFourBytes)
{
    EXPECT_EQ(serialised(0xABCDEF01u), Raw({ 10, 0x01, 0xEF, 0xCD, 0xAB }));
    expectLeadingBytes(10, 4);
}

TEST(CValueSerialize, UInt64TakesEightBytes)
{
    EXPECT_EQ(serialised(0x8877665544332211ull), Raw({ 11 }) + kLeadingBytes);
    expectLeadingBytes(11, 8);
}

TEST(CValueSerialize, FloatTakesFourBytes)
{
    EXPECT_EQ(serialised(1.0f), Raw({ 12, 0, 0, 0x80, 0x3F }));
    expectLeadingBytes(12, 4);
}

TEST(CValueSerialize, DoubleTakesEightBytes)
{
    EXPECT_EQ(serialised(-2.0), Raw({ 13, 0, 0, 0, 0, 0, 0, 0, 0xC0 }));
    expectLeadingBytes(13, 8);
}

TEST(CValueSerialize, LongTakesItsNativeWidth)
{
    EXPECT_EQ(serialised(-2l), Raw({ 14, 0xFE }) + std::string(sizeof(long) - 1, '\xFF'));
    expectLeadingBytes(14, sizeof(void*) == 8 ? 8 : 4);
}

TEST(CValueSerialize, PointerTakesItsNativeWidth)
{
    const int object = 0;
    EXPECT_EQ(serialised(&object), HandMadeRecord().Raw<unsigned char>(15).Raw(&object).AsString());
    expectLeadingBytes(15, sizeof(void*) == 8 ? 8 : 4);
}

TEST(CValueSerialize, NullPointerTakesItsNativeWidth)
{
    EXPECT_EQ(serialised(static_cast<const void*>(nullptr)), Raw({ 15 }) + std::string(sizeof(void*), '\0'));
}

TEST(CValueSerialize, ReservedTagsAreWrittenAlone)
{
    for (int tag = 0; tag < 256; ++tag) {
        if (tag < 4 || tag > 18) {
            EXPECT_EQ(serialisedAs(static_cast<unsigned char>(tag)), Raw({ tag }));
        }
    }
}

TEST(CValueSerialize, NarrowStringIsItsLengthAndItsBytes)
{
    EXPECT_EQ(serialised("ab\xFF"), Raw({ 16, 3, 0, 'a', 'b', 0xFF }));
}

TEST(CValueSerialize, StringIsReadOnlyWhenItIsSerialised)
{
    char text[] = "abc";
    const CValue value(text);
    text[1] = 'X';
    EXPECT_EQ(serialised(value), Raw({ 16, 3, 0, 'a', 'X', 'c' }));
}

TEST(CValueSerialize, EmptyNarrowStringHasNoPayload)
{
    EXPECT_EQ(serialised(""), Raw({ 16, 0, 0 }));
}

TEST(CValueSerialize, NullNarrowStringIsTheTextNull)
{
    EXPECT_EQ(serialised(static_cast<const char*>(nullptr)), Raw({ 16, 6, 0 }) + "<NULL>");
}

TEST(CValueSerialize, NarrowStringOf65535BytesIsWhole)
{
    const std::string text(65535, 'x');
    EXPECT_EQ(serialised(text.c_str()), Raw({ 16, 0xFF, 0xFF }) + text);
}

TEST(CValueSerialize, NarrowStringOf65536BytesIsEmpty)
{
    const std::string text(65536, 'x');
    EXPECT_EQ(serialised(text.c_str()), Raw({ 16, 0, 0 }));
}

TEST(CValueSerialize, LongerNarrowStringIsCutToItsLengthModulo65536)
{
    std::string text(70000, 'x');
    text[4463] = 'y';
    text[4464] = 'z';
    EXPECT_EQ(serialised(text.c_str()), HandMadeRecord().String(text.substr(0, 4464)).AsString());
}

TEST(CValueSerialize, WideStringIsItsCharactersCountedAndFourBytesEach)
{
    EXPECT_EQ(serialised(L"a\U0001F600"), Raw({ 17, 2, 0, 'a', 0, 0, 0, 0x00, 0xF6, 0x01, 0x00 }));
}

TEST(CValueSerialize, EmptyWideStringHasNoPayload)
{
    EXPECT_EQ(serialised(L""), Raw({ 17, 0, 0 }));
}

// The length field takes bytes where every other wide string has characters.
TEST(CValueSerialize, NullWideStringCountsTheBytesOfTheTextNull)
{
    EXPECT_EQ(
        serialised(static_cast<const wchar_t*>(nullptr)),
        Raw({ 17, 24, 0, '<', 0, 0, 0, 'N', 0, 0, 0, 'U', 0, 0, 0, 'L', 0, 0, 0, 'L', 0, 0, 0, '>', 0, 0, 0 }));
}

TEST(CValueSerialize, WideStringOf65535CharactersIsWhole)
{
    const std::wstring text(65535, L'x');
    const std::string bytes = serialised(text.c_str());
    EXPECT_EQ(lengthOf(bytes), Raw({ 0xFF, 0xFF }));
    EXPECT_EQ(bytes.size(), 3 + 65535u * 4);
}

TEST(CValueSerialize, LongerWideStringIsCutToItsLengthModulo65536)
{
    std::wstring text(65536 + 3, L'x');
    text[2] = L'y';
    text[3] = L'z';
    EXPECT_EQ(serialised(text.c_str()), Raw({ 17, 3, 0, 'x', 0, 0, 0, 'x', 0, 0, 0, 'y', 0, 0, 0 }));
}

TEST(CValueSerialize, SixteenBitStringIsItsUnitsCountedAndTwoBytesEach)
{
    const unsigned short text[] = { 0x0061, 0xD83D, 0xDE00, 0 };
    EXPECT_EQ(serialised(text), Raw({ 18, 3, 0, 0x61, 0x00, 0x3D, 0xD8, 0x00, 0xDE }));
}

TEST(CValueSerialize, EmptySixteenBitStringHasNoPayload)
{
    const unsigned short text[] = { 0 };
    EXPECT_EQ(serialised(text), Raw({ 18, 0, 0 }));
}

TEST(CValueSerialize, NullSixteenBitStringIsEmpty)
{
    EXPECT_EQ(serialised(static_cast<const unsigned short*>(nullptr)), Raw({ 18, 0, 0 }));
}

TEST(CValueSerialize, SixteenBitStringOf65535UnitsIsWhole)
{
    std::vector<unsigned short> text(65535, 'x');
    text.push_back(0);
    const std::string bytes = serialised(text.data());
    EXPECT_EQ(lengthOf(bytes), Raw({ 0xFF, 0xFF }));
    EXPECT_EQ(bytes.size(), 3 + 65535u * 2);
}

TEST(CValueSerialize, CountOfSixteenBitUnitsStopsAt65535)
{
    std::vector<unsigned short> text(70000, 'x');
    text[65534] = 'y';
    text[65535] = 'z';
    text.push_back(0);
    const std::string bytes = serialised(text.data());
    EXPECT_EQ(lengthOf(bytes), Raw({ 0xFF, 0xFF }));
    EXPECT_EQ(bytes.size(), 3 + 65535u * 2);
    EXPECT_EQ(bytes.substr(bytes.size() - 4), Raw({ 'x', 0, 'y', 0 }));
}

TEST(CValueSerialize, ReturnsZeroThoughTheRingIsFull)
{
    ByteRing ring(2);
    EXPECT_EQ(CValue(0x01020304).Serialize(&ring), 0);
    EXPECT_EQ(BytesIn(ring), Raw({ 6, 4 }));
}

TEST(CValueSerialize, ValuesFollowEachOtherWithoutPadding)
{
    ByteRing ring;
    CValue("a").Serialize(&ring);
    CValue(static_cast<signed char>(1)).Serialize(&ring);
    CValue(2).Serialize(&ring);
    EXPECT_EQ(BytesIn(ring), Raw({ 16, 1, 0, 'a', 4, 1, 6, 2, 0, 0, 0 }));
}
