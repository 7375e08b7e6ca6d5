// Values that are strings: narrow, wide and UTF-16.
#include "hslog/HSL.h"

#include "RenderRing.h"

#include <gtest/gtest.h>

#include <clocale>

namespace {

// A locale for the length of a test.
class Locale {
public:
    explicit Locale(const char* name) { mIsSet = std::setlocale(LC_ALL, name) != nullptr; }
    ~Locale() { std::setlocale(LC_ALL, "C"); }

    bool IsSet() const { return mIsSet; }

private:
    bool mIsSet;
};

// The wide string that the formatter gets for a record with one value.
std::wstring wideStringFor(const HandMadeRecord& record)
{
    RenderRing ring;
    std::wstring text;
    Interposed hooks;
    hooks.vsnprintfHook = [&text](char* output, std::size_t, const char*, va_list values) {
        text = va_arg(values, const wchar_t*);
        output[0] = 0;
        return 0;
    };
    ring.Render(record);
    return text;
}

std::wstring wideStringOf(const std::u16string& units)
{
    return wideStringFor(inlineRecord("%S", 1).UTF16String(units));
}

std::u16string loneSurrogate(char16_t unit, const char16_t* behind)
{
    return std::u16string(1, unit) + behind;
}

} // namespace

TEST(StringifyText, EmptyStringContributesNothing)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("<%s>", 1).String("")), "<>");
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyText, EmptyStringAfterALongerOneIsEmpty)
{
    RenderRing ring;
    ring.Render(inlineRecord("%s", 1).String("earlier"));
    EXPECT_EQ(ring.Render(inlineRecord("<%s>", 1).String("")), "<>");
}

TEST(StringifyText, StringOf65535BytesIsPrintedWhole)
{
    RenderRing ring;
    const std::string text(65535, 's');
    EXPECT_EQ(ring.Render(inlineRecord("%s", 1).String(text)), text);
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyText, LengthIsUnsigned)
{
    RenderRing ring;
    const std::string text(40000, 's');
    EXPECT_EQ(ring.Render(inlineRecord("", 1).String(text)), " (" + text + ") ");
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyText, StringEndsAtItsFirstZeroByteButAllIsTaken)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("<%s>", 1).String(std::string("a\0b", 3))), "<a>");
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyText, StringIsNoFormat)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("%s %d", 2).String("100%d %% \\%s").Int32(5)), "100%d %% \\%s 5");
    EXPECT_EQ(ring.Render(inlineRecord("", 1).String("%%d")), " (%%d) ");
}

TEST(StringifyText, StringsInOneRecordDoNotMix)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("%s,%s,%s", 3).String("first").String("2").String("third one")),
              "first,2,third one");
}

TEST(StringifyText, BytesAboveASCIIPassThroughInTheCLocale)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("\xE4=%s", 1).String("\xC3\xA9\xFF")), "\xE4=\xC3\xA9\xFF");
}

TEST(StringifyText, WideStringReachesTheFormatterAsItIs)
{
    EXPECT_EQ(wideStringFor(inlineRecord("%S", 1).WString(L"a\u20AC\U0001F600")), L"a\u20AC\U0001F600");
}

TEST(StringifyText, EmptyWideString)
{
    RenderRing ring;
    ring.Render(inlineRecord("%S", 1).WString(L"earlier"));
    EXPECT_EQ(ring.Render(inlineRecord("<%S>", 1).WString(L"")), "<>");
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyText, WideStringIsEncodedAsTheLocaleSays)
{
    Locale locale("C.UTF-8");
    ASSERT_TRUE(locale.IsSet());
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("<%S>", 1).WString(L"\u20AC\U0001F600")),
              "<\xE2\x82\xAC\xF0\x9F\x98\x80>");
}

TEST(StringifyText, WideStringOf65535CharactersIsTakenWhole)
{
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("%S%d", 2).WString(std::wstring(65535, L'w')).Int32(5)),
              std::string(65535, 'w') + "5");
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyText, UTF16ReachesTheFormatterAsWideCharacters)
{
    EXPECT_EQ(wideStringOf(u"a\u00E9\u20AC"), L"a\u00E9\u20AC");
}

TEST(StringifyText, UTF16PairBecomesOneCharacter)
{
    EXPECT_EQ(wideStringOf(u"<\U0001F600>"), L"<\U0001F600>");
}

TEST(StringifyText, UTF16PairIsEncodedAsTheLocaleSays)
{
    Locale locale("C.UTF-8");
    ASSERT_TRUE(locale.IsSet());
    RenderRing ring;
    EXPECT_EQ(ring.Render(inlineRecord("%S|%d", 2).UTF16String(u"\U0001F600\u00E9").Int32(5)),
              "\xF0\x9F\x98\x80\xC3\xA9|5");
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyText, UnpairedLowSurrogateIsCarriedOver)
{
    const std::wstring text = wideStringOf(loneSurrogate(0xDC00, u"A"));
    ASSERT_EQ(text.size(), 2u);
    EXPECT_EQ(text[0], static_cast<wchar_t>(0xDC00));
    EXPECT_EQ(text[1], L'A');
}

TEST(StringifyText, UnpairedHighSurrogateIsCarriedOver)
{
    const std::wstring text = wideStringOf(loneSurrogate(0xD83D, u"A"));
    ASSERT_EQ(text.size(), 2u);
    EXPECT_EQ(text[0], static_cast<wchar_t>(0xD83D));
    EXPECT_EQ(text[1], L'A');
}

TEST(StringifyText, HighSurrogateAtTheEndIsLeftOut)
{
    EXPECT_EQ(wideStringOf(u"AB" + loneSurrogate(0xD83D, u"")), L"AB");
}

TEST(StringifyText, HighSurrogateAloneLeavesAnEmptyText)
{
    RenderRing ring;
    ring.Render(inlineRecord("%S", 1).WString(L"earlier"));
    EXPECT_EQ(ring.Render(inlineRecord("<%S>", 1).UTF16String(loneSurrogate(0xD83D, u""))), "<>");
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyText, UnpairedSurrogateIsMemorySafeInEitherLocale)
{
    RenderRing ring;
    for (const char* name : { "C", "C.UTF-8" }) {
        Locale locale(name);
        ASSERT_TRUE(locale.IsSet());
        const std::string text =
            ring.Render(inlineRecord("%S%d", 2).UTF16String(loneSurrogate(0xDC00, u"A")).Int32(5));
        EXPECT_EQ(text.back(), '5') << name;
        EXPECT_EQ(ring.Left(), 0u);
    }
}

TEST(StringifyText, EmptyUTF16String)
{
    RenderRing ring;
    ring.Render(inlineRecord("%S", 1).UTF16String(u"earlier"));
    EXPECT_EQ(ring.Render(inlineRecord("<%S>", 1).UTF16String(u"")), "<>");
    EXPECT_EQ(ring.Left(), 0u);
}

TEST(StringifyText, UTF16StringOf65535UnitsIsTakenWhole)
{
    EXPECT_EQ(wideStringOf(std::u16string(65535, u'u')), std::wstring(65535, L'u'));
}

TEST(StringifyText, UTF16ZeroUnitEndsTheText)
{
    EXPECT_EQ(wideStringOf(std::u16string(u"a\0b", 3)), L"a");
}
