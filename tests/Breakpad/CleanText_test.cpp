#include "CleanText.h"

#include <gtest/gtest.h>
#include <random>

using namespace BreakpadLinux;

TEST(CleanText, LeavesWellFormedTextAsItIs)
{
    const std::string text = "CrashID=bp-1 \xC3\xBC \xE2\x82\xAC \xF0\x9F\x92\xA5";
    EXPECT_EQ(CleanLine(text), text);
}

TEST(CleanText, ControlCharactersAndWhatTurnsOrBreaksALineBecomeSpaces)
{
    EXPECT_EQ(CleanLine("a\nb\rc\td\x1B"
                        "e\x7F"
                        "f"),
              "a b c d e f");
    EXPECT_EQ(CleanLine(std::string("a\0b", 3)), "a b");
    EXPECT_EQ(CleanLine("\xC2\x80|\xC2\x85|\xC2\x9F|\xC2\xA0"), " | | |\xC2\xA0");
    EXPECT_EQ(CleanLine("\xE2\x80\xA8|\xE2\x80\xA9|\xE2\x80\xAE|\xE2\x81\xA6|\xE2\x81\xAA"),
              " | | | |\xE2\x81\xAA");
}

TEST(CleanText, BytesThatBelongToNoCharacterBecomeQuestionMarks)
{
    EXPECT_EQ(CleanLine("\x80|\xFF|\xC3|"), "?|?|?|");
    EXPECT_EQ(CleanLine("\xC0\x8A"), "??");           // a line feed, written too long
    EXPECT_EQ(CleanLine("\xE0\x80\x8A"), "???");      // likewise
    EXPECT_EQ(CleanLine("\xED\xA0\x80"), "???");      // half of a surrogate pair
    EXPECT_EQ(CleanLine("\xF4\x90\x80\x80"), "????"); // beyond the last character
    EXPECT_EQ(CleanLine("\xF0\x9F\x92"), "???");
}

TEST(CleanText, IsCutBetweenCharacters)
{
    std::string text(999, 'x');
    text += "\xE2\x82\xAC";
    EXPECT_EQ(CleanLine(text), std::string(999, 'x'));
    EXPECT_EQ(CleanLine(std::string(5000, 'y')).size(), 1000U);
}

TEST(CleanText, OfAnyBytesComesOneShortLine)
{
    std::mt19937 random(7);
    for (int round = 0; round < 2000; ++round) {
        std::string text(random() % 1500, ' ');
        for (char& c : text) {
            c = static_cast<char>(random());
        }
        const std::string line = CleanLine(text);
        EXPECT_LE(line.size(), 1000U);
        EXPECT_EQ(CleanLine(line), line);
        EXPECT_EQ(line.find_first_of("\r\n\x1B"), std::string::npos);
    }
}

TEST(CleanText, CredentialsAndQueriesAreNotTold)
{
    EXPECT_EQ(WithoutSecrets("nonsense"), "nonsense");
    EXPECT_EQ(WithoutSecrets("ht tp://user:pass@host/submit"), "host/submit");
    EXPECT_EQ(WithoutSecrets("http://user:p?ss@ho st/submit?key=secret"), "ho st/submit");
    EXPECT_EQ(WithoutSecrets("http://ho st/?key=se@cret"), "cret"); // rather less than too much
    EXPECT_EQ(WithoutSecrets("http://ho st/#part"), "http://ho st/");
}
