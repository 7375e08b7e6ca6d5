#include "Messages.h"

#include <cstdio>

namespace soak {
namespace {

using HSL::CValue;

// A record and a dropped-messages record behind it must fit into the 4,096 bytes that a context keeps free.
constexpr unsigned int kTextBytesPerMessage = 3400;

const std::vector<const char*>& conversionsOf(unsigned char type)
{
    static const std::vector<const char*> conversions[] = {
        { "%hd", "%d", "%4hd" },
        { "%hd", "%6d" },
        { "%d", "%i", "%08d", "%-7d" },
        { "%lld", "%20lld" },
        { "%hu", "%u", "%#x" },
        { "%hu", "%o" },
        { "%u", "%x", "%08X" },
        { "%llu", "%llx" },
        { "%f", "%.3f", "%e" },
        { "%g", "%.17g", "%12.4f" },
        { "%ld", "%lx" },
        { "%p" },
        { "%s", "%30s", "%-12s" },
        { "%S" },
        { "%S" },
    };
    return conversions[type - HSL::kInt8];
}

// No "%" and no backslash: those would be part of the format.
std::string literalOf(Random& random)
{
    static const char letters[] = " abcdefghijklmnopqrstuvwxyz_=:;,.!?(){}<>|-+*&^$#@~'\"\t";
    std::string literal = " ";
    for (unsigned int left = random.Below(random.Below(20) == 0 ? 120 : 12); left > 0; --left) {
        literal += letters[random.Below(sizeof letters - 1)];
    }
    return literal;
}

// Of one to four bytes in UTF-8; never 0, never a surrogate.
unsigned int characterOf(Random& random)
{
    switch (random.Below(16)) {
    case 0:
        return 0x80 + random.Below(0x780);
    case 1:
        return 0x800 + random.Below(0xd000);
    case 2:
        return 0x10000 + random.Below(0xf0000);
    default:
        return 0x20 + random.Below(0x5f);
    }
}

void appendUTF8(std::string& text, unsigned int c)
{
    const auto add = [&text](unsigned int byte) { text += static_cast<char>(byte); };
    if (c < 0x80) {
        add(c);
    } else if (c < 0x800) {
        add(0xc0 | c >> 6);
        add(0x80 | (c & 0x3f));
    } else if (c < 0x10000) {
        add(0xe0 | c >> 12);
        add(0x80 | (c >> 6 & 0x3f));
        add(0x80 | (c & 0x3f));
    } else {
        add(0xf0 | c >> 18);
        add(0x80 | (c >> 12 & 0x3f));
        add(0x80 | (c >> 6 & 0x3f));
        add(0x80 | (c & 0x3f));
    }
}

} // namespace

unsigned long long Random::Next()
{
    unsigned long long z = mState += 0x9e3779b97f4a7c15u;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
    return z ^ (z >> 31);
}

Shapes::Shapes(unsigned long long seed)
{
    constexpr unsigned char kTypesOfFirstTwo[2][8] = {
        { HSL::kInt8, HSL::kInt16, HSL::kInt32, HSL::kInt64, HSL::kUInt8, HSL::kUInt16, HSL::kUInt64,
          HSL::kFloat },
        { HSL::kDouble, HSL::kLong, HSL::kPointer, HSL::kString, HSL::kWString, HSL::kUTF16String, HSL::kUInt32,
          HSL::kInt32 },
    };
    Random random(seed);
    for (std::size_t i = 0; i < kCount; ++i) {
        Shape shape;
        shape.format = "%u/%u";
        const std::size_t values = i < 2 ? 8 : random.Below(9);
        for (std::size_t j = 0; j < values; ++j) {
            const unsigned char type = i < 2
                ? kTypesOfFirstTwo[i][j]
                : static_cast<unsigned char>(HSL::kInt8 + random.Below(HSL::kUTF16String - HSL::kInt8 + 1));
            const std::vector<const char*>& conversions = conversionsOf(type);
            shape.pieces.push_back(
                { type, literalOf(random),
                  conversions[random.Below(static_cast<unsigned int>(conversions.size()))] });
            shape.format += shape.pieces.back().literal + shape.pieces.back().conversion;
        }
        mShapes.push_back(shape);
    }
}

Message::Message(unsigned long long seed, const Shapes& shapes)
    : mSeed(seed)
    , mShapes(shapes)
{
    mValues.reserve(10);
}

void Message::Make(unsigned int thread, unsigned int serial)
{
    Random random(mSeed ^ (static_cast<unsigned long long>(thread) << 32 | serial));
    random.Next();
    mValues.clear();
    mBytesLeft = kTextBytesPerMessage;
    mDepth = static_cast<int>(random.Below(8) == 0 ? random.Below(40) : random.Below(3));
    mText = std::to_string(thread) + "/" + std::to_string(serial);
    const unsigned int kind = random.Below(16);
    mWay = kind < 2 ? Way::kTextAlone
        : kind < 4  ? Way::kOneString
        : kind < 7  ? Way::kKnownTypes
                    : Way::kAnyTypes;
    if (mWay == Way::kTextAlone || mWay == Way::kOneString) {
        mText += literalOf(random);
        if (mWay == Way::kOneString) {
            mNarrow[0] = mText;
            mValues.emplace_back(mNarrow[0].c_str());
        }
        return;
    }
    mShape = mWay == Way::kKnownTypes ? random.Below(2) : random.Below(Shapes::kCount);
    mValues.emplace_back(thread);
    mValues.emplace_back(serial);
    for (const Shape::Piece& piece : mShapes[mShape].pieces) {
        mText += piece.literal;
        AddValue(random, piece);
    }
}

template <typename T> void Message::Append(const char* conversion, T value)
{
    char text[400];
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    std::snprintf(text, sizeof text, conversion, value);
#pragma GCC diagnostic pop
    mText += text;
}

void Message::AddValue(Random& random, const Shape::Piece& piece)
{
    // Small numbers as often as large ones, of either sign.
    const unsigned long long bits = random.Next() >> random.Below(64);
    const long long number =
        random.Below(2) == 0 ? static_cast<long long>(bits) : -static_cast<long long>(bits >> 1);
    const auto add = [&](auto value) {
        mValues.emplace_back(value);
        Append(piece.conversion, value);
    };
    switch (piece.type) {
    case HSL::kInt8:
        return add(static_cast<signed char>(number));
    case HSL::kInt16:
        return add(static_cast<short>(number));
    case HSL::kInt32:
        return add(static_cast<int>(number));
    case HSL::kInt64:
        return add(number);
    case HSL::kUInt8:
        return add(static_cast<unsigned char>(bits));
    case HSL::kUInt16:
        return add(static_cast<unsigned short>(bits));
    case HSL::kUInt32:
        return add(static_cast<unsigned int>(bits));
    case HSL::kUInt64:
        return add(bits);
    case HSL::kFloat:
        return add(static_cast<float>(number) / 16.0f);
    case HSL::kDouble:
        return add(static_cast<double>(number) / 7.0);
    case HSL::kLong:
        return add(static_cast<long>(number));
    case HSL::kPointer:
        return add(reinterpret_cast<const void*>(static_cast<unsigned long>(bits)));
    default:
        return AddString(random, piece);
    }
}

unsigned int Message::TextLength(Random& random, unsigned int unitSize)
{
    const unsigned int chance = random.Below(100);
    const unsigned int wanted = random.Below(chance < 80 ? 40 : (chance < 98 ? 300 : 3000));
    const unsigned int length = wanted < mBytesLeft / unitSize ? wanted : mBytesLeft / unitSize;
    mBytesLeft -= length * unitSize;
    return length;
}

void Message::AddString(Random& random, const Shape::Piece& piece)
{
    const std::size_t slot = mValues.size();
    std::string shown;
    if (piece.type == HSL::kString) {
        for (unsigned int left = TextLength(random, 1); left > 0; --left) {
            // Any byte but the terminator, "%" and the backslash too: it is a value.
            shown += static_cast<char>(1 + random.Below(255));
        }
        mNarrow[slot] = shown;
        mValues.emplace_back(mNarrow[slot].c_str());
        const std::size_t width = std::string(piece.conversion) == "%30s" ? 30 : 12;
        const std::string padding(shown.size() < width ? width - shown.size() : 0, ' ');
        if (std::string(piece.conversion) == "%s") {
            mText += shown;
        } else {
            mText += width == 30 ? padding + shown : shown + padding;
        }
        return;
    }
    if (piece.type == HSL::kWString) {
        mWide[slot].clear();
        for (unsigned int left = TextLength(random, 4); left > 0; --left) {
            const unsigned int c = characterOf(random);
            mWide[slot] += static_cast<wchar_t>(c);
            appendUTF8(mText, c);
        }
        mValues.emplace_back(mWide[slot].c_str());
        return;
    }
    std::vector<unsigned short>& units = mUTF16[slot];
    units.clear();
    for (unsigned int left = TextLength(random, 4); left > 0; --left) {
        const unsigned int c = characterOf(random);
        if (c < 0x10000) {
            units.push_back(static_cast<unsigned short>(c));
        } else {
            units.push_back(static_cast<unsigned short>(0xd800 + ((c - 0x10000) >> 10)));
            units.push_back(static_cast<unsigned short>(0xdc00 + ((c - 0x10000) & 0x3ff)));
        }
        appendUTF8(mText, c);
    }
    units.push_back(0);
    mValues.emplace_back(static_cast<const unsigned short*>(units.data()));
}

} // namespace soak
