// Texts and targets between pages that must not be touched: a converter that looks or writes beside them
// faults, in every build.
#include "KxUnicode.h"

#include "UnicodeModel.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

using namespace KXPL;

namespace {

// One page of memory between two that fault.
class FencedPage {
public:
    FencedPage()
        : mSize(static_cast<std::size_t>(sysconf(_SC_PAGESIZE)))
        , mMemory(mmap(nullptr, 3 * mSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))
    {
        if (mMemory == MAP_FAILED || mprotect(Begin(), mSize, PROT_READ | PROT_WRITE) != 0) {
            ADD_FAILURE() << "no page for the test";
        }
    }
    ~FencedPage() { munmap(mMemory, 3 * mSize); }

    FencedPage(const FencedPage&) = delete;
    FencedPage& operator=(const FencedPage&) = delete;

    unsigned char* Begin() const { return static_cast<unsigned char*>(mMemory) + mSize; }
    unsigned char* End() const { return Begin() + mSize; }

private:
    const std::size_t mSize;
    void* const mMemory;
};

template <typename Unit> Unit* put(const UnicodeUnits& units, Unit* to)
{
    for (const std::uint32_t unit : units) {
        *to++ = static_cast<Unit>(unit);
    }
    return to;
}

template <typename Source, typename Target>
using Function = ConversionResult (*)(const Source**, const Source*, Target**, Target*, ConversionFlags);

// Converts a text that begins or ends with its page into a target of exactly the room that it needs, which
// begins or ends with its page as well.
template <typename Source, typename Target>
void convertBetweenFences(Function<Source, Target> convert, UnicodeForm from, UnicodeForm to,
                          const UnicodeUnits& text, bool atBegin)
{
    const UnicodeOutcome expected = modelConversion(from, to, text, 4 * text.size(), true);
    const FencedPage sourcePage;
    const FencedPage targetPage;
    Source* const source = reinterpret_cast<Source*>(sourcePage.End()) - text.size();
    Source* const begin = atBegin ? reinterpret_cast<Source*>(sourcePage.Begin()) : source;
    Source* const end = put(text, begin);
    const std::size_t room = expected.written.size();
    Target* const target = atBegin ? reinterpret_cast<Target*>(targetPage.Begin())
                                   : reinterpret_cast<Target*>(targetPage.End()) - room;
    const Source* read = begin;
    Target* written = target;
    EXPECT_EQ(convert(&read, end, &written, target + room, strictConversion), expected.result);
    EXPECT_EQ(static_cast<std::size_t>(read - begin), expected.consumed);
    EXPECT_EQ(UnicodeUnits(target, written), expected.written) << UnicodeText { text };
}

void convertBetweenFences(UnicodeForm from, UnicodeForm to, const UnicodeUnits& text, bool atBegin)
{
    using Form = UnicodeForm;
    if (from == Form::utf8) {
        to == Form::utf16 ? convertBetweenFences<UTF8, UTF16>(ConvertUTF8toUTF16, from, to, text, atBegin)
                          : convertBetweenFences<UTF8, UTF32>(ConvertUTF8toUTF32, from, to, text, atBegin);
    } else if (from == Form::utf16) {
        to == Form::utf8 ? convertBetweenFences<UTF16, UTF8>(ConvertUTF16toUTF8, from, to, text, atBegin)
                         : convertBetweenFences<UTF16, UTF32>(ConvertUTF16toUTF32, from, to, text, atBegin);
    } else {
        to == Form::utf8 ? convertBetweenFences<UTF32, UTF8>(ConvertUTF32toUTF8, from, to, text, atBegin)
                         : convertBetweenFences<UTF32, UTF16>(ConvertUTF32toUTF16, from, to, text, atBegin);
    }
}

class KxUnicodeBounds : public testing::TestWithParam<UnicodeConverter> {
protected:
    // Texts of every length up to several blocks, of characters of every width and of some mixes of them.
    void convertAll(bool atBegin)
    {
        const auto [name, from, to] = GetParam();
        const UnicodeUnits alphabets[] = { { 0x61 },
                                           { 0x431 },
                                           { 0x4E2D },
                                           { 0x1F600 },
                                           { 0x61, 0x62, 0x4E2D, 0x63, 0xE9 },
                                           { 0x4E2D, 0x4E2D, 0x1F600, 0x4E2D } };
        for (const UnicodeUnits& alphabet : alphabets) {
            UnicodeUnits text;
            for (std::size_t characters = 0; characters < 120; ++characters) {
                convertBetweenFences(from, to, text, atBegin);
                const UnicodeUnits units = modelEncode(from, alphabet[characters % alphabet.size()]);
                text.insert(text.end(), units.begin(), units.end());
            }
        }
    }
};

std::string nameOf(const testing::TestParamInfo<UnicodeConverter>& info)
{
    return info.param.name;
}

} // namespace

TEST_P(KxUnicodeBounds, NothingInFrontOfTextAndTargetIsTouched)
{
    convertAll(true);
}

TEST_P(KxUnicodeBounds, NothingBehindTextAndTargetIsTouched)
{
    convertAll(false);
}

INSTANTIATE_TEST_SUITE_P(Converters, KxUnicodeBounds, testing::ValuesIn(kUnicodeConverters), nameOf);
