// Texts from outside, cut so that their records fit.
#include "hslog/HSLBounded.h"
#include "hslog/HSL.h"

#include "ManualPass.h"
#include "RandomRounds.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <vector>

using HSL::Bounded;
using HSL::CValue;

namespace {

std::string cut(const std::string& text, std::size_t maximum)
{
    return Bounded(text, maximum).Text();
}

std::u16string cut16(const std::u16string& text, std::size_t maximum)
{
    const Bounded bounded(reinterpret_cast<const unsigned short*>(text.c_str()), maximum);
    return reinterpret_cast<const char16_t*>(bounded.Text());
}

// A record without a zero byte, so that a text can hold it: of category 3, its format a text of 257 bytes.
std::string forgedRecord()
{
    const std::string header = std::string(14, '\1') + "\1\3";
    return header + "\1" + "\1\1" + "forged" + std::string(251, '!');
}

// Bytes of anything, among them what looks like a record.
class HostileTexts {
public:
    HostileTexts()
        : mPool(200000, 'x')
    {
        const std::string forged = forgedRecord();
        for (std::size_t i = 0; i + forged.size() < mPool.size();) {
            if (mRandom() % 200 == 0) {
                mPool.replace(i, forged.size(), forged);
                i += forged.size();
            } else {
                mPool[i++] = static_cast<char>(1 + mRandom() % 255);
            }
        }
    }

    // Mostly about as long as a bound or a ring's reserve, now and then about as long as a length field can
    // tell.
    std::string Next()
    {
        static constexpr std::size_t kAbout[] = { 10, 1000, 4000, 4096, 65535, 65536 };
        const std::size_t about = kAbout[mRandom() % (mRandom() % 8 == 0 ? 6 : 4)];
        const std::size_t length = about - 10 + mRandom() % 20;
        return mPool.substr(mRandom() % (mPool.size() - length), length);
    }

private:
    static constexpr unsigned int kSeed = 13;
    std::mt19937 mRandom { kSeed };
    std::string mPool;
};

} // namespace

TEST(Bounded, ShortTextIsLoggedFromWhereItLies)
{
    const std::string text(1000, 'x');
    EXPECT_EQ(Bounded(text.c_str()).Text(), text.c_str());
    EXPECT_EQ(Bounded(text.c_str(), 1000).Text(), text.c_str());
    EXPECT_EQ(Bounded("").Text(), std::string());
    const wchar_t* wide = L"wide";
    EXPECT_EQ(Bounded(wide, 16).Text(), wide);
}

TEST(Bounded, IsAValueOfItsTextsType)
{
    const unsigned short sixteen[] = { 'u', 0 };
    EXPECT_EQ(CValue(Bounded("n")).mType, HSL::kString);
    EXPECT_EQ(CValue(Bounded(L"w")).mType, HSL::kWString);
    EXPECT_EQ(CValue(Bounded(sixteen)).mType, HSL::kUTF16String);
    const char* text = "n";
    EXPECT_EQ(CValue(Bounded(text)).mValue.mString, text);
}

TEST(Bounded, LongTextIsCutToAThousandBytesUnlessTold)
{
    EXPECT_EQ(Bounded(std::string(1001, 'x')).Text(), std::string(1000, 'x'));
    EXPECT_EQ(Bounded(std::wstring(251, L'x')).Text(), std::wstring(250, L'x'));
    EXPECT_EQ(cut("abcdef", 5), "abcde");
    EXPECT_EQ(cut("abcdef", 0), "");
    EXPECT_EQ(cut("", 0), "");
}

TEST(Bounded, MaximumIsInBytes)
{
    EXPECT_EQ(std::wstring(Bounded(L"abcdef", 20).Text()), L"abcde");
    EXPECT_EQ(std::wstring(Bounded(L"abcdef", 19).Text()), L"abcd");
    EXPECT_EQ(cut16(u"abcdef", 10), u"abcde");
}

TEST(Bounded, NoMaximumIsAbove4000)
{
    EXPECT_EQ(cut(std::string(4001, 'x'), 4000), std::string(4000, 'x'));
    EXPECT_EQ(cut(std::string(100000, 'x'), 100000), std::string(4000, 'x'));
    EXPECT_EQ(cut(std::string(100000, 'x'), static_cast<std::size_t>(-1)), std::string(4000, 'x'));
    EXPECT_EQ(Bounded(std::wstring(2000, L'x'), 8000).Text(), std::wstring(1000, L'x'));
}

TEST(Bounded, CutsUTF8BetweenCharacters)
{
    EXPECT_EQ(cut("a\u00E9b", 2), "a");
    EXPECT_EQ(cut("a\u00E9b", 3), "a\u00E9");
    EXPECT_EQ(cut("a\u20ACb", 2), "a");
    EXPECT_EQ(cut("a\u20ACb", 3), "a");
    EXPECT_EQ(cut("a\u20ACb", 4), "a\u20AC");
    for (std::size_t maximum = 1; maximum < 5; ++maximum) {
        EXPECT_EQ(cut("a\U0001F600b", maximum), "a") << maximum;
    }
    EXPECT_EQ(cut("a\U0001F600b", 5), "a\U0001F600");
    EXPECT_EQ(cut("\u20AC", 2), "");
}

TEST(Bounded, CutsIllFormedUTF8WhereItIs)
{
    EXPECT_EQ(cut(std::string(10, '\x80'), 7), std::string(7, '\x80'));
    EXPECT_EQ(cut(std::string(10, '\xF0'), 7), std::string(7, '\xF0'));
}

TEST(Bounded, CutsUTF16BetweenCharacters)
{
    EXPECT_EQ(cut16(u"a\U0001F600b", 4), u"a");
    EXPECT_EQ(cut16(u"a\U0001F600b", 6), u"a\U0001F600");
    const char16_t unpaired[] = { 'a', 0xD800, 'b', 'c', 0 };
    EXPECT_EQ(cut16(unpaired, 4), std::u16string(unpaired, 2));
}

TEST(Bounded, NullShowsAsNull)
{
    EXPECT_STREQ(Bounded(static_cast<const char*>(nullptr)).Text(), "<NULL>");
    EXPECT_EQ(std::wstring(Bounded(static_cast<const wchar_t*>(nullptr)).Text()), L"<NULL>");
    EXPECT_EQ(Bounded(static_cast<const unsigned short*>(nullptr)).Text(), nullptr);
}

TEST(Bounded, LooksAtNothingBehindTheMaximum)
{
    // Behind the last unit the sanitizers take over.
    const std::vector<char> narrow(11, 'x');
    EXPECT_EQ(Bounded(narrow.data(), 10).Text(), std::string(10, 'x'));
    const std::vector<wchar_t> wide(11, L'x');
    EXPECT_EQ(Bounded(wide.data(), 40).Text(), std::wstring(10, L'x'));
    const std::vector<unsigned short> sixteen(11, 'x');
    EXPECT_EQ(Bounded(sixteen.data(), 20).Text()[10], 0);
}

TEST(Bounded, NullWideTextGarblesNothing)
{
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main");
    context.Log(3, "%S", Bounded(static_cast<const wchar_t*>(nullptr)));
    context.Log(3, "next");
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), 2u);
    EXPECT_EQ(messageOf(pass.lines[0]), "<NULL>");
    EXPECT_EQ(messageOf(pass.lines[1]), "next");
}

namespace {

// Logs two texts from outside: one while the ring holds just less than the level at which dropping starts, the
// other one while the pass outputs what is in front of them. Returns how the messages begin.
template <typename Log> std::vector<std::string> messagesOf(const Log& log)
{
    const std::string filling(61000, 'x');
    const std::string first(5000, 'y');
    // So many bytes of the second one's record are read as the first one's.
    const std::size_t missing = (25 + filling.size()) + 25 + (25 + first.size()) - 65536;
    const std::string second = std::string(missing - 25, 'z') + forgedRecord() + std::string(5000, 'z');

    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main", 65536);
    context.Log(3, "%s", filling.c_str());
    context.Log(3, "%s", "");
    log(context, first);
    pass.inCallback = [&] {
        if (pass.lines.size() == 2) {
            log(context, second);
        }
    };
    pass.Manager().Collect();
    pass.Manager().Collect();
    std::vector<std::string> messages;
    for (std::size_t i = 2; i < pass.lines.size(); ++i) {
        messages.push_back(messageOf(pass.lines[i]).substr(0, 10));
    }
    return messages;
}

} // namespace

// What the fence is for: the first record is cut short by the ring's end, and the bytes that it lacks are taken
// from the second one, whose text then lies where a record should begin.
TEST(Bounded, WithoutItATextFromOutsideIsReadAsARecord)
{
    EXPECT_EQ(messagesOf([](HSL::CLogContext& context, const std::string& text) {
                  context.Log(3, "%s", text.c_str());
              }),
              (std::vector<std::string> { "yyyyyyyyyy", "|  forged!" }));
}

TEST(Bounded, WithItATextFromOutsideStaysAText)
{
    EXPECT_EQ(messagesOf([](HSL::CLogContext& context, const std::string& text) {
                  context.Log(3, "%s", Bounded(text));
              }),
              (std::vector<std::string> { "yyyyyyyyyy", "zzzzzzzzzz" }));
}

TEST(Bounded, HostileTextsGarbleNothing)
{
    const long rounds = randomRounds(20000);
    HostileTexts texts;
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main", 65536);
    std::vector<std::string> expected;
    for (long round = 0; round < rounds; ++round) {
        const std::string text = texts.Next();
        const Bounded bounded(text, 3000);
        context.Log(3, "%s, %d, %s", bounded, 5, Bounded(text, 900));
        if (context.mDropping) {
            pass.Manager().Collect();
            ASSERT_EQ(pass.lines.size(), expected.size() + 1);
            for (std::size_t i = 0; i < expected.size(); ++i) {
                ASSERT_EQ(messageOf(pass.lines[i]), expected[i]) << "round " << round;
            }
            ASSERT_EQ(messageOf(pass.lines.back()), "*** HSLOG DROPPED MESSAGE(S) ***");
            pass.lines.clear();
            expected.clear();
            continue;
        }
        ASSERT_EQ(text.compare(0, std::strlen(bounded.Text()), bounded.Text()), 0);
        expected.push_back(std::string(bounded.Text()) + ", 5, " + cut(text, 900));
    }
}
