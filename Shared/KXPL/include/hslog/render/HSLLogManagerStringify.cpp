// The renderer: takes a record's format and values off the ring and makes the message's text.
#include "HSLMessage.h"

#include "HSLFormatPieces.h"
#include "HSLPieceCheck.h"
#include "hslog/record/HSLRecord.h"
#include "HSLShortcuts.h"
#include "HSLStringify.h"
#include "hslog/HSLValue.h"

#include "KxShortBytes.h"
#include "KxUnicode.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace HSL {
namespace {

using KXPL::lengthUpTo;
using KXPL::lengthUpToZero;

constexpr char kUninitializedIdText[] = "<UNINITIALIZED FORMAT STRING ID USED>";
constexpr char kWideFormatText[] = "<WIDE FORMAT STRING NOT SUPPORTED>";
constexpr char kBadFormatText[] = "<BAD FORMAT STRING>";
constexpr char kBadArgText[] = "<BAD ARG> I'm horribly confused";

constexpr int kMostValues = 10;

// Each holds the longest text that a 16-bit length can announce, and a terminator.
constexpr std::size_t kUnits = 65536;
char gFormatBuffer[kUnits];
char gCharBuffer[kUnits];
// Wide characters as UTF-32 units: the converter writes them, the C library reads them as wchar_t.
KXPL::UTF32 gWCharBuffer[kUnits];
KXPL::UTF16 gTCharBuffer[kUnits];
static_assert(sizeof(wchar_t) == sizeof(KXPL::UTF32), "wide strings are UTF-32");

constexpr Piece conversion(const char* text)
{
    return { text, std::char_traits<char>::length(text), 0 };
}

// What a value without a conversion is rendered with. Those of kLong and kPointer show the low 32 bits only.
constexpr Piece kOwnShort = conversion("%hd");
constexpr Piece kOwnInt = conversion("%d");
constexpr Piece kOwnLongLong = conversion("%lld");
constexpr Piece kOwnUnsignedShort = conversion("%hu");
constexpr Piece kOwnUnsigned = conversion("%u");
constexpr Piece kOwnUnsignedLongLong = conversion("%llu");
constexpr Piece kOwnFloat = conversion("%f");
constexpr Piece kOwnDouble = conversion("%g");
constexpr Piece kOwnPointer = { "0x%x", 4, 2 };
constexpr Piece kOwnString = conversion("%s");
constexpr Piece kOwnWideString = conversion("%S");

// A text where it lies: in the ring, in one of the buffers above or in the table of formats. Not terminated.
struct TextView {
    const char* text;
    std::size_t length;
};

// Takes a 16-bit length and that many bytes. Only where the ring does not hold them in one piece they are
// copied to the buffer.
TextView takeText(RingCursor& ring, char* buffer)
{
    const std::size_t length = ReadField<unsigned short>(ring);
    const unsigned char* inRing = ring.TakeInPlace(length);
    if (inRing != nullptr) {
        return { reinterpret_cast<const char*>(inRing), length };
    }
    ring.Read(buffer, length);
    return { buffer, length };
}

// Takes a 16-bit length and that many units, and terminates them. Returns the length.
template <typename Unit> std::size_t readText(RingCursor& ring, Unit* text)
{
    const std::size_t length = ReadField<unsigned short>(ring);
    ring.Read(text, length * sizeof(Unit));
    text[length] = 0;
    return length;
}

const wchar_t* wideText()
{
    return reinterpret_cast<const wchar_t*>(gWCharBuffer);
}

void readUTF16AsWide(RingCursor& ring)
{
    const std::size_t length = readText(ring, gTCharBuffer);
    const KXPL::UTF16* source = gTCharBuffer;
    KXPL::UTF32* target = gWCharBuffer;
    KXPL::ConvertUTF16toUTF32(&source, gTCharBuffer + length, &target, gWCharBuffer + kUnits - 1,
                              KXPL::lenientConversion);
    *target = 0;
}

// Renders the pieces of one message. Without `render` it appends nothing but the marker of an unknown tag.
class PieceRenderer {
public:
    PieceRenderer(TextBuffer& text, bool render, bool shortcuts, Formats trust)
        : mText(text)
        , mRender(render)
        , mShortcuts(shortcuts)
        , mIsChecked(trust == Formats::kChecked)
    {
    }

    // A text without values, which is a format all the same.
    void Literal(const char* text, std::size_t length)
    {
        if (!mRender || (mShortcuts && appendLiteral(mText, text, length))) {
            return;
        }
        if (mIsChecked && problemOfLiteral(text, length) != FormatCheck::kNone) {
            Raw("<no value for ");
            Raw(text, length);
            return Raw(">");
        }
        appendFormatted(mText, TerminatedText(text, length).Get());
    }

    // A text that is shown as it is.
    void Raw(const char* text, std::size_t length)
    {
        if (mRender) {
            mText.Append(text, length);
        }
    }

    template <std::size_t Size> void Raw(const char (&text)[Size]) { Raw(text, Size - 1); }

    template <std::size_t Size> void Literal(const char (&text)[Size]) { Literal(text, Size - 1); }

    // Takes one value off the ring and renders it with the piece or, if that is null, its type's own.
    void Value(RingCursor& ring, const Piece* piece);

    // Takes one value off the ring and shows it, texts between quotation marks.
    void ValueAsItIs(RingCursor& ring) { AsItIs(ring, ReadField<unsigned char>(ring)); }

private:
    void Render(RingCursor& ring, unsigned char tag, const Piece* piece);
    void AsItIs(RingCursor& ring, unsigned char tag);

    template <typename Argument> void Integer(const Piece& piece, Argument value)
    {
        const unsigned long long bits = static_cast<unsigned long long>(value);
        if (mRender && !(mShortcuts && appendInteger(mText, piece, bits, sizeof value))) {
            Formatted(piece, value);
        }
    }

    void String(RingCursor& ring, const Piece& piece);

    template <typename Argument> void Formatted(const Piece& piece, Argument value)
    {
        if (mRender) {
            appendFormatted(mText, TerminatedText(piece.text, piece.length).Get(), value);
        }
    }

    TextBuffer& mText;
    bool mRender;
    bool mShortcuts;
    bool mIsChecked;
};

void PieceRenderer::String(RingCursor& ring, const Piece& piece)
{
    const TextView string = takeText(ring, gCharBuffer);
    if (!mRender || (mShortcuts && appendString(mText, piece, string.text, string.length))) {
        return;
    }
    std::memmove(gCharBuffer, string.text, string.length);
    gCharBuffer[string.length] = 0;
    Formatted(piece, static_cast<const char*>(gCharBuffer));
}

const char* nameOf(unsigned char tag)
{
    static const char* const kNames[] = { "int8",   "int16",   "int32",  "int64",       "uint8",
                                          "uint16", "uint32",  "uint64", "float",       "double",
                                          "long",   "pointer", "string", "wide string", "UTF-16 string" };
    return tag >= kInt8 && tag <= kUTF16String ? kNames[tag - kInt8] : "?";
}

// Whether the piece ends in a conversion of two characters that suits the tag, as nearly all do.
bool isSimple(const Piece& piece, unsigned char tag)
{
    if (piece.length - piece.percent != 2) {
        return false;
    }
    switch (piece.text[piece.length - 1]) {
    case 'd':
    case 'i':
    case 'u':
    case 'x':
    case 'X':
    case 'o':
        return tag <= kUInt64 || tag == kLong;
    case 's':
        return tag == kString;
    case 'S':
        return tag == kWString || tag == kUTF16String;
    case 'f':
    case 'g':
        return tag == kFloat || tag == kDouble;
    default:
        return false;
    }
}

void PieceRenderer::Value(RingCursor& ring, const Piece* piece)
{
    const unsigned char tag = ReadField<unsigned char>(ring);
    const bool isKnown = tag >= kInt8 && tag <= kUTF16String;
    if (!mIsChecked || piece == nullptr || !isKnown || isSimple(*piece, tag)
        || problemOf(*piece, tag) == FormatCheck::kNone) {
        return Render(ring, tag, piece);
    }
    const char* name = nameOf(tag);
    Raw("<");
    Raw(piece->text, piece->length);
    Raw(" with ");
    Raw(name, std::strlen(name));
    Raw(" ");
    AsItIs(ring, tag);
    Raw(">");
}

// The types' own conversions, but for those that show only half of their value.
void PieceRenderer::AsItIs(RingCursor& ring, unsigned char tag)
{
    static constexpr Piece kWholeLong = conversion("%ld");
    static constexpr Piece kWholePointer = { "0x%lx", 5, 2 };
    if (tag != kString && tag != kWString && tag != kUTF16String) {
        return Render(ring, tag, tag == kLong ? &kWholeLong : (tag == kPointer ? &kWholePointer : nullptr));
    }
    Raw("\"");
    Render(ring, tag, nullptr);
    Raw("\"");
}

void PieceRenderer::Render(RingCursor& ring, unsigned char tag, const Piece* piece)
{
    const auto pieceOr = [piece](const Piece& own) -> const Piece& { return piece != nullptr ? *piece : own; };
    switch (tag) {
    case kInt8:
        return Integer(pieceOr(kOwnShort), static_cast<int>(ReadField<signed char>(ring)));
    case kInt16:
        return Integer(pieceOr(kOwnShort), static_cast<int>(ReadField<short>(ring)));
    case kInt32:
        return Integer(pieceOr(kOwnInt), ReadField<int>(ring));
    case kInt64:
        return Integer(pieceOr(kOwnLongLong), ReadField<long long>(ring));
    case kUInt8:
        return Integer(pieceOr(kOwnUnsignedShort), static_cast<int>(ReadField<unsigned char>(ring)));
    case kUInt16:
        return Integer(pieceOr(kOwnUnsignedShort), static_cast<int>(ReadField<unsigned short>(ring)));
    case kUInt32:
        return Integer(pieceOr(kOwnUnsigned), ReadField<unsigned int>(ring));
    case kUInt64:
        return Integer(pieceOr(kOwnUnsignedLongLong), ReadField<unsigned long long>(ring));
    case kFloat:
        return Formatted(pieceOr(kOwnFloat), static_cast<double>(ReadField<float>(ring)));
    case kDouble:
        return Formatted(pieceOr(kOwnDouble), ReadField<double>(ring));
    case kLong:
        return Integer(pieceOr(kOwnInt), ReadField<long>(ring));
    case kPointer:
        return Integer(pieceOr(kOwnPointer), ReadField<std::uintptr_t>(ring));
    case kString:
        return String(ring, pieceOr(kOwnString));
    case kWString:
        readText(ring, gWCharBuffer);
        return Formatted(pieceOr(kOwnWideString), wideText());
    case kUTF16String:
        readUTF16AsWide(ring);
        return Formatted(pieceOr(kOwnWideString), wideText());
    default:
        ring.SetMisread();
        return PieceRenderer(mText, true, mShortcuts, Formats::kTrusted).Literal(kBadArgText);
    }
}

// What is left of a format behind its last value, up to a zero byte. Conversions without a value are made
// harmless.
void renderLeftover(PieceRenderer& renderer, const Piece& rest)
{
    const std::size_t length = lengthUpToZero(rest.text, rest.length);
    if (lengthUpTo(rest.text, length, '%') == length) {
        return renderer.Literal(rest.text, length);
    }
    std::string defused(rest.text, length);
    std::replace(defused.begin(), defused.end(), '%', '_');
    const std::string report = "[extra format arguments: " + defused + " ]";
    renderer.Literal(report.data(), report.size());
}

template <std::size_t Size> TextView view(const char (&text)[Size])
{
    return { text, Size - 1 };
}

// Sets `holdsZero` if the format has a zero byte, as only an entry of the table can.
TextView readFormat(RingCursor& ring, const std::vector<CLogManager::CFormatStringEntry>& formats,
                    bool& holdsZero)
{
    const unsigned char kind = ReadField<unsigned char>(ring);
    if (kind == kFormatInline) {
        const TextView announced = takeText(ring, gFormatBuffer);
        return { announced.text, lengthUpToZero(announced.text, announced.length) };
    }
    if (kind != kFormatId) {
        ring.SetMisread();
        return view(kBadFormatText);
    }
    const short id = ReadField<short>(ring);
    if (id == kUninitializedFormatId) {
        return view(kUninitializedIdText);
    }
    // An id outside the table is a caller's mistake that nothing reports: it acts as an empty format.
    const std::size_t index = static_cast<std::size_t>(id);
    if (index >= formats.size()) {
        return view("");
    }
    const CLogManager::CFormatStringEntry& entry = formats[index];
    if (!entry.mNarrow) {
        return view(kWideFormatText);
    }
    const TextView text { entry.mString.data(), entry.mString.size() };
    holdsZero = lengthUpToZero(text.text, text.length) != text.length;
    return text;
}

// kEndless only for formats that are checked; for others that search never returns.
FormatPieces::Found next(FormatPieces& pieces, Piece& piece, Formats trust)
{
    if (trust == Formats::kChecked) {
        return pieces.Seek(piece);
    }
    return pieces.Next(piece) ? FormatPieces::kPiece : FormatPieces::kNoMore;
}

void renderAsItIs(PieceRenderer& renderer, RingCursor& ring, TextView format, int count)
{
    renderer.Raw("<NEVER RETURNS> ");
    renderer.Raw(format.text, format.length);
    renderer.Raw(" (");
    for (int i = 0; i < count; ++i) {
        renderer.ValueAsItIs(ring);
        i + 1 < count ? renderer.Raw(", ") : renderer.Raw(")");
    }
}

} // namespace

void appendMessage(TextBuffer& text, bool render, RingCursor& ring,
                   const std::vector<CLogManager::CFormatStringEntry>& formats, Formats trust)
{
    bool holdsZero = false;
    const TextView format = readFormat(ring, formats, holdsZero);
    const int count = ReadField<signed char>(ring);
    if (count < 0 || count > kMostValues) {
        ring.SetMisread();
    }
    // The C library ends a piece at a zero byte.
    PieceRenderer renderer(text, render, gShortcuts && !holdsZero, trust);
    if (count <= 0) {
        return renderer.Literal(format.text, format.length);
    }
    const RingCursor values = ring;
    const std::size_t begin = text.Size();
    FormatPieces pieces(format.text, format.length);
    Piece piece;
    bool exhausted = false;
    for (int i = 0; i < count; ++i) {
        const FormatPieces::Found found = exhausted ? FormatPieces::kPiece : next(pieces, piece, trust);
        if (found == FormatPieces::kEndless) {
            // From the first value on, so that the whole format is shown as it is.
            ring = values;
            text.Shorten(begin);
            return renderAsItIs(renderer, ring, format, count);
        }
        if (found == FormatPieces::kNoMore) {
            pieces.Rest(piece);
            renderer.Literal(piece.text, piece.length);
            renderer.Literal(" (");
            exhausted = true;
        }
        renderer.Value(ring, exhausted ? nullptr : &piece);
        if (exhausted && i < count - 1) {
            renderer.Literal(", ");
        }
    }
    if (!pieces.AtEnd()) {
        pieces.Rest(piece);
        renderLeftover(renderer, piece);
    }
    if (exhausted) {
        renderer.Literal(") ");
    }
}

std::string CLogManager::StringifyFormatArgs(bool render, CCircularBuffer& buffer)
{
    RingCursor ring(buffer.mControl);
    TextBuffer text;
    appendMessage(text, render, ring, mFormatStrings);
    ring.Publish();
    return std::string(text.CStr(), text.Size());
}

} // namespace HSL
