// How a converter is measured on texts of about 1 MiB in each encoding, one of them of 64 KiB as well.
#ifndef FALLCATCH_BENCHMARKS_CONVERTER_PEERS_H
#define FALLCATCH_BENCHMARKS_CONVERTER_PEERS_H

#include "Report.h"
#include "Texts.h"

#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

namespace bench {

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
void MeasureConverter(benchmark::State& state, const Text& text, std::size_t sourceBytes,
                      Converter<Source, Target> convert)
{
    // Measured on a sample: how many characters make a source of that size.
    const std::size_t sampleBytes = Encoded<Source>(text.mCharacters(4096)).size() * sizeof(Source);
    const auto characters = text.mCharacters(sourceBytes * 4096 / sampleBytes);
    const auto source = Encoded<Source>(characters);
    std::vector<Target> target(source.size() * 4);

    const std::size_t written = convert(source, target);
    if (&text != &kText[kIllFormedText]
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

// Registers a converter under "convert/DIRECTION/TEXT/WHO", for the ill-formed text only if it can convert
// that.
template <typename Source, typename Target>
bool AddConverter(const char* who, Converter<Source, Target> convert, bool convertsIllFormed = true)
{
    const auto bits = [](std::size_t bytes) { return "UTF-" + std::to_string(bytes * 8); };
    const std::string direction = "convert/" + bits(sizeof(Source)) + " to " + bits(sizeof(Target)) + "/";
    const auto add = [&](const Text& text, const char* size, std::size_t bytes) {
        const std::string name = direction + text.mName + size + "/" + who;
        benchmark::RegisterBenchmark(name.c_str(), [&text, bytes, convert](benchmark::State& state) {
            MeasureConverter<Source, Target>(state, text, bytes, convert);
        })->UseManualTime();
    };
    for (std::size_t i = 0; i < kTexts - (convertsIllFormed ? 0 : 1); ++i) {
        add(kText[i], "", 1 << 20);
    }
    add(kText[0], ", 64 KiB", 1 << 16);
    return true;
}

} // namespace bench

#endif
