// The converters' speed to that of the plain loop, on texts from one unit to 64 Ki units. Needs nothing but
// kxpl, so that every compiler and width can be asked.
//
// Prints the worst of all texts for every direction and length, as JSON, under the name of the build that the
// first argument gives; with a second one, "all", a table of every text instead. A third argument is a part of a text's
// name, a fourth a length, for those alone.
#include "Measure.h"
#include "Texts.h"

#include "UnicodePlainLoop.h"

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

using namespace KXPL;

constexpr std::size_t kLengths[] = { 1, 4, 12, 30, 100, 1000, 65536 };
constexpr int kTurns = 15;
constexpr int kTurnsWithShort = 45;
constexpr std::size_t kShort = 100;
constexpr std::size_t kPlaces = 1024; // written to in turns, lest one that suits one of the two decides

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
double nanoseconds(Routine<Source, Target> convert, const Pieces<Source>& pieces, std::vector<Target>& target,
                   std::size_t place)
{
    Target* const begin = target.data() + place;
    Target* const room = begin + (target.size() - kPlaces);
    const auto convertAll = [&] {
        for (std::size_t i = 0; i + 1 < pieces.mStarts.size(); ++i) {
            const Source* from = pieces.mUnits.data() + pieces.mStarts[i];
            const Source* const end = pieces.mUnits.data() + pieces.mStarts[i + 1];
            Target* to = begin;
            while (convert(&from, end, &to, room, lenientConversion) == sourceIllegal && from < end) {
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
    std::vector<Target> target(4 * (length + 4) + kPlaces);
    bench::Samples ratios;
    nanoseconds(own, pieces, target, 0);
    nanoseconds(plain, pieces, target, 0);
    for (int i = 0; i < (length <= kShort ? kTurnsWithShort : kTurns); ++i) {
        const std::size_t place = static_cast<std::size_t>(i) * 37 % kPlaces;
        const double ownCost = nanoseconds(own, pieces, target, place);
        ratios.Add(nanoseconds(plain, pieces, target, place) / ownCost);
    }
    return ratios.At(0.5);
}

// What the arguments ask for.
struct Wanted {
    const char* mBuild = "this build";
    bool mAll = false;
    const char* mText = "";
    std::size_t mLength = 0; // 0: each
};
bool isFirst = true;

template <typename Source, typename Target>
void reportAll(const Wanted& wanted, Routine<Source, Target> own, Routine<Source, Target> plain)
{
    for (const bench::Text& text : bench::kText) {
        if (std::strstr(text.mName, wanted.mText) == nullptr) {
            continue;
        }
        std::printf("%s UTF-%zu to UTF-%zu %-36s", wanted.mBuild, 8 * sizeof(Source), 8 * sizeof(Target),
                    text.mName);
        for (const std::size_t length : kLengths) {
            if (wanted.mLength == 0 || wanted.mLength == length) {
                std::printf(" %6.2f", ratio(text, length, own, plain));
            }
        }
        std::printf("\n");
    }
}

template <typename Source, typename Target>
void report(const Wanted& wanted, Routine<Source, Target> own, Routine<Source, Target> plain)
{
    if (wanted.mAll) {
        reportAll(wanted, own, plain);
        return;
    }
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
                    isFirst ? "" : ",", wanted.mBuild, 8 * sizeof(Source), 8 * sizeof(Target), length, worst,
                    worstText);
        isFirst = false;
    }
}

} // namespace

int main(int argc, char** argv)
{
    Wanted wanted;
    wanted.mBuild = argc > 1 ? argv[1] : wanted.mBuild;
    wanted.mAll = argc > 2 && std::strcmp(argv[2], "all") == 0;
    wanted.mText = argc > 3 ? argv[3] : wanted.mText;
    wanted.mLength = argc > 4 ? std::strtoul(argv[4], nullptr, 10) : 0;
    bench::PinThisThread(0);
    std::printf("%s", wanted.mAll ? "" : "{ \"benchmarks\": [");
    report<UTF8, UTF16>(wanted, ConvertUTF8toUTF16, plain::ConvertUTF8toUTF16);
    report<UTF16, UTF8>(wanted, ConvertUTF16toUTF8, plain::ConvertUTF16toUTF8);
    report<UTF8, UTF32>(wanted, ConvertUTF8toUTF32, plain::ConvertUTF8toUTF32);
    report<UTF32, UTF8>(wanted, ConvertUTF32toUTF8, plain::ConvertUTF32toUTF8);
    report<UTF16, UTF32>(wanted, ConvertUTF16toUTF32, plain::ConvertUTF16toUTF32);
    report<UTF32, UTF16>(wanted, ConvertUTF32toUTF16, plain::ConvertUTF32toUTF16);
    std::printf("%s", wanted.mAll ? "" : "\n] }\n");
}
