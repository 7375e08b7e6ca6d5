// The translation itself, which can run as well as be compiled, on every short format there is.
#include "hslog/detail/HSLLogPlan.h"

#include "ManualPass.h"
#include "hslog/HSL.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace HSL::LogFormat;

constexpr int kValues = 3;
constexpr Shape kShapes[] = {
    { HSL::LogFormat::kSigned, 4 }, { HSL::LogFormat::kText, 0 }, { HSL::LogFormat::kSigned, 4 }, {}
};
const char* const kShown[] = { "7", "text", "-9" };

// Logs with a plain call what a draft says.
void log(HSL::CLogContext& context, const std::string& format, const std::vector<HSL::CValue>& v)
{
    switch (v.size()) {
    case 0:
        return context.Log(3, format.c_str());
    case 1:
        return context.Log(3, format.c_str(), v[0]);
    case 2:
        return context.Log(3, format.c_str(), v[0], v[1]);
    case 3:
        return context.Log(3, format.c_str(), v[0], v[1], v[2]);
    case 4:
        return context.Log(3, format.c_str(), v[0], v[1], v[2], v[3]);
    case 5:
        return context.Log(3, format.c_str(), v[0], v[1], v[2], v[3], v[4]);
    case 6:
        return context.Log(3, format.c_str(), v[0], v[1], v[2], v[3], v[4], v[5]);
    default:
        return context.Log(3, format.c_str(), v[0], v[1], v[2], v[3], v[4], v[5], v[6]);
    }
}

template <int kCount> void logTranslated(HSL::CLogContext& context, const std::string& format)
{
    constexpr std::size_t kCapacity = CapacityFor(64, 0, kCount);
    const auto draft =
        Translator<kCapacity, kCount>(format.c_str(), format.size(), kShapes).Run({ nullptr, 0, nullptr });
    ASSERT_EQ(draft.mProblem, kFits) << format;
    std::vector<std::string> literals;
    literals.reserve(kMostValuesOfRecord);
    std::vector<HSL::CValue> values;
    for (int i = 0; i < draft.mStepCount; ++i) {
        const Step& step = draft.mSteps[i];
        if (step.mArgument >= 0) {
            values.push_back(step.mArgument == 1 ? HSL::CValue("text")
                                                 : HSL::CValue(step.mArgument == 0 ? 7 : -9));
        } else if (step.mLength == 1) {
            values.push_back(HSL::CValue(static_cast<signed char>(draft.mText[draft.kPoolAt + step.mAt])));
        } else {
            literals.emplace_back(draft.mText + draft.kPoolAt + step.mAt, step.mLength);
            values.push_back(HSL::CValue(literals.back().c_str()));
        }
    }
    log(context, std::string(draft.mText, draft.mFormatLength), values);
}

// What a format stands for, told piece by piece.
struct Written {
    std::string format;
    std::string shown;
    int values = 0;
};

Written compose(unsigned long number, int length)
{
    static const char* const kPieces[] = { "%", "\\", "d", "{{", "%%" };
    constexpr unsigned long kKinds = 6;
    Written written;
    for (int i = 0; i < length; ++i, number /= kKinds) {
        const unsigned long kind = number % kKinds;
        if (kind == kKinds - 1) {
            written.format += "{}";
            written.shown += written.values < kValues ? kShown[written.values] : "";
            ++written.values;
        } else {
            written.format += kPieces[kind];
            written.shown += kind == 3 ? "{" : kPieces[kind];
        }
    }
    return written;
}

} // namespace

TEST(LogPlan, EveryLiteralTextComesOutAsWrittenWhateverStandsBesideIt)
{
    constexpr int kLength = 6;
    constexpr unsigned long kAll = 6ul * 6 * 6 * 6 * 6 * 6;
    ManualPass pass;
    HSL::CLogContext& context = pass.Context("Main", 1 << 24);
    std::vector<std::string> expected;
    for (unsigned long number = 0; number < kAll; ++number) {
        const Written written = compose(number, kLength);
        switch (written.values) {
        case 0:
            logTranslated<0>(context, written.format);
            break;
        case 1:
            logTranslated<1>(context, written.format);
            break;
        case 2:
            logTranslated<2>(context, written.format);
            break;
        case 3:
            logTranslated<3>(context, written.format);
            break;
        default:
            continue;
        }
        expected.push_back(written.shown);
    }
    pass.Manager().Collect();
    ASSERT_EQ(pass.lines.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        ASSERT_EQ(messageOf(pass.lines[i]), expected[i]);
    }
}

TEST(LogPlan, EachPieceOfLiteralTextTakesOneValueAtMost)
{
    const std::string format = "%a%b\\{}\\%\\%{}%%%";
    const auto draft = Translator<CapacityFor(64, 0, 2), 2>(format.c_str(), format.size(), kShapes)
                           .Run({ nullptr, 0, nullptr });
    EXPECT_EQ(draft.mStepCount, 5);
    EXPECT_EQ(std::string(draft.mText, draft.mFormatLength), "%s%d%s%s%s");
}

TEST(LogPlan, LonePercentSignIsACharacter)
{
    const std::string format = "{}% done";
    const auto draft = Translator<CapacityFor(64, 0, 1), 1>(format.c_str(), format.size(), kShapes)
                           .Run({ nullptr, 0, nullptr });
    EXPECT_EQ(std::string(draft.mText, draft.mFormatLength), "%d%c done");
}

TEST(LogPlan, ProblemsTellTheirPlace)
{
    const auto problem = [](const std::string& format) {
        const auto draft = Translator<CapacityFor(64, 0, 1), 1>(format.c_str(), format.size(), kShapes)
                               .Run({ nullptr, 0, nullptr });
        return std::vector<int> { draft.mProblem, draft.mPlaceholder, static_cast<int>(draft.mColumn) };
    };
    EXPECT_EQ(problem("a {} b {}"), (std::vector<int> { kTooFewValues, 2, 8 }));
    EXPECT_EQ(problem("nothing"), (std::vector<int> { kValueNotUsed, 1, 1 }));
    EXPECT_EQ(problem("{:.2}"), (std::vector<int> { kNotForThisType, 1, 1 }));
    EXPECT_EQ(problem("} {}"), (std::vector<int> { kLoneBrace, 0, 1 }));
    EXPECT_EQ(problem("ab {"), (std::vector<int> { kLoneBrace, 1, 5 }));
    EXPECT_EQ(problem("{:"), (std::vector<int> { kLoneBrace, 1, 3 }));
    EXPECT_EQ(problem("{0} {}"), (std::vector<int> { kMixedNumbering, 2, 5 }));
    EXPECT_EQ(problem("{4294967297}"), (std::vector<int> { kTooFewValues, 1, 1 }));
    EXPECT_EQ(problem("{:65536}"), (std::vector<int> { kTooWide, 1, 8 }));
}
