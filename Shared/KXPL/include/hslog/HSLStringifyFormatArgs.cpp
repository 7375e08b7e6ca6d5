// The renderer: takes a record's format and values off the ring and makes the message's text.
#include "HSLLogManager.h"

#include "HSLRecord.h"
#include "HSLRecordReader.h"
#include "HSLStringify.h"
#include "HSLValue.h"

#include "../KxUnicode.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace HSL {
namespace {

constexpr char kUninitializedIdText[] = "<UNINITIALIZED FORMAT STRING ID USED>";
constexpr char kWideFormatText[] = "<WIDE FORMAT STRING NOT SUPPORTED>";
constexpr char kBadFormatText[] = "<BAD FORMAT STRING>";
constexpr char kBadArgText[] = "<BAD ARG> I'm horribly confused";
constexpr char kConversionLetters[] = "cCdiouxXeEfgGnpsS";

// Each holds the longest text that a 16-bit length can announce, and a terminator.
constexpr std::size_t kUnits = 65536;
char gFormatBuffer[kUnits];
char gCharBuffer[kUnits];
// Wide characters as UTF-32 units: the converter writes them, the C library reads them as wchar_t.
KXPL::UTF32 gWCharBuffer[kUnits];
KXPL::UTF16 gTCharBuffer[kUnits];
static_assert(sizeof(wchar_t) == sizeof(KXPL::UTF32), "wide strings are UTF-32");

// Takes a 16-bit length and that many units, and terminates them. Returns the length.
template <typename Unit> std::size_t readText(CCircularBuffer& buffer, Unit* text)
{
    const std::size_t length = ReadField<unsigned short>(buffer);
    ReadBytes(buffer, text, length * sizeof(Unit));
    text[length] = 0;
    return length;
}

const wchar_t* wideText()
{
    return reinterpret_cast<const wchar_t*>(gWCharBuffer);
}

void readUTF16AsWide(CCircularBuffer& buffer)
{
    const std::size_t length = readText(buffer, gTCharBuffer);
    const KXPL::UTF16* source = gTCharBuffer;
    KXPL::UTF32* target = gWCharBuffer;
    KXPL::ConvertUTF16toUTF32(&source, gTCharBuffer + length, &target, gWCharBuffer + kUnits - 1,
                              KXPL::lenientConversion);
    *target = 0;
}

// Cuts a format into pieces of one conversion each.
class FormatPieces {
public:
    explicit FormatPieces(const std::string& format)
        : mFormat(format)
    {
    }

    // The text up to and including the next conversion; empty when there is none left.
    //
    // A conversion that looks escaped (a "%" behind a backslash, or a doubled one) sends the search back to
    // where it began, so it never ends. The write to a volatile keeps the compiler from removing the loop.
    std::string Next()
    {
        const std::size_t lastIndex = mFormat.size() - 1;
        for (volatile unsigned int searches = 0;; searches = searches + 1) {
            const std::size_t percent = mFormat.find('%', mPosition);
            if (percent == std::string::npos) {
                return std::string();
            }
            if (percent != 0 && mFormat[percent - 1] == '\\') {
                continue;
            }
            if (percent < lastIndex && mFormat[percent + 1] == '%') {
                continue;
            }
            const std::size_t letter = mFormat.find_first_of(kConversionLetters, percent);
            if (letter == std::string::npos) {
                return std::string();
            }
            return Take(letter + 1);
        }
    }

    // Everything not yet taken.
    std::string Rest() { return Take(mFormat.size()); }

    bool AtEnd() const { return mPosition >= mFormat.size(); }

private:
    std::string Take(std::size_t end)
    {
        const std::string taken = mFormat.substr(mPosition, end - mPosition);
        mPosition = end;
        return taken;
    }

    const std::string& mFormat;
    std::size_t mPosition = 0;
};

// Takes one value off the ring and renders it with the piece or, if that is empty, its type's own format. The
// formats of kLong and kPointer show the low 32 bits only.
std::string renderValue(bool render, CCircularBuffer& buffer, const std::string& piece)
{
    const auto formatOr = [&piece](const char* own) { return piece.empty() ? own : piece.c_str(); };
    const unsigned char tag = ReadField<unsigned char>(buffer);
    switch (tag) {
    case kInt8:
        return stringify(render, formatOr("%hd"), static_cast<int>(ReadField<signed char>(buffer)));
    case kInt16:
        return stringify(render, formatOr("%hd"), static_cast<int>(ReadField<short>(buffer)));
    case kInt32:
        return stringify(render, formatOr("%d"), ReadField<int>(buffer));
    case kInt64:
        return stringify(render, formatOr("%lld"), ReadField<long long>(buffer));
    case kUInt8:
        return stringify(render, formatOr("%hu"), static_cast<int>(ReadField<unsigned char>(buffer)));
    case kUInt16:
        return stringify(render, formatOr("%hu"), static_cast<int>(ReadField<unsigned short>(buffer)));
    case kUInt32:
        return stringify(render, formatOr("%u"), ReadField<unsigned int>(buffer));
    case kUInt64:
        return stringify(render, formatOr("%llu"), ReadField<unsigned long long>(buffer));
    case kFloat:
        return stringify(render, formatOr("%f"), static_cast<double>(ReadField<float>(buffer)));
    case kDouble:
        return stringify(render, formatOr("%g"), ReadField<double>(buffer));
    case kLong:
        return stringify(render, formatOr("%d"), ReadField<long>(buffer));
    case kPointer:
        return stringify(render, formatOr("0x%x"), ReadField<std::uintptr_t>(buffer));
    case kString:
        readText(buffer, gCharBuffer);
        return stringify(render, formatOr("%s"), gCharBuffer);
    case kWString:
        readText(buffer, gWCharBuffer);
        return stringify(render, formatOr("%S"), wideText());
    case kUTF16String:
        readUTF16AsWide(buffer);
        return stringify(render, formatOr("%S"), wideText());
    default:
        return stringify(true, kBadArgText);
    }
}

// What is left of a format behind its last value, up to a zero byte. Conversions without a value are made
// harmless.
std::string leftover(const std::string& format)
{
    const std::string rest = format.c_str();
    if (rest.find('%') == std::string::npos) {
        return rest;
    }
    std::string defused = rest;
    std::replace(defused.begin(), defused.end(), '%', '_');
    return "[extra format arguments: " + defused + " ]";
}

std::string readFormat(CCircularBuffer& buffer, const std::vector<CLogManager::CFormatStringEntry>& entries)
{
    const unsigned char kind = ReadField<unsigned char>(buffer);
    if (kind == kFormatInline) {
        readText(buffer, gFormatBuffer);
        return gFormatBuffer;
    }
    if (kind != kFormatId) {
        return kBadFormatText;
    }
    const short id = ReadField<short>(buffer);
    if (id == kUninitializedFormatId) {
        return kUninitializedIdText;
    }
    // An id outside the table is a caller's mistake that nothing reports: it acts as an empty format.
    const std::size_t index = static_cast<std::size_t>(id);
    if (index >= entries.size()) {
        return std::string();
    }
    const CLogManager::CFormatStringEntry& entry = entries[index];
    return entry.mNarrow ? entry.mString : kWideFormatText;
}

} // namespace

std::string CLogManager::StringifyFormatArgs(bool render, CCircularBuffer& buffer)
{
    const std::string format = readFormat(buffer, mFormatStrings);
    const int count = ReadField<signed char>(buffer);
    if (count <= 0) {
        return stringify(render, format.c_str());
    }

    FormatPieces pieces(format);
    bool exhausted = false;
    std::string result;
    for (int i = 0; i < count; ++i) {
        std::string piece;
        if (!exhausted) {
            piece = pieces.Next();
            if (piece.empty()) {
                result += stringify(render, pieces.Rest().c_str());
                result += stringify(render, " (");
                exhausted = true;
            }
        }
        result += renderValue(render, buffer, piece);
        if (exhausted && i < count - 1) {
            result += stringify(render, ", ");
        }
    }
    if (!pieces.AtEnd()) {
        result += stringify(render, leftover(pieces.Rest()).c_str());
    }
    if (exhausted) {
        result += stringify(render, ") ");
    }
    return result;
}

} // namespace HSL
