// Which types a "{}" format takes, and how a value of each becomes values of a record. For HSLLog.h.
#ifndef HSLOG_HSL_LOG_TYPES_H
#define HSLOG_HSL_LOG_TYPES_H

#include "HSLLogShape.h"
#include "HSLRecordFields.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <utility>

namespace HSL {

template <typename Unit> class Bounded;

namespace LogFormat {

using detail::AnyField;
using detail::kNullText;
using detail::RecordText;

// Bytes that a record's texts may still take, and what the text at hand may take of them.
struct TextRoom {
    unsigned int mBytes;
    unsigned int mMaximumBytes;
    unsigned int mMaximumCharacters;
};

// The largest part of a text that is whole characters and has at most so many bytes and characters. `size` is
// that of the text if it is known to have a zero only behind it, else the number of bytes that may be looked
// at.
RecordText CutText(const char* text, std::size_t size, TextRoom& room);
RecordText CutTextAtZero(const char* text, std::size_t readable, TextRoom& room);

// The same of a text in UTF-16 or UTF-32, in UTF-8 at `to`, which has room for kUsualTextBytes; what is no
// character becomes U+FFFD.
RecordText EncodeText(char* to, const char16_t* text, std::size_t size, TextRoom& room);
RecordText EncodeText(char* to, const char32_t* text, std::size_t size, TextRoom& room);
std::size_t LengthUpTo(const char16_t* text, std::size_t most);
std::size_t LengthUpTo(const char32_t* text, std::size_t most);

// A point in time as UTC calendar and clock, by the Gregorian calendar. `parts` of it: 3 for the date, 6 with
// seconds, 7 with microseconds.
void SplitTime(long long seconds, int microseconds, AnyField* parts, int count);

HSL_AT_CALL inline RecordText WholeText(const char* text, unsigned int size, TextRoom& room)
{
    if (size > room.mBytes) {
        return CutText(text, size, room);
    }
    room.mBytes -= size;
    return { text, size, static_cast<unsigned short>(size) };
}

HSL_AT_CALL inline AnyField TextValue(RecordText text)
{
    return AnyField(kString, text);
}

template <typename T> constexpr unsigned char IntegerType()
{
    constexpr bool kIsSigned = std::is_signed<T>::value;
    switch (sizeof(T)) {
    case 1:
        return kIsSigned ? kInt8 : kUInt8;
    case 2:
        return kIsSigned ? kInt16 : kUInt16;
    case 4:
        return kIsSigned ? kInt32 : kUInt32;
    default:
        return kIsSigned ? kInt64 : kUInt64;
    }
}

template <typename T> HSL_AT_CALL inline AnyField IntegerValue(T number)
{
    using Unsigned = std::make_unsigned_t<T>;
    return AnyField(IntegerType<T>(), static_cast<Unsigned>(number), sizeof number);
}

HSL_AT_CALL inline AnyField RealValue(float number)
{
    return detail::Typed::Of(number);
}

HSL_AT_CALL inline AnyField RealValue(double number)
{
    return detail::Typed::Of(number);
}

template <typename T>
constexpr bool kIsCharacterType =
    std::is_same<T, wchar_t>::value || std::is_same<T, char16_t>::value || std::is_same<T, char32_t>::value;

// Found where the host declares it beside its type.
template <typename T, typename = void> struct HasLogText : std::false_type {
};
template <typename T>
struct HasLogText<T, std::void_t<decltype(ToLogText(std::declval<const T&>()))>> : std::true_type {
};

// For each type that can be logged: its shape, and a Held that lives until the record is written. Put stores
// the values of the record, all parts of them.
template <typename T, typename = void> struct Loggable {
    static constexpr Shape kShape = { kNothing, 0 };
    struct Held {
        explicit Held(const T&) { }
        void Put(AnyField*, TextRoom&) const { }
    };
};

template <typename T>
struct Loggable<T,
                std::enable_if_t<std::is_integral<T>::value && sizeof(T) <= 8
                                 && !kIsCharacterType<T> && !std::is_same<T, bool>::value>> {
    static constexpr Shape kShape = { std::is_same<T, char>::value   ? kCharacter
                                          : std::is_signed<T>::value ? kSigned
                                                                     : kUnsigned,
                                      sizeof(T) };
    struct Held {
        T mNumber;
        HSL_AT_CALL explicit Held(T number)
            : mNumber(number)
        {
        }
        HSL_AT_CALL void Put(AnyField* values, TextRoom&) const
        {
            using Recorded = std::conditional_t<std::is_same<T, char>::value, signed char, T>;
            values[0] = IntegerValue(static_cast<Recorded>(mNumber));
        }
    };
};

// Shown as a word, unless the options ask for a number; the translation tells which by the room for a
// text.
template <> struct Loggable<bool> {
    static constexpr Shape kShape = { kBoolean, 1 };
    struct Held {
        bool mIs;
        HSL_AT_CALL explicit Held(bool is)
            : mIs(is)
        {
        }
        HSL_AT_CALL void Put(AnyField* values, TextRoom& room) const
        {
            if (room.mMaximumBytes == 0) {
                values[0] = IntegerValue(static_cast<signed char>(mIs));
            } else {
                values[0] = TextValue(WholeText(mIs ? "true" : "false", mIs ? 4 : 5, room));
            }
        }
    };
};

template <typename T> struct Loggable<T, std::enable_if_t<std::is_floating_point<T>::value>> {
    using Recorded = std::conditional_t<std::is_same<T, float>::value, float, double>;
    static constexpr Shape kShape = { kReal, sizeof(Recorded) };
    struct Held {
        Recorded mNumber;
        HSL_AT_CALL explicit Held(T number)
            : mNumber(static_cast<Recorded>(number))
        {
        }
        HSL_AT_CALL void Put(AnyField* values, TextRoom&) const { values[0] = RealValue(mNumber); }
    };
};

template <typename T> struct Loggable<T, std::enable_if_t<std::is_enum<T>::value && !HasLogText<T>::value>> {
    using Number = std::underlying_type_t<T>;
    // Of a char or a bool too the number is meant.
    using Shown = std::conditional_t<std::is_same<Number, char>::value || std::is_same<Number, bool>::value
                                         || kIsCharacterType<Number>,
                                     int, Number>;
    static constexpr Shape kShape = Loggable<Shown>::kShape;
    struct Held : Loggable<Shown>::Held {
        HSL_AT_CALL explicit Held(T value)
            : Loggable<Shown>::Held(static_cast<Shown>(value))
        {
        }
    };
};

// A text of which both ends are known.
struct HeldView {
    const char* mText;
    std::size_t mSize;
    HSL_AT_CALL explicit HeldView(std::string_view text)
        : mText(text.data())
        , mSize(text.size())
    {
    }
    HSL_AT_CALL void Put(AnyField* values, TextRoom& room) const
    {
        if (mSize > room.mMaximumCharacters || mSize > room.mMaximumBytes) {
            values[0] = TextValue(CutText(mText, mSize, room));
        } else {
            values[0] = TextValue(WholeText(mText, static_cast<unsigned int>(mSize), room));
        }
    }
};

template <typename T>
struct Loggable<T,
                std::enable_if_t<std::is_convertible<const T&, std::string_view>::value
                                 && std::is_class<T>::value && !HasLogText<T>::value>> {
    static constexpr Shape kShape = { kText, 0 };
    using Held = HeldView;
};

// A text up to its zero, or as far as it may be read. Null shows as "<NULL>".
struct HeldUpToZero {
    const char* mText;
    std::size_t mReadable;
    HSL_AT_CALL explicit HeldUpToZero(const char* text, std::size_t readable = static_cast<std::size_t>(-1))
        : mText(text)
        , mReadable(readable)
    {
    }
    HSL_AT_CALL void Put(AnyField* values, TextRoom& room) const
    {
        values[0] = TextValue(CutTextAtZero(mText, mReadable, room));
    }
};

template <typename T>
struct Loggable<T, std::enable_if_t<std::is_same<T, const char*>::value || std::is_same<T, char*>::value>> {
    static constexpr Shape kShape = { kText, 0 };
    using Held = HeldUpToZero;
};

// An array may be full to its last byte. Of a literal the compiler knows the length.
template <std::size_t kSize> struct Loggable<char[kSize]> {
    static constexpr Shape kShape = { kText, 0 };
    struct Held : HeldUpToZero {
        HSL_AT_CALL explicit Held(const char (&text)[kSize])
            : HeldUpToZero(text, kSize)
        {
        }
        HSL_AT_CALL void Put(AnyField* values, TextRoom& room) const
        {
            if (__builtin_constant_p(mText[kSize - 1] == 0 && __builtin_strlen(mText) == kSize - 1)
                && mText[kSize - 1] == 0 && __builtin_strlen(mText) == kSize - 1
                && kSize - 1 <= room.mMaximumCharacters && kSize - 1 <= room.mMaximumBytes) {
                values[0] = TextValue(WholeText(mText, kSize - 1, room));
            } else {
                HeldUpToZero::Put(values, room);
            }
        }
    };
};

// What hands out a terminated text and no view of it, as std::filesystem::path does.
template <typename T, typename = void> struct HasOnlyCStr : std::false_type {
};
template <typename T>
struct HasOnlyCStr<
    T,
    std::enable_if_t<std::is_class<T>::value && !HasLogText<T>::value
                     && !std::is_convertible<const T&, std::string_view>::value
                     && std::is_same<decltype(std::declval<const T&>().c_str()), const char*>::value>>
    : std::true_type {
};

template <typename T> struct Loggable<T, std::enable_if_t<HasOnlyCStr<T>::value>> {
    static constexpr Shape kShape = { kText, 0 };
    struct Held : HeldUpToZero {
        HSL_AT_CALL explicit Held(const T& text)
            : HeldUpToZero(text.c_str())
        {
        }
    };
};

// Texts in wider units are recorded in UTF-8: so they show in every locale, and take a quarter or half of the
// ring.
template <typename Unit> struct HeldWide {
    const Unit* mText;
    std::size_t mSize;
    char mBytes[kUsualTextBytes];

    HeldWide(const Unit* text, std::size_t size)
        : mText(text)
        , mSize(size)
    {
    }
    void Put(AnyField* values, TextRoom& room)
    {
        values[0] = TextValue(mText != nullptr ? EncodeText(mBytes, mText, mSize, room)
                                               : WholeText(kNullText, sizeof kNullText - 1, room));
    }
};

// The unit that stands for another one of the same width.
template <typename Unit> using EncodedUnit = std::conditional_t<sizeof(Unit) == 2, char16_t, char32_t>;

template <typename Unit> struct WideText {
    static constexpr Shape kShape = { kText, 0 };
    using As = EncodedUnit<Unit>;
    static const As* From(const Unit* text) { return reinterpret_cast<const As*>(text); }

    struct OfView : HeldWide<As> {
        explicit OfView(std::basic_string_view<Unit> text)
            : HeldWide<As>(From(text.data()), text.size())
        {
        }
    };
    struct UpToZero : HeldWide<As> {
        explicit UpToZero(const Unit* text, std::size_t readable = kUsualTextBytes)
            : HeldWide<As>(From(text), text != nullptr ? LengthUpTo(From(text), readable) : 0)
        {
        }
    };
};

template <typename T, typename Unit>
constexpr bool kIsWideView =
    std::is_class<T>::value&& std::is_convertible<const T&, std::basic_string_view<Unit>>::value
    && !HasLogText<T>::value;

template <typename T> struct Loggable<T, std::enable_if_t<kIsWideView<T, wchar_t>>> : WideText<wchar_t> {
    using Held = WideText<wchar_t>::OfView;
};
template <typename T> struct Loggable<T, std::enable_if_t<kIsWideView<T, char16_t>>> : WideText<char16_t> {
    using Held = WideText<char16_t>::OfView;
};
template <typename T> struct Loggable<T, std::enable_if_t<kIsWideView<T, char32_t>>> : WideText<char32_t> {
    using Held = WideText<char32_t>::OfView;
};

template <typename T>
constexpr bool kIsWideUnit = kIsCharacterType<T> || std::is_same<T, unsigned short>::value;

// An unsigned short is a unit of UTF-16 here, as it is for CValue.
template <typename T>
struct Loggable<T*, std::enable_if_t<kIsWideUnit<std::remove_const_t<T>>>> : WideText<std::remove_const_t<T>> {
    using Held = typename WideText<std::remove_const_t<T>>::UpToZero;
};

template <typename Unit, std::size_t kSize>
struct Loggable<Unit[kSize], std::enable_if_t<kIsWideUnit<Unit>>> : WideText<Unit> {
    struct Held : WideText<Unit>::UpToZero {
        explicit Held(const Unit (&text)[kSize])
            : WideText<Unit>::UpToZero(text, kSize)
        {
        }
    };
};

// A character of its own.
template <typename T> struct Loggable<T, std::enable_if_t<kIsCharacterType<T>>> {
    static constexpr Shape kShape = { kText, 0 };
    struct Held {
        EncodedUnit<T> mCharacter;
        char mBytes[4];
        explicit Held(T character)
            : mCharacter(static_cast<EncodedUnit<T>>(character))
        {
        }
        void Put(AnyField* values, TextRoom& room)
        {
            values[0] = TextValue(EncodeText(mBytes, &mCharacter, 1, room));
        }
    };
};

#ifdef __cpp_char8_t
template <typename T>
struct Loggable<
    T, std::enable_if_t<std::is_class<T>::value && std::is_convertible<const T&, std::u8string_view>::value>> {
    static constexpr Shape kShape = { kText, 0 };
    struct Held : HeldView {
        HSL_AT_CALL explicit Held(std::u8string_view text)
            : HeldView(std::string_view(reinterpret_cast<const char*>(text.data()), text.size()))
        {
        }
    };
};

template <typename T>
struct Loggable<T*, std::enable_if_t<std::is_same<std::remove_const_t<T>, char8_t>::value>> {
    static constexpr Shape kShape = { kText, 0 };
    struct Held : HeldUpToZero {
        HSL_AT_CALL explicit Held(const char8_t* text)
            : HeldUpToZero(reinterpret_cast<const char*>(text))
        {
        }
    };
};

template <std::size_t kSize> struct Loggable<char8_t[kSize]> {
    static constexpr Shape kShape = { kText, 0 };
    struct Held : HeldUpToZero {
        HSL_AT_CALL explicit Held(const char8_t (&text)[kSize])
            : HeldUpToZero(reinterpret_cast<const char*>(text), kSize)
        {
        }
    };
};
#endif

// Bounded texts keep their bound: they are short enough already, or cut.
template <typename Unit> struct Loggable<Bounded<Unit>> : Loggable<const Unit*> {
    struct Held : Loggable<const Unit*>::Held {
        explicit Held(const Bounded<Unit>& text)
            : Loggable<const Unit*>::Held(text.Text())
        {
        }
    };
};

// Recorded as an integer: what printf makes of a pointer differs between systems.
struct HeldAddress {
    std::uintptr_t mAddress;
    HSL_AT_CALL explicit HeldAddress(const volatile void* address)
        : mAddress(reinterpret_cast<std::uintptr_t>(address))
    {
    }
    HSL_AT_CALL void Put(AnyField* values, TextRoom&) const { values[0] = IntegerValue(mAddress); }
};

// Of a function nobody wants the address: its call was meant.
template <typename T>
constexpr bool kIsAddress = !std::is_function<T>::value
    && !kIsWideUnit<std::remove_cv_t<T>> && !std::is_same<std::remove_cv_t<T>, char>::value
    && !std::is_same<std::remove_cv_t<T>, unsigned char>::value
#ifdef __cpp_char8_t
    && !std::is_same<std::remove_cv_t<T>, char8_t>::value
#endif
    && !std::is_same<std::remove_cv_t<T>, signed char>::value;

template <typename T> struct Loggable<T*, std::enable_if_t<kIsAddress<T>>> {
    static constexpr Shape kShape = { kAddress, sizeof(void*) };
    using Held = HeldAddress;
};

template <> struct Loggable<std::nullptr_t> {
    static constexpr Shape kShape = { kAddress, sizeof(void*) };
    using Held = HeldAddress;
};

// The text of the unit behind a duration's number, as std::format writes it.
template <typename Period> struct UnitText {
    static constexpr std::size_t kLongest = 48;
    char mText[kLongest] = {};
    std::size_t mLength = 0;

    constexpr void Add(const char* text)
    {
        for (; *text != 0; ++text) {
            mText[mLength++] = *text;
        }
    }
    constexpr void AddNumber(long long number)
    {
        if (number >= 10) {
            AddNumber(number / 10);
        }
        mText[mLength++] = static_cast<char>('0' + number % 10);
    }
    constexpr UnitText()
    {
        const char* known = Known();
        if (known != nullptr) {
            Add(known);
            return;
        }
        Add("[");
        AddNumber(Period::num);
        if (Period::den != 1) {
            Add("/");
            AddNumber(Period::den);
        }
        Add("]s");
    }
    static constexpr const char* Known()
    {
        if (Period::num == 1) {
            switch (Period::den) {
            case 1000000000:
                return "ns";
            case 1000000:
                return "us";
            case 1000:
                return "ms";
            case 1:
                return "s";
            default:
                return nullptr;
            }
        }
        if (Period::den == 1) {
            switch (Period::num) {
            case 60:
                return "min";
            case 3600:
                return "h";
            case 86400:
                return "d";
            default:
                return nullptr;
            }
        }
        return nullptr;
    }
};

template <typename Period> inline constexpr UnitText<Period> kUnitText {};

template <typename Number, typename Period> struct Loggable<std::chrono::duration<Number, Period>> {
    static constexpr Shape Of(Shape shape)
    {
        shape.mUnit = kUnitText<Period>.mText;
        return shape;
    }
    static constexpr Shape kShape = Of(Loggable<Number>::kShape);
    struct Held : Loggable<Number>::Held {
        HSL_AT_CALL explicit Held(std::chrono::duration<Number, Period> value)
            : Loggable<Number>::Held(value.count())
        {
        }
    };
};

// What a clock other than the system's counts from is nobody's date.
template <typename Clock, typename Duration>
struct Loggable<std::chrono::time_point<Clock, Duration>> : Loggable<Duration> {
    struct Held : Loggable<Duration>::Held {
        HSL_AT_CALL explicit Held(std::chrono::time_point<Clock, Duration> value)
            : Loggable<Duration>::Held(value.time_since_epoch())
        {
        }
    };
};

template <typename Duration> struct Loggable<std::chrono::time_point<std::chrono::system_clock, Duration>> {
    using Period = typename Duration::period;
    static constexpr bool kIsDay = Period::den == 1 && Period::num % 86400 == 0;
    static constexpr bool kIsSecond = Period::den == 1;
    static constexpr unsigned char kParts = kIsDay ? 3 : kIsSecond ? 6 : 7;
    static constexpr Shape kShape = { kFixed,
                                      0,
                                      "",
                                      kIsDay          ? "%04d-%02d-%02d"
                                          : kIsSecond ? "%04d-%02d-%02d %02d:%02d:%02d"
                                                      : "%04d-%02d-%02d %02d:%02d:%02d.%06d",
                                      kParts,
                                      kParts * 5 };
    struct Held {
        long long mSeconds;
        int mMicroseconds;
        explicit Held(std::chrono::time_point<std::chrono::system_clock, Duration> value)
        {
            using namespace std::chrono;
            const auto whole = floor<seconds>(value);
            mSeconds = static_cast<long long>(whole.time_since_epoch().count());
            mMicroseconds = static_cast<int>(floor<microseconds>(value - whole).count());
        }
        void Put(AnyField* values, TextRoom&) const { SplitTime(mSeconds, mMicroseconds, values, kParts); }
    };
};

// As a stream shows it: the category's name and the number. Its message would have to be allocated.
template <typename T> struct HeldErrorCode {
    T mCode;
    explicit HeldErrorCode(const T& code)
        : mCode(code)
    {
    }
    void Put(AnyField* values, TextRoom& room) const
    {
        values[0] = TextValue(CutTextAtZero(mCode.category().name(), kUsualTextBytes, room));
        values[1] = IntegerValue(mCode.value());
    }
};

template <> struct Loggable<std::error_code> {
    static constexpr Shape kShape = { kFixed, 0, "", "%s:%d", 2, 8 };
    using Held = HeldErrorCode<std::error_code>;
};

template <> struct Loggable<std::error_condition> {
    static constexpr Shape kShape = { kFixed, 0, "", "%s:%d", 2, 8 };
    using Held = HeldErrorCode<std::error_condition>;
};

template <typename T> struct Loggable<std::optional<T>> {
    static constexpr Shape Of(Shape shape)
    {
        shape.mMayBeEmpty = true;
        return shape.mParts == 1 ? shape : Shape { kNothing, 0 };
    }
    static constexpr Shape kShape = Of(Loggable<T>::kShape);
    struct Held {
        std::optional<typename Loggable<T>::Held> mHeld;
        explicit Held(const std::optional<T>& value)
        {
            if (value.has_value()) {
                mHeld.emplace(*value);
            }
        }
        bool IsEmpty() const { return !mHeld.has_value(); }
        void Put(AnyField* values, TextRoom& room)
        {
            if (mHeld.has_value()) {
                mHeld->Put(values, room);
            } else {
                values[0] = TextValue(WholeText("none", 4, room));
            }
        }
    };
};

// A type of the host's own: what its ToLogText returns.
template <typename T> struct Loggable<T, std::enable_if_t<HasLogText<T>::value>> {
    using Made = decltype(ToLogText(std::declval<const T&>()));
    using Text = std::remove_cv_t<std::remove_reference_t<Made>>;
    static constexpr Shape kShape = Loggable<Text>::kShape;
    struct Held {
        Made mMade; // in front of what looks at it
        typename Loggable<Text>::Held mHeld;
        explicit Held(const T& value)
            : mMade(ToLogText(value))
            , mHeld(mMade)
        {
        }
        Held(const Held&) = delete;
        Held& operator=(const Held&) = delete;
        void Put(AnyField* values, TextRoom& room) { mHeld.Put(values, room); }
    };
};

} // namespace LogFormat
} // namespace HSL

#endif
