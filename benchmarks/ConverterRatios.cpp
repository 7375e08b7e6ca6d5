// The converters' speed to that of the plain loop, on texts from one unit to 64 Ki units. Needs nothing but
// kxpl, so that every compiler and width can be asked.
//
// Prints the worst of all texts for every direction and length, as JSON, under the name of the build that the
// first argument gives.
#include "Measure.h"
#include "Texts.h"

#include "UnicodePlainLoop.h"

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <vector>

namespace {

using namespace KXPL;

constexpr std::size_t kLengths[] = { 1, 4, 12, 30, 100, 1000, 65536 };
constexpr int kTurns = 15;

template <typename Source, typename Target>
using Routine = ConversionResult (*)(const Source**, const Source*, Target**, Target*, ConversionFlags);

// So many different texts that branch prediction cannot learn one: pieces of a long one, cut between
// characters.
template <typename Unit> struct Pieces {
    std::vector<Unit> mUnits;
    std::vector<std::size_t> mStarts { 0 };

    Pieces(const std::vector<char32_t>& characters, std::size_t length, std::size_t units)
    {
        for (const char32_t character : characters) {
            bench::Encode(character, mUnits);
            if (mUnits.size() - mStarts.back() >= length) {
                mStarts.push_back(mUnits.size());
            }
            if (mUnits.size() >= units + length) {
                break;
            }
        }
    }
};

template <typename Source, typename Target>
double nanoseconds(Routine<Source, Target> convert, const Pieces<Source>& pieces, std::vector<Target>& target)
{
    const auto convertAll = [&] {
        for (std::size_t i = 0; i + 1 < pieces.mStarts.size(); ++i) {
            const Source* from = pieces.mUnits.data() + pieces.mStarts[i];
            const Source* const end = pieces.mUnits.data() + pieces.mStarts[i + 1];
            Target* to = target.data();
            while (convert(&from, end, &to, target.data() + target.size(), lenientConversion) == sourceIllegal
                   && from < end) {
                ++from;
                *to++ = static_cast<Target>(0xFFFD);
            }
            bench::Touch(to);
        }
    };
    return bench::TimeWork(1, convertAll).mCost;
}

template <typename Source, typename Target>
double ratio(const bench::Text& text, std::size_t length, Routine<Source, Target> own,
             Routine<Source, Target> plain)
{
    const std::size_t units = length == 1 ? 1 << 14 : length > 1000 ? 1 << 17 : 1 << 16;
    const Pieces<Source> pieces(text.mCharacters(units + length), length, units);
    std::vector<Target> target(4 * (length + 4));
    bench::Samples ratios;
    nanoseconds(own, pieces, target);
    nanoseconds(plain, pieces, target);
    for (int i = 0; i < kTurns; ++i) {
        const double ownCost = nanoseconds(own, pieces, target);
        ratios.Add(nanoseconds(plain, pieces, target) / ownCost);
    }
    return ratios.At(0.5);
}

bool isFirst = true;

template <typename Source, typename Target>
void report(const char* build, Routine<Source, Target> own, Routine<Source, Target> plain)
{
    for (const std::size_t length : kLengths) {
        double worst = 1e9;
        const char* worstText = "";
        for (const bench::Text& text : bench::kText) {
            const double found = ratio(text, length, own, plain);
            if (found < worst) {
                worst = found;
                worstText = text.mName;
            }
        }
        std::printf("%s\n  { \"run_name\": \"convert_plain/%s/UTF-%zu to UTF-%zu/%zu\", \"ratio\": %.3f, "
                    "\"text\": \"%s\" }",
                    isFirst ? "" : ",", build, 8 * sizeof(Source), 8 * sizeof(Target), length, worst,
                    worstText);
        isFirst = false;
    }
}

} // namespace

int main(int argc, char** argv)
{
    const char* const build = argc > 1 ? argv[1] : "this build";
    bench::PinThisThread(0);
    std::printf("{ \"benchmarks\": [");
    report<UTF8, UTF16>(build, ConvertUTF8toUTF16, plain::ConvertUTF8toUTF16);
    report<UTF16, UTF8>(build, ConvertUTF16toUTF8, plain::ConvertUTF16toUTF8);
    report<UTF8, UTF32>(build, ConvertUTF8toUTF32, plain::ConvertUTF8toUTF32);
    report<UTF32, UTF8>(build, ConvertUTF32toUTF8, plain::ConvertUTF32toUTF8);
    report<UTF16, UTF32>(build, ConvertUTF16toUTF32, plain::ConvertUTF16toUTF32);
    report<UTF32, UTF16>(build, ConvertUTF32toUTF16, plain::ConvertUTF32toUTF16);
    std::printf("\n] }\n");
}
