// Writes the record of a call in HSLLog.h. Not for hosts.
#ifndef HSLOG_HSL_LOG_CALL_H
#define HSLOG_HSL_LOG_CALL_H

#include "HSLLogPlan.h"
#include "HSLLogTypes.h"
#include "HSLRecordFields.h"

#include "../HSLLevel.h"
#include "../HSLLogContext.h"
#include "../HSLLogManager.h"
#include "../../detail/KxAtomic.h"

#include <cstddef>
#include <type_traits>
#include <utility>

namespace HSL {
namespace LogFormat {

// Whether a macro's argument was spelled as a string literal of bytes.
constexpr bool IsLiteral(const char* spelling)
{
    if (spelling[0] == 'u' && spelling[1] == '8') {
        spelling += 2;
    }
    return spelling[0] == '"' || (spelling[0] == 'R' && spelling[1] == '"');
}

// The compiler names the parameters where it reports a refusal: the problem, the number of the placeholder or
// value that it concerns, and its column in the format. The call's own line is in the report as well.
template <Problem kProblem, int kPlaceholder, std::size_t kColumn> struct Refusal {
    static_assert(kProblem != kTooFewValues, "a {} finds no value");
    static_assert(kProblem != kValueNotUsed, "a value finds no {}");
    static_assert(
        kProblem != kTooManyInRecord,
        "a record takes ten values at most; a point in time counts as 3, 6 or 7, an error code as 2, and "
        "each piece of literal text with a percent sign, or with a backslash in front of a {}, as 1");
    static_assert(kProblem != kLoneBrace, "a brace stands alone: write {{ or }} to show one");
    static_assert(kProblem != kBadNumber, "between { and : or } stands what is no number");
    static_assert(kProblem != kMixedNumbering, "either every {} names its value by number or none does");
    static_assert(kProblem != kNotLoggable,
                  "a value has a type that cannot be logged: offer ToLogText(const T&) beside the type, which "
                  "returns a text or anything else that can be logged");
    static_assert(kProblem != kUnknownOptions, "what stands behind the : are no options of a format");
    static_assert(kProblem != kFillOrCentre,
                  "only blanks fill, to the left or to the right of a value and not around it; a number is "
                  "filled with zeros by {:08}, and a duration to its left only");
    static_assert(kProblem != kFromValue,
                  "a width or precision cannot come from a value: write it as a number");
    static_assert(kProblem != kLocale, "values are shown without a locale");
    static_assert(kProblem != kNotForThisType, "the options do not suit the type of its value");
    static_assert(kProblem != kNoBinary, "there is no binary here: take {:#x} or {:#o}");
    static_assert(kProblem != kNoSign, "no sign is shown of an unsigned number, nor in front of x, X or o");
    static_assert(kProblem != kPrefixedWidth,
                  "behind 0x only zeros fill, or blanks to the right: write {:#010x}, {:<#10x} or {:<20}");
    static_assert(kProblem != kTakesNoOptions, "points in time and error codes take no options");
    static_assert(kProblem != kRecordTooLong,
                  "the record is longer than the 4,096 bytes that every ring keeps free: shorten the format");
    static_assert(kProblem != kZeroByte, "a format cannot hold a zero byte");
    static_assert(kProblem != kTooWide, "a width or precision is 65535 at most");
};

// As much of the draft as is needed at run time: the format, and behind it the pool.
template <std::size_t kLength> struct PlanText {
    char mText[kLength + 1];
};

template <std::size_t kLength, typename Draft> constexpr PlanText<kLength> Shortened(const Draft& draft)
{
    PlanText<kLength> shortened {};
    for (std::size_t i = 0; i < kLength; ++i) {
        shortened.mText[i] =
            draft.mText[i < draft.mFormatLength ? i : Draft::kPoolAt + (i - draft.mFormatLength)];
    }
    return shortened;
}

// Every ring keeps as much free for the record under way.
constexpr unsigned int kLongestRecord = 4096;

template <typename Format, typename... Values> struct Plan {
    static constexpr int kArguments = sizeof...(Values);
    static constexpr std::size_t kFormatLength = sizeof(Format::Text()) - 1;
    static constexpr Shape kShapes[] = { Loggable<Values>::kShape..., Shape { kNothing, 0 } };

    static constexpr std::size_t PlaceLength()
    {
        constexpr Place kPlace = Format::At();
        return kPlace.mFile == nullptr ? 0 : LengthOf(kPlace.mFile) + LengthOf(kPlace.mFunction) + 16;
    }
    static constexpr std::size_t kCapacity = CapacityFor(kFormatLength, PlaceLength(), sizeof...(Values));
    static constexpr auto kDraft =
        Translator<kCapacity, kArguments>(Format::Text(), kFormatLength, kShapes).Run(Format::At());
    static constexpr std::size_t kTextLength = kDraft.mFormatLength + kDraft.mPoolLength;
    static constexpr PlanText<kTextLength> kText = Shortened<kTextLength>(kDraft);
    static constexpr const char* Pool() { return kText.mText + kDraft.mFormatLength; }

    // Bytes of the record but for those of its values' texts.
    static constexpr unsigned int FixedBytes()
    {
        std::size_t bytes = detail::kRecordHeaderSize + 3 + kDraft.mFormatLength + 1;
        for (int i = 0; i < kDraft.mStepCount; ++i) {
            const Step& step = kDraft.mSteps[i];
            if (step.mArgument < 0) {
                bytes += step.mLength == 1 ? 2 : 3 + step.mLength;
            } else if (kShapes[step.mArgument].mClass == kFixed) {
                bytes += step.mPart == 0 ? kShapes[step.mArgument].mBytes : 0;
            } else {
                bytes += kDraft.mLimits[step.mArgument].mBytes != 0 ? 3 : 1 + kShapes[step.mArgument].mSize;
            }
            bytes += step.mEmptyLength != 0 ? step.mEmptyLength + 3 + 4 : 0;
        }
        return static_cast<unsigned int>(bytes);
    }
    static constexpr unsigned int kFixedBytes = FixedBytes();

    // Bytes of the texts if each is as long as it may be.
    static constexpr unsigned int TextBytes()
    {
        unsigned int bytes = 0;
        for (int i = 0; i < kDraft.mStepCount; ++i) {
            const Step& step = kDraft.mSteps[i];
            if (step.mArgument >= 0 && step.mPart == 0) {
                bytes += kShapes[step.mArgument].mClass == kBoolean ? 5 : kDraft.mLimits[step.mArgument].mBytes;
            }
        }
        return bytes;
    }

    static constexpr Problem kProblem = kDraft.mProblem != kFits ? kDraft.mProblem
        : kFixedBytes > kLongestRecord                           ? kRecordTooLong
                                                                 : kFits;
    static constexpr bool kIsAccepted = sizeof(Refusal<kProblem, kDraft.mPlaceholder, kDraft.mColumn>) > 0;
    // Alone, so that nothing needs the draft when the program runs.
    template <int kArgument> static constexpr LogFormat::TextLimit kLimit = kDraft.mLimits[kArgument];

    static constexpr int MostParts()
    {
        int most = 1;
        for (const Shape& shape : kShapes) {
            most = shape.mParts > most ? shape.mParts : most;
        }
        return most;
    }
    static constexpr int kMostParts = MostParts();

    static constexpr unsigned int kTextRoom = kFixedBytes <= kLongestRecord ? kLongestRecord - kFixedBytes : 0;
    static constexpr bool kTextsAlwaysFit = TextBytes() <= kTextRoom;
};

} // namespace LogFormat

namespace detail {

// The way from a macro to the ring.
struct LogCall {
    // The manager, if it is there, switched on, and lets the category pass.
    HSL_AT_CALL static CLogManager* ManagerIfOn(unsigned char code)
    {
        CLogManager* manager = CLogManager::Instance();
        return manager != nullptr && KxLoadRelaxed(manager->mEnabled) && manager->GetFilterValue(code)
            ? manager
            : nullptr;
    }
    static CLogManager* ManagerIfOn(const CCat& cat);
    static constexpr CLogManager* ManagerIfOn(LeftOut) { return nullptr; }

    // The first value is the format, which the plan knows already.
    template <typename Format, typename Category, typename Literal, typename... Values>
    HSL_AT_CALL static void Record(CLogManager& manager, Category category, const Literal&,
                                   const Values&... values)
    {
        using Plan = LogFormat::Plan<Format, std::remove_cv_t<Values>...>;
        if constexpr (Plan::kIsAccepted && Plan::kProblem == LogFormat::kFits
                      && !std::is_same<Category, LeftOut>::value) {
            RecordHeld<Plan>(manager, category, std::make_integer_sequence<int, sizeof...(Values)>(),
                             typename LogFormat::Loggable<std::remove_cv_t<Values>>::Held(values)...);
        }
    }

private:
    template <typename Plan> static constexpr RecordText FormatText()
    {
        return { Plan::kText.mText, static_cast<unsigned int>(Plan::kDraft.mFormatLength),
                 static_cast<unsigned short>(Plan::kDraft.mFormatLength) };
    }

    HSL_AT_CALL static Field<kFormatInline, RecordText> FormatOf(RecordText text) { return { text }; }

    // The values of the record by argument, each with all its parts.
    template <typename Plan> using Parts = const AnyField (*)[Plan::kMostParts];

    template <typename Plan, typename Category, typename... Held, int... kArguments>
    HSL_AT_CALL static void RecordHeld(CLogManager& manager, Category category,
                                       std::integer_sequence<int, kArguments...>, Held&&... held)
    {
        AnyField parts[sizeof...(Held) + 1][Plan::kMostParts];
        // In the order of the arguments, since texts take room in turn.
        [[maybe_unused]] LogFormat::TextRoom room { Plan::kTextRoom, 0, 0 };
        (Put<Plan, kArguments>(held, parts[kArguments], room), ...);
        if constexpr (Plan::kDraft.mHasOptional) {
            RecordWithOptional<Plan>(manager, category, parts,
                                     std::make_integer_sequence<int, Plan::kDraft.mStepCount>(), held...);
        } else {
            Write<Plan>(manager, category, parts, std::make_integer_sequence<int, Plan::kDraft.mStepCount>());
        }
    }

    template <typename Plan, int kArgument, typename Held>
    HSL_AT_CALL static void Put(Held& held, AnyField* parts, LogFormat::TextRoom& room)
    {
        constexpr LogFormat::TextLimit kLimit = Plan::template kLimit<kArgument>;
        if (Plan::kTextsAlwaysFit) {
            room.mBytes = LogFormat::kWidest;
        }
        room.mMaximumBytes = kLimit.mBytes;
        room.mMaximumCharacters = kLimit.mCharacters;
        held.Put(parts, room);
    }

    template <typename Plan, int kStep> HSL_AT_CALL static AnyField ValueOf(Parts<Plan> parts)
    {
        constexpr LogFormat::Step kAt = Plan::kDraft.mSteps[kStep];
        if constexpr (kAt.mArgument >= 0) {
            return parts[kAt.mArgument][kAt.mPart];
        } else if constexpr (kAt.mLength == 1) {
            return LogFormat::IntegerValue(static_cast<signed char>(Plan::Pool()[kAt.mAt]));
        } else {
            return LogFormat::TextValue({ Plan::Pool() + kAt.mAt, static_cast<unsigned int>(kAt.mLength),
                                          static_cast<unsigned short>(kAt.mLength) });
        }
    }

    template <typename Plan, typename Category, int... kSteps>
    HSL_AT_CALL static void Write(CLogManager& manager, Category category, [[maybe_unused]] Parts<Plan> parts,
                                  std::integer_sequence<int, kSteps...>)
    {
        using Passed =
            std::conditional_t<std::is_same<Category, unsigned char>::value, unsigned char, const CCat&>;
        if (CLogContext* context = ContextOfThisThread(manager)) {
            const int sequence = KxAtomicAdd32Barrier(1, &manager.mSequence);
            context->RecordTyped(static_cast<Passed>(category), sequence, FormatOf(FormatText<Plan>()),
                                 ValueOf<Plan, kSteps>(parts)...);
        }
    }

    // A value that may be missing decides which conversion stands in the format.
    struct Choice {
        std::size_t mAt; // in the format as it is with all values
        std::size_t mLength;
        const char* mEmpty; // the conversion to take instead, or null
        std::size_t mEmptyLength;
    };

    template <typename Held> static auto IsEmpty(const Held& held, int) -> decltype(held.IsEmpty())
    {
        return held.IsEmpty();
    }
    template <typename Held> static bool IsEmpty(const Held&, long) { return false; }

    template <typename Plan, typename... Held, int... kSteps>
    static void RecordWithOptional(CLogManager& manager, const CCat& cat, Parts<Plan> parts,
                                   std::integer_sequence<int, kSteps...>, const Held&... held)
    {
        const bool isEmpty[] = { IsEmpty(held, 0)... };
        const Choice choices[] = { ChoiceFor<Plan, kSteps>(isEmpty)... };
        char format[Plan::kTextLength + 1];
        const std::size_t length =
            Choose(format, Plan::kText.mText, Plan::kDraft.mFormatLength, choices, sizeof...(kSteps));
        const AnyField fields[] = { FormatOf({ format, static_cast<unsigned int>(length),
                                               static_cast<unsigned short>(length) }),
                                    ValueOf<Plan, kSteps>(parts)... };
        RecordChosen(manager, cat, fields, sizeof...(kSteps));
    }

    template <typename Plan, int kStep> static Choice ChoiceFor(const bool* isEmpty)
    {
        constexpr LogFormat::Step kAt = Plan::kDraft.mSteps[kStep];
        if constexpr (kAt.mArgument >= 0) {
            if (isEmpty[kAt.mArgument]) {
                return { kAt.mAt, kAt.mLength, Plan::Pool() + kAt.mEmptyAt, kAt.mEmptyLength };
            }
        }
        return { 0, 0, nullptr, 0 };
    }

    static CLogContext* ContextOfThisThread(CLogManager& manager);
    // Copies the format with the conversions of missing values replaced; returns its length.
    static std::size_t Choose(char* to, const char* format, std::size_t length, const Choice* choices,
                              std::size_t count);
    static void RecordChosen(CLogManager& manager, const CCat& cat, const AnyField* fields, int count);
};

} // namespace detail
} // namespace HSL

#endif
