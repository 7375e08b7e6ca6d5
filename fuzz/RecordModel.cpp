#include "RecordModel.h"

#include "RecordFormats.h"
#include "UnicodeModel.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <ctime>

namespace {

constexpr std::size_t kNone = std::string::npos;
constexpr std::size_t kMostCategories = 10;

// What the C library's formatter makes of it, cut as every piece is; where it fails, what it wrote before.
template <typename... Values> std::string printed(bool render, const std::string& format, Values... values)
{
    static char buffer[65536];
    // No format takes the zero; without it compilers take a format that comes alone for a mistake.
    buffer[0] = 0;
    return render && std::snprintf(buffer, sizeof buffer, format.c_str(), values..., 0) != 0 ? buffer : "";
}

FormattedValue formattedValue(int tag)
{
    switch (tag) {
    case 4:
    case 5:
    case 6:
    case 8:
    case 9:
    case 10:
        return { FormattedValue::integer, sizeof(int) };
    case 7:
    case 11:
        return { FormattedValue::integer, 8 };
    case 12:
    case 13:
        return { FormattedValue::real, 8 };
    case 14:
        return { FormattedValue::integer, sizeof(long) };
    case 15:
        return { FormattedValue::integer, sizeof(void*) };
    case 16:
        return { FormattedValue::narrowText, 0 };
    case 17:
    case 18:
        return { FormattedValue::wideText, 0 };
    default:
        return { FormattedValue::nothing, 0 };
    }
}

template <typename Unit> std::vector<Unit> takeText(ModelRing& ring)
{
    const std::size_t length = ring.Take<std::uint16_t>();
    const std::string bytes = ring.Take(length * sizeof(Unit));
    std::vector<Unit> units(length + 1);
    std::copy(bytes.begin(), bytes.end(), reinterpret_cast<char*>(units.data()));
    return units;
}

std::vector<wchar_t> takeUTF16AsWide(ModelRing& ring)
{
    const std::vector<std::uint16_t> units = takeText<std::uint16_t>(ring);
    // What follows the first zero is never shown, and does not change what comes before.
    auto end = std::find(units.begin(), units.end() - 1, 0);
    end += end == units.end() - 1 ? 0 : 1;
    const UnicodeOutcome outcome =
        modelConversion(UnicodeForm::utf16, UnicodeForm::utf32, UnicodeUnits(units.begin(), end), 65535, false);
    std::vector<wchar_t> wide;
    for (const std::uint32_t unit : outcome.written) {
        wide.push_back(static_cast<wchar_t>(unit));
    }
    wide.push_back(0);
    return wide;
}

std::string valueText(bool render, ModelRing& ring, int tag, const std::string& piece)
{
    const auto formatOr = [&piece](const char* own) { return piece.empty() ? own : piece; };
    switch (tag) {
    case 4:
        return printed(render, formatOr("%hd"), static_cast<int>(ring.Take<signed char>()));
    case 5:
        return printed(render, formatOr("%hd"), static_cast<int>(ring.Take<std::int16_t>()));
    case 6:
        return printed(render, formatOr("%d"), ring.Take<std::int32_t>());
    case 7:
        return printed(render, formatOr("%lld"), ring.Take<long long>());
    case 8:
        return printed(render, formatOr("%hu"), static_cast<int>(ring.Take<unsigned char>()));
    case 9:
        return printed(render, formatOr("%hu"), static_cast<int>(ring.Take<std::uint16_t>()));
    case 10:
        return printed(render, formatOr("%u"), ring.Take<std::uint32_t>());
    case 11:
        return printed(render, formatOr("%llu"), ring.Take<unsigned long long>());
    case 12:
        return printed(render, formatOr("%f"), static_cast<double>(ring.Take<float>()));
    case 13:
        return printed(render, formatOr("%g"), ring.Take<double>());
    case 14:
        return printed(render, formatOr("%d"), ring.Take<long>());
    case 15:
        return printed(render, formatOr("0x%x"), ring.Take<std::uintptr_t>());
    case 16:
        return printed(render, formatOr("%s"), takeText<char>(ring).data());
    case 17:
        return printed(render, formatOr("%S"), takeText<wchar_t>(ring).data());
    case 18:
        return printed(render, formatOr("%S"), takeUTF16AsWide(ring).data());
    default:
        return "<BAD ARG> I'm horribly confused";
    }
}

int truncated(double value)
{
    return value <= INT_MIN ? INT_MIN : (value >= INT_MAX ? INT_MAX : static_cast<int>(value));
}

// In UTC.
std::string lineHeader(int sequence, unsigned int seconds, unsigned int microseconds, double delta,
                       const std::string& name)
{
    const long long kDay = 86400;
    const long long time = static_cast<std::time_t>(seconds); // negative where that is of 32 bits
    const int second = static_cast<int>((time % kDay + kDay) % kDay);
    const int whole = truncated(delta);
    return printed(true, "%6d  %02d:%02d:%02d.%06d  (%02d.%06d) :  [%-18s]\t", sequence, second / 3600,
                   second / 60 % 60, second % 60, static_cast<int>(microseconds), whole,
                   truncated((delta - whole) * 1000000.0), name.c_str());
}

} // namespace

// A format and, unless it is one of the markers, where it comes from.
struct RecordModel::Text {
    std::string text;
    std::string* origin = nullptr;
    std::size_t begin = 0;
    bool registered = false;
};

std::string ModelRing::Take(std::size_t count)
{
    std::string taken = bytes.substr(next, std::min(count, visible - next));
    next += taken.size();
    taken.resize(count, '\0');
    return taken;
}

RecordModel::Text RecordModel::TakeFormat(ModelRing& ring)
{
    const int kind = ring.Take<unsigned char>();
    if (kind == 1) {
        const std::size_t length = ring.Take<std::uint16_t>();
        const std::size_t begin = ring.next;
        return { ring.Take(length).c_str(), &ring.bytes, begin };
    }
    if (kind != 3) {
        return { "<BAD FORMAT STRING>" };
    }
    const int id = ring.Take<std::int16_t>();
    if (id == -1) {
        return { "<UNINITIALIZED FORMAT STRING ID USED>" };
    }
    if (id < 0 || static_cast<std::size_t>(id) >= mFormats.size()) {
        return {};
    }
    ModelFormat& format = mFormats[static_cast<std::size_t>(id)];
    if (!format.narrow) {
        return { "<WIDE FORMAT STRING NOT SUPPORTED>" };
    }
    return { format.text, &format.text, 0, true };
}

std::string RecordModel::Message(bool render, ModelRing& ring)
{
    // Each time that it fails there is one "%" less.
    const std::size_t begin = ring.next;
    std::string message;
    while (!TryMessage(render, ring, message)) {
        ring.next = begin;
        message.clear();
    }
    return message;
}

// False when the record's format had to be changed.
bool RecordModel::TryMessage(bool render, ModelRing& ring, std::string& message)
{
    Text format = TakeFormat(ring);
    const int count = ring.Take<signed char>();
    if (count > 0) {
        return TryValues(render, ring, format, count, message);
    }
    const std::size_t harm = undefinedConversion(format.text, { FormattedValue::nothing, 0 });
    if (harm != kNone) {
        (*format.origin)[format.begin + harm] = '_';
        mFormatChanged = mFormatChanged || format.registered;
        return false;
    }
    message = printed(render, format.text);
    return true;
}

bool RecordModel::TryValues(bool render, ModelRing& ring, Text& format, int count, std::string& message)
{
    const std::string& text = format.text;
    std::size_t position = 0;
    bool exhausted = false;
    const auto defuse = [&](std::size_t harm) {
        (*format.origin)[format.begin + harm] = '_';
        mFormatChanged = mFormatChanged || format.registered;
        return false;
    };
    for (int i = 0; i < count; ++i) {
        std::string piece;
        std::size_t pieceBegin = position;
        if (!exhausted) {
            const std::size_t endless = endlessSearch(text, position);
            if (endless != kNone) {
                return defuse(endless);
            }
            const std::size_t percent = text.find('%', position);
            const std::size_t letter =
                percent == kNone ? kNone : text.find_first_of("cCdiouxXeEfgGnpsS", percent);
            if (letter == kNone) {
                const std::string rest = text.substr(position);
                const std::size_t harm = undefinedConversion(rest, { FormattedValue::nothing, 0 });
                if (harm != kNone) {
                    return defuse(position + harm);
                }
                message += printed(render, rest) + (render ? " (" : "");
                exhausted = true;
                position = text.size();
            } else {
                piece = text.substr(position, letter + 1 - position);
                position = letter + 1;
            }
        }
        const int tag = ring.Take<signed char>();
        if (tag >= 4 && tag <= 18) {
            const std::size_t harm = undefinedConversion(piece, formattedValue(tag));
            if (harm != kNone) {
                return defuse(pieceBegin + harm);
            }
        }
        message += valueText(render, ring, tag, piece);
        message += render && exhausted && i < count - 1 ? ", " : "";
    }
    std::string rest = text.substr(position);
    if (rest.find('%') != kNone) {
        std::replace(rest.begin(), rest.end(), '%', '_');
        rest = "[extra format arguments: " + rest + " ]";
    }
    message += printed(render, rest) + (render && exhausted ? ") " : "");
    return true;
}

void RecordModel::Record(ModelContext& context, int sequence)
{
    ModelRing& ring = context.ring;
    const unsigned int seconds = ring.Take<unsigned int>();
    const unsigned int microseconds = ring.Take<unsigned int>();
    const unsigned int depth = ring.Take<unsigned char>();
    const std::string all = ring.Take(ring.Take<unsigned char>());
    const std::string categories = all.substr(0, kMostCategories);
    const bool passes = std::any_of(categories.begin(), categories.end(), [this](char category) {
        return mFilter[static_cast<unsigned char>(category)];
    });
    const double delta = mLastSeconds == 0
        ? 0.0
        : (seconds + microseconds / 1000000.0) - (mLastSeconds + mLastMicroseconds / 1000000.0);
    mLastSeconds = seconds;
    mLastMicroseconds = microseconds;
    const std::string message = Message(passes, ring);
    if (!passes) {
        return;
    }
    if (mStructured) {
        mOutput.push_back(
            structuredOutput(message.c_str(), context.name, depth, categories, seconds, microseconds));
        return;
    }
    std::string line = lineHeader(sequence, seconds, microseconds, delta, context.name);
    for (unsigned int i = 0; i < depth; ++i) {
        line += "|  ";
    }
    mOutput.push_back(line + message + "\n");
}

void RecordModel::Pass(std::vector<ModelContext>& contexts)
{
    struct Entry {
        ModelContext* context;
        int sequence;
        int remaining;
    };
    std::vector<Entry> waiting;
    // Of two with the same number the later one is lost for this pass.
    const auto offer = [&waiting](Entry entry) {
        entry.context->ring.Take<char>();
        entry.sequence = entry.context->ring.Take<int>();
        if (std::none_of(waiting.begin(), waiting.end(),
                         [&entry](const Entry& other) { return other.sequence == entry.sequence; })) {
            waiting.push_back(entry);
        }
    };
    long long total = 0;
    for (ModelContext& context : contexts) {
        total += context.count;
        if (context.count > 0) {
            offer({ &context, 0, context.count });
        }
    }
    for (long long output = 0; output < total && !waiting.empty(); ++output) {
        const auto smallest =
            std::min_element(waiting.begin(), waiting.end(),
                             [](const Entry& a, const Entry& b) { return a.sequence < b.sequence; });
        Entry entry = *smallest;
        waiting.erase(smallest);
        Record(*entry.context, entry.sequence);
        --entry.remaining;
        if (entry.remaining > 0) {
            offer(entry);
        }
    }
    for (ModelContext& context : contexts) {
        context.count = std::min(context.count, 0);
    }
}

std::string structuredOutput(const char* text, const std::string& context, unsigned int depth,
                             const std::string& categories, unsigned int seconds, unsigned int microseconds)
{
    return std::string(text) + "|" + context + "|" + std::to_string(depth) + "|" + categories + "|"
        + std::to_string(seconds) + "|" + std::to_string(microseconds);
}
