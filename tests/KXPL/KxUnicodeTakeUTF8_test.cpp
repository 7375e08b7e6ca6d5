// What each of the quick ways through UTF-8 takes. The converters' results would be the same if they took
// nothing, only slower.
#include "unicode/KxUnicodeTakeUTF8.h"

#include "UnicodeModel.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <vector>

using namespace KXPL;

namespace {

// Some of every length, and the first and the last ones.
const std::uint32_t kCharacters[] = { 0,      0x41,   0x7F,   0x80,   0x431,   0x7FF,   0x800,
                                      0x4E2D, 0xD7FF, 0xE000, 0xFFFF, 0x10000, 0x1F600, 0x10FFFF };

class TakeUTF8 : public testing::Test {
protected:
    using At = Place<UTF8, UTF16>;

    void append(std::uint32_t character, std::size_t count = 1)
    {
        for (; count > 0; --count) {
            for (const std::uint32_t byte : modelEncode(UnicodeForm::utf8, character)) {
                mBytes.push_back(static_cast<UTF8>(byte));
            }
        }
    }

    At begin() { return { mBytes.data(), mUnits }; }
    Bounds<UTF8, UTF16> bounds(std::size_t room = kRoom)
    {
        return { mBytes.data(), mBytes.data() + mBytes.size(), mUnits + room, true };
    }
    std::ptrdiff_t bytesTaken(At at) { return at.from - mBytes.data(); }
    std::ptrdiff_t unitsGiven(At at) { return at.to - mUnits; }

    static constexpr std::size_t kRoom = 300;
    std::vector<UTF8> mBytes;
    UTF16 mUnits[kRoom] = {};
};

} // namespace

TEST_F(TakeUTF8, LegalCharactersAreTakenOneByOne)
{
    for (const std::uint32_t character : kCharacters) {
        mBytes.clear();
        append(character);
        const std::ptrdiff_t length = static_cast<std::ptrdiff_t>(mBytes.size());
        append('x', 4);
        EXPECT_EQ(bytesTaken(convertLegal(begin(), bounds(), 1)), length) << character;
    }
}

TEST_F(TakeUTF8, NoMoreLegalCharactersAreTakenThanAsked)
{
    append(0x4E2D, 20);
    EXPECT_EQ(unitsGiven(convertLegal(begin(), bounds(), 7)), 7);
}

TEST_F(TakeUTF8, LegalCharactersAreTakenWhileBytesAndRoomAreSureToDo)
{
    append('x', 19);
    EXPECT_EQ(unitsGiven(convertLegal(begin(), bounds(), 100)), 4);
    EXPECT_EQ(unitsGiven(convertLegal(begin(), bounds(6), 100)), 3);
}

TEST_F(TakeUTF8, IllegalSequencesAreNotTaken)
{
    const std::vector<UTF8> illegal[] = { { 0x80 },
                                          { 0xC1, 0xBF },
                                          { 0xC3, 0x41 },
                                          { 0xE0, 0x9F, 0xBF },
                                          { 0xED, 0xA0, 0x80 },
                                          { 0xED, 0xBF, 0xBF },
                                          { 0xF0, 0x8F, 0xBF, 0xBF },
                                          { 0xF4, 0x90, 0x80, 0x80 },
                                          { 0xF8, 0x88, 0x80, 0x80, 0x80 } };
    for (const std::vector<UTF8>& bytes : illegal) {
        mBytes = bytes;
        append('x', 4);
        EXPECT_EQ(bytesTaken(convertLegal(begin(), bounds(), 1)), 0) << static_cast<int>(bytes[0]);
    }
}

TEST_F(TakeUTF8, BlockBelow800IsTakenButForItsLastTwoBytes)
{
    append('x');
    append(0x7FF, 20);
    const At at { mBytes.data() + 1, mUnits };
    const At next = convertBelow800(at);
    EXPECT_EQ(next.from - at.from, 30);
    EXPECT_EQ(unitsGiven(next), 15);
}

TEST_F(TakeUTF8, CharacterThatIsCutThereIsLeftToo)
{
    append('x', 2);
    append(0x80, 20);
    const At at { mBytes.data() + 1, mUnits };
    const At next = convertBelow800(at);
    EXPECT_EQ(next.from - at.from, 29);
    EXPECT_EQ(unitsGiven(next), 15);
}

TEST_F(TakeUTF8, BlockBelow800WithALongerCharacterIsNotTaken)
{
    append('x', 16);
    append(0x800);
    append('x', 30);
    const At at { mBytes.data() + 2, mUnits };
    EXPECT_EQ(convertBelow800(at).from, at.from);
}

TEST_F(TakeUTF8, BlockBelow10000IsTakenButForItsLastSixBytes)
{
    append('x', 2);
    append('a', 10);
    append(0xFFFF, 4);
    append('a', 20);
    const At at { mBytes.data() + 2, mUnits };
    const At next = convertBelow10000(at);
    EXPECT_EQ(next.from - at.from, 26);
    EXPECT_EQ(unitsGiven(next), 18);
}

TEST_F(TakeUTF8, CharacterOfThreeBytesThatIsCutThereIsLeftToo)
{
    for (std::size_t before = 24; before < 26; ++before) {
        mBytes.clear();
        append('x', 2 + before);
        append(0x800, 10);
        const At at { mBytes.data() + 2, mUnits };
        const At next = convertBelow10000(at);
        EXPECT_EQ(next.from - at.from, static_cast<std::ptrdiff_t>(before));
        EXPECT_EQ(unitsGiven(next), static_cast<std::ptrdiff_t>(before));
    }
}

TEST_F(TakeUTF8, BlockBelow10000IsTakenUpToSixBytesInFrontOfALongerCharacter)
{
    append('x', 2);
    append('a', 20);
    append(0x10000);
    append('a', 20);
    const At at { mBytes.data() + 2, mUnits };
    EXPECT_EQ(convertBelow10000(at).from - at.from, 14);
}

TEST_F(TakeUTF8, NothingIsTakenWhereSixBytesOrLessAreBelow10000)
{
    append('x', 2);
    append('a', 7);
    append(0x10000);
    append('a', 30);
    const At at { mBytes.data() + 2, mUnits };
    EXPECT_EQ(convertBelow10000(at).from, at.from);
}

TEST_F(TakeUTF8, CharactersOfThreeBytesAreTakenByEights)
{
    append(0x800, 10);
    append(0xFFFF, 13);
    append('x');
    const At next = convertThrees(begin(), bounds());
    EXPECT_EQ(bytesTaken(next), 3 * 16);
    EXPECT_EQ(unitsGiven(next), 16);
}

TEST_F(TakeUTF8, LastEightOfThreeBytesNeedAByteBehindThem)
{
    append(0xD7FF, 8);
    EXPECT_EQ(bytesTaken(convertThrees(begin(), bounds())), 0);
    append('x');
    EXPECT_EQ(bytesTaken(convertThrees(begin(), bounds())), 24);
}

TEST_F(TakeUTF8, EightOfThreeBytesNeedRoomForAll)
{
    append(0xE000, 20);
    EXPECT_EQ(unitsGiven(convertThrees(begin(), bounds(15))), 8);
    EXPECT_EQ(unitsGiven(convertThrees(begin(), bounds(16))), 16);
}
