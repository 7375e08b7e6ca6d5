// Texts to be converted, about 1 MiB in each encoding unless their names tell another size, and how a converter
// is measured on them.
#ifndef FALLCATCH_BENCHMARKS_TEXTS_H
#define FALLCATCH_BENCHMARKS_TEXTS_H

#include "Report.h"

#include <KxUnicode.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

namespace bench {

enum class Text {
    ascii,
    shortAscii, // which the second cache holds together with what it is converted to
    latinCyrillic,
    cjk,
    cjkEmoji,
    cjkAscii,
    illFormed // latinCyrillic with an ill-formed unit after every 64 characters
};

// Ends up as a unit that no well-formed text has: FF in UTF-8, an unpaired surrogate in UTF-16, 110000 in
// UTF-32.
constexpr char32_t kIllFormed = 0xFFFFFFFF;

std::vector<char32_t> Characters(Text text, std::size_t count);

void Encode(char32_t character, std::vector<KXPL::UTF8>& to);
void Encode(char32_t character, std::vector<KXPL::UTF16>& to);
void Encode(char32_t character, std::vector<KXPL::UTF32>& to);

template <typename Unit> std::vector<Unit> Encoded(const std::vector<char32_t>& characters)
{
    std::vector<Unit> units;
    for (const char32_t character : characters) {
        Encode(character, units);
    }
    return units;
}

// Converts the whole source, whatever it holds, and returns how many units it wrote. The target has room for
// four units for each of the source's.
template <typename Source, typename Target>
using Converter = std::size_t (*)(const std::vector<Source>& source, std::vector<Target>& target);

// kxpl's own, which the others take turns with.
template <typename Source, typename Target> Converter<Source, Target>& OwnConverter()
{
    static Converter<Source, Target> own = nullptr;
    return own;
}

// Costs are nanoseconds for a byte of the source.
template <typename Source, typename Target>
void MeasureConverter(benchmark::State& state, Text text, Converter<Source, Target> convert)
{
    const std::size_t sourceBytes = text == Text::shortAscii ? 1 << 16 : 1 << 20;
    // Measured on a sample: how many characters make a source of that size.
    const std::size_t sampleBytes = Encoded<Source>(Characters(text, 4096)).size() * sizeof(Source);
    const auto characters = Characters(text, sourceBytes * 4096 / sampleBytes);
    const auto source = Encoded<Source>(characters);
    std::vector<Target> target(source.size() * 4);

    const std::size_t written = convert(source, target);
    if (text != Text::illFormed
        && std::vector<Target>(target.data(), target.data() + written) != Encoded<Target>(characters)) {
        state.SkipWithError("converts to another text");
        return;
    }
    const double bytes = static_cast<double>(source.size() * sizeof(Source));
    const auto time = [&](Converter<Source, Target> which) {
        return TimeWork(bytes, [&] {
            benchmark::DoNotOptimize(which(source, target));
            benchmark::ClobberMemory();
        });
    };
    const auto own = OwnConverter<Source, Target>();
    if (convert == own) {
        // What no converter can go below where memory decides: filling what was written.
        const auto fill = [&] {
            return TimeWork(bytes, [&] {
                std::memset(target.data(), 1, written * sizeof(Target));
                benchmark::ClobberMemory();
            });
        };
        Measure(
            state, [&] { return time(convert); }, "memset", fill);
    } else {
        Measure(
            state, [&] { return time(convert); }, "own", [&] { return time(own); });
    }
}

// Registers a converter for the texts up to `last`, under "convert/DIRECTION/TEXT/WHO".
template <typename Source, typename Target>
bool AddConverter(const char* who, Converter<Source, Target> convert, Text last = Text::illFormed)
{
    static constexpr const char* kTexts[] = { "ASCII",         "ASCII, 64 KiB", "Latin and Cyrillic", "CJK",
                                              "CJK and emoji", "CJK and ASCII", "ill-formed" };
    const auto bits = [](std::size_t bytes) { return "UTF-" + std::to_string(bytes * 8); };
    for (int i = 0; i <= static_cast<int>(last); ++i) {
        const std::string name =
            "convert/" + bits(sizeof(Source)) + " to " + bits(sizeof(Target)) + "/" + kTexts[i] + "/" + who;
        benchmark::RegisterBenchmark(name.c_str(), [i, convert](benchmark::State& state) {
            MeasureConverter<Source, Target>(state, static_cast<Text>(i), convert);
        })->UseManualTime();
    }
    return true;
}

} // namespace bench

#endif
