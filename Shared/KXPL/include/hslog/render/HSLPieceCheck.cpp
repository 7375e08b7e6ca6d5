#include "HSLPieceCheck.h"

#include "hslog/HSLValue.h"

#include "KxShortBytes.h"

namespace HSL {
namespace {

using FormatCheck::Conversion;
using FormatCheck::Problem;
using FormatCheck::ValueKind;

constexpr ValueKind integer(std::size_t size, bool isLong = false)
{
    return { ValueKind::kInteger, size, isLong, FormatCheck::kNone };
}

ValueKind kindOf(unsigned char tag)
{
    switch (tag) {
    case kInt8:
    case kUInt8:
        return integer(1);
    case kInt16:
    case kUInt16:
        return integer(2);
    case kInt32:
    case kUInt32:
        return integer(4);
    case kInt64:
    case kUInt64:
        return integer(8);
    case kLong:
        return integer(sizeof(long), true);
    case kFloat:
    case kDouble:
        return { ValueKind::kReal, sizeof(double), false, FormatCheck::kNone };
    case kPointer:
        return { ValueKind::kAddress, sizeof(void*), false, FormatCheck::kNone };
    case kString:
        return { ValueKind::kNarrowText, sizeof(void*), false, FormatCheck::kNone };
    case kWString:
    case kUTF16String:
        return { ValueKind::kWideText, sizeof(void*), false, FormatCheck::kNone };
    default:
        return { ValueKind::kNothing, 0, false, FormatCheck::kNoValueType };
    }
}

// What a conversion takes of an integer argument; 0 for one that takes something else.
std::size_t bytesRead(const Conversion& conversion)
{
    if (FormatCheck::IsOneOf(conversion.mLetter, "cC")) {
        return conversion.mLength == 0 || conversion.mLength == 'l' ? sizeof(int) : 0;
    }
    if (conversion.mLetter == 'p') {
        return conversion.mLength == 0 ? sizeof(void*) : 0;
    }
    if (!FormatCheck::IsOneOf(conversion.mLetter, "diouxX")) {
        return 0;
    }
    switch (conversion.mLength) {
    case 0:
    case 'h':
    case 'H':
        return sizeof(int);
    case 'l':
        return sizeof(long);
    case 'z':
    case 't':
        return sizeof(std::size_t);
    default:
        return sizeof(long long);
    }
}

bool isWithin(const Conversion& conversion, const ValueKind& value)
{
    if (value.mClass != ValueKind::kInteger && value.mClass != ValueKind::kAddress) {
        return false;
    }
    const std::size_t handed = value.mSize < sizeof(int) ? sizeof(int) : value.mSize;
    const std::size_t read = bytesRead(conversion);
    return read != 0 && read <= handed;
}

} // namespace

Problem problemOf(const Piece& piece, unsigned char tag)
{
    const ValueKind value = kindOf(tag);
    const Conversion conversion = FormatCheck::ParseConversion(piece.text, piece.percent, piece.length - 1);
    const Problem problem = FormatCheck::ProblemOf(conversion, value);
    return problem == FormatCheck::kUnsuitable && isWithin(conversion, value) ? FormatCheck::kNone : problem;
}

Problem problemOfLiteral(const char* text, std::size_t length)
{
    const std::size_t end = KXPL::lengthUpToZero(text, length);
    for (std::size_t i = 0; i < end; ++i) {
        if (text[i] == '%' && ++i < end && text[i] != '%') {
            return FormatCheck::kTooFewValues;
        }
    }
    return FormatCheck::kNone;
}

} // namespace HSL
