#include "CrashLogRecords.h"

#include "hslog/HSLCat.h"
#include "hslog/record/HSLRecord.h"

#include <cstdint>
#include <cstring>

namespace HSL {
namespace CrashLog {
namespace {

constexpr int kMostValues = 10;
// A call leaves room for this much. What claims more is taken for a length that was misread.
constexpr std::size_t kLongestUnfinished = static_cast<std::size_t>(kReserveBytes);
constexpr unsigned int kMicrosecondsPerSecond = 1000000;
constexpr std::uint32_t kReplacement = 0xFFFD;

enum class Found {
    kRecord,
    kUnfinished, // the bytes end in front of the record's end
    kNonsense
};

// Takes fields off bytes; behind their end it remembers that they are missing.
class Fields {
public:
    Fields(const std::string& bytes, std::size_t at)
        : mBytes(bytes)
        , mAt(at)
    {
    }

    const char* Take(std::size_t size)
    {
        static const char kNothing[16] = {};
        if (size > mBytes.size() - mAt) {
            mIsShort = true;
            return size <= sizeof kNothing ? kNothing : nullptr;
        }
        mAt += size;
        return mBytes.data() + (mAt - size);
    }

    template <typename T> T Number()
    {
        T number;
        std::memcpy(&number, Take(sizeof number), sizeof number);
        return number;
    }

    std::size_t At() const { return mAt; }
    void GoTo(std::size_t at) { mAt = at; }
    bool IsShort() const { return mIsShort; }

private:
    const std::string& mBytes;
    std::size_t mAt;
    bool mIsShort = false;
};

template <typename T> void append(std::string& bytes, T number)
{
    bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
}

// A number of the writer's width, in this build's.
template <typename Native, typename Wide>
void appendNative(std::string& body, Fields& fields, unsigned int width)
{
    Wide number = 0;
    if (width == 4) {
        number = fields.Number<std::conditional_t<std::is_signed<Wide>::value, std::int32_t, std::uint32_t>>();
    } else {
        number = fields.Number<Wide>();
    }
    append(body, static_cast<Native>(number));
}

bool isSurrogate(std::uint32_t unit)
{
    return unit >= 0xD800 && unit <= 0xDFFF;
}

// The C library refuses a whole text for one unit that is no character.
template <typename Unit> void appendUnits(std::string& body, const char* from, std::size_t length)
{
    append(body, static_cast<unsigned short>(length));
    for (std::size_t i = 0; i < length; ++i) {
        Unit unit;
        std::memcpy(&unit, from + i * sizeof unit, sizeof unit);
        Unit next = 0;
        if (i + 1 < length) {
            std::memcpy(&next, from + (i + 1) * sizeof unit, sizeof unit);
        }
        const bool isPair =
            sizeof unit == 2 && unit < 0xDC00 && isSurrogate(unit) && next >= 0xDC00 && next <= 0xDFFF;
        if (isSurrogate(unit) && isPair) {
            append(body, unit);
            append(body, next);
            ++i;
            continue;
        }
        const bool isCharacter = !isSurrogate(unit) && static_cast<std::uint32_t>(unit) <= 0x10FFFF;
        append(body, isCharacter ? unit : static_cast<Unit>(kReplacement));
    }
}

class Parser {
public:
    Parser(const std::string& bytes, Widths widths)
        : mBytes(bytes)
        , mWidths(widths)
    {
    }

    // On kRecord, `at` moves behind the record.
    Found Next(std::size_t& at, PendingRecord& record) const;

    // Whether a record may begin here: as much of its header as there is makes sense.
    bool MayBegin(std::size_t at) const;

private:
    Found Header(Fields& fields, PendingRecord& record) const;
    Found Format(Fields& fields, PendingRecord& record) const;
    Found Value(Fields& fields, PendingRecord& record) const;
    bool WideText(Fields& fields, PendingRecord& record) const;
    bool IsNullWideText(std::size_t at) const;

    const std::string& mBytes;
    Widths mWidths;
};

Found Parser::Header(Fields& fields, PendingRecord& record) const
{
    if (fields.Number<unsigned char>() != 0) {
        return Found::kNonsense;
    }
    record.mSequence = fields.Number<int>();
    record.mSeconds = fields.Number<unsigned int>();
    record.mMicroseconds = fields.Number<unsigned int>();
    record.mDepth = fields.Number<unsigned char>();
    const unsigned char categories = fields.Number<unsigned char>();
    if (categories > CCat::kMaxCodes) {
        return Found::kNonsense;
    }
    record.mCategories.assign(fields.Take(categories), categories);
    return fields.IsShort() ? Found::kUnfinished : Found::kRecord;
}

Found Parser::Format(Fields& fields, PendingRecord& record) const
{
    const unsigned char kind = fields.Number<unsigned char>();
    if (fields.IsShort()) {
        return Found::kUnfinished;
    }
    if (kind != kFormatInline && kind != kFormatId) {
        return Found::kNonsense;
    }
    record.mBody.assign(1, static_cast<char>(kind));
    const unsigned short number = fields.Number<unsigned short>(); // an id or a length
    append(record.mBody, number);
    if (kind == kFormatInline) {
        const char* text = fields.Take(number);
        if (text != nullptr) {
            record.mBody.append(text, fields.IsShort() ? 0 : number);
        }
    }
    return fields.IsShort() ? Found::kUnfinished : Found::kRecord;
}

// A null wide text is stored with the number of its bytes where others have that of their characters.
bool Parser::IsNullWideText(std::size_t at) const
{
    constexpr std::uint32_t kText[] = { '<', 'N', 'U', 'L', 'L', '>' };
    return mBytes.size() - at >= sizeof kText && std::memcmp(mBytes.data() + at, kText, sizeof kText) == 0;
}

bool Parser::WideText(Fields& fields, PendingRecord& record) const
{
    const unsigned short length = fields.Number<unsigned short>();
    constexpr unsigned short kNullBytes = 24;
    const bool isNull = length == kNullBytes && !fields.IsShort() && IsNullWideText(fields.At());
    const std::size_t units = isNull ? kNullBytes / 4 : length;
    const char* text = fields.Take(units * 4);
    if (!fields.IsShort()) {
        appendUnits<std::uint32_t>(record.mBody, text, units);
    }
    return !fields.IsShort();
}

Found Parser::Value(Fields& fields, PendingRecord& record) const
{
    const unsigned char tag = fields.Number<unsigned char>();
    if (fields.IsShort()) {
        return Found::kUnfinished;
    }
    std::string& body = record.mBody;
    body += static_cast<char>(tag);
    if (tag == kString || tag == kUTF16String) {
        const unsigned short length = fields.Number<unsigned short>();
        const char* text = fields.Take(tag == kString ? length : length * 2u);
        if (!fields.IsShort() && tag == kString) {
            append(body, length);
            body.append(text, length);
        } else if (!fields.IsShort()) {
            appendUnits<std::uint16_t>(body, text, length);
        }
    } else if (tag == kWString) {
        WideText(fields, record);
    } else if (tag == kLong) {
        appendNative<long, std::int64_t>(body, fields, mWidths.mLong);
    } else if (tag == kPointer) {
        appendNative<std::uintptr_t, std::uint64_t>(body, fields, mWidths.mPointer);
    } else if (NumberSize(tag) != 0) {
        body.append(fields.Take(NumberSize(tag)), NumberSize(tag));
    } else {
        return Found::kNonsense;
    }
    return fields.IsShort() ? Found::kUnfinished : Found::kRecord;
}

Found Parser::Next(std::size_t& at, PendingRecord& record) const
{
    Fields fields(mBytes, at);
    Found found = Header(fields, record);
    if (found == Found::kRecord) {
        found = Format(fields, record);
    }
    if (found != Found::kRecord) {
        return found;
    }
    const unsigned char count = fields.Number<unsigned char>();
    if (fields.IsShort()) {
        return Found::kUnfinished;
    }
    if (count > kMostValues) {
        return Found::kNonsense;
    }
    record.mBody += static_cast<char>(count);
    for (int i = 0; i < count && found == Found::kRecord; ++i) {
        found = Value(fields, record);
    }
    at = found == Found::kRecord ? fields.At() : at;
    return found;
}

bool Parser::MayBegin(std::size_t at) const
{
    Fields fields(mBytes, at);
    PendingRecord record;
    if (at == mBytes.size()) {
        return true;
    }
    const Found found = Header(fields, record);
    if (found != Found::kRecord) {
        return found == Found::kUnfinished;
    }
    const unsigned char kind = fields.Number<unsigned char>();
    return record.mMicroseconds < kMicrosecondsPerSecond
        && (fields.IsShort() || kind == kFormatInline || kind == kFormatId);
}

bool overlaps(const RingBytes& ring, std::size_t from, std::size_t to)
{
    for (const auto& hole : ring.mHoles) {
        if (from < hole.second && hole.first < to) {
            return true;
        }
    }
    return false;
}

// Whether a number may follow another one in the same ring; past the largest they go on with the smallest.
bool rises(int from, int to)
{
    return static_cast<int>(static_cast<unsigned int>(to) - static_cast<unsigned int>(from)) > 0;
}

} // namespace

RingRecords recordsIn(const RingBytes& ring, Widths widths)
{
    const Parser parser(ring.mBytes, widths);
    RingRecords found;
    bool isInStep = !ring.mIsWholeArea;
    std::size_t at = 0;
    while (at < ring.mBytes.size()) {
        PendingRecord record;
        const std::size_t begin = at;
        const Found next = parser.Next(at, record);
        const bool isAfter = found.mRecords.empty() || ring.mIsWholeArea
            || rises(found.mRecords.back().mSequence, record.mSequence);
        const bool isLikely =
            isInStep || (parser.MayBegin(begin) && !record.mCategories.empty() && parser.MayBegin(at));
        if (next == Found::kRecord && isAfter && isLikely && !overlaps(ring, begin, at)) {
            found.mRecords.push_back(std::move(record));
            isInStep = true;
        } else if (next == Found::kUnfinished && isInStep && ring.mBytes.size() - begin <= kLongestUnfinished
                   && !overlaps(ring, begin, ring.mBytes.size())) {
            found.mUnfinished = ring.mBytes.size() - begin;
            break;
        } else {
            ++found.mNonsense;
            at = begin + 1;
            isInStep = false;
        }
    }
    return found;
}

} // namespace CrashLog
} // namespace HSL
