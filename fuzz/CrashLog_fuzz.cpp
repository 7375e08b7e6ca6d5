// Any bytes as a crash log, made into text in both forms.
//
// Input: one byte that says what the rest is: bit 0 clear a whole file, set the bytes of one ring, for which a
// file is made; bit 1 the file tells of a ring that was damaged; bit 2 shows what is hidden; bit 3 cuts to the
// newest bytes; bit 4 the numbers are those of a 32-bit process.
#include "hslog/crash/CrashLogFormat.h"
#include "hslog/crash/CrashLogText.h"

#include "FuzzTarget.h"

#include <clocale>
#include <cstring>
#include <string>

namespace {

using namespace HSL::CrashLog;

template <typename T> void add(std::string& bytes, T number)
{
    bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
}

void addSection(std::string& file, std::uint32_t kind, const std::string& payload)
{
    add(file, kind);
    add(file, static_cast<std::uint32_t>(payload.size()));
    file += payload;
}

// A file of one context whose ring holds these bytes.
std::string fileOf(const std::string& ring, unsigned int kind)
{
    const char width = (kind & 16) != 0 ? 4 : 8;
    std::string file(kMagic);
    add(file, kByteOrder);
    add(file, kVersion);
    file.append({ width, width, 4, 0 });
    add(file, std::int32_t { 3600 });
    add(file, std::uint64_t { 0 });
    std::string state;
    add(state, std::int32_t { 1000 });
    add(state, std::uint64_t { 5 });
    state += std::string(128, '\1') + std::string(128, '\0') + std::string(20, '\0');
    addSection(file, kStateSection, state);
    std::string context;
    for (const std::uint32_t number :
         { 0u, 1u, static_cast<std::uint32_t>(ring.size()) + 1, 64u, 64u, 64u,
           (kind & 2) != 0 ? std::uint32_t { kRingDamaged } : std::uint32_t { kRingWhole } }) {
        add(context, number);
    }
    addSection(file, kContextSection, context + "thread");
    addSection(file, kRingSection, ring);
    addSection(file, kFormatSection, std::string("\0\0\0\0\1registered %d", 18));
    addSection(file, kDoneSection, std::string("\4\0\0\0", 4));
    return file;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const bool hasLocale = std::setlocale(LC_CTYPE, "C.UTF-8") != nullptr;
    fuzzRequire(hasLocale, "no such locale");
    if (size == 0) {
        return 0;
    }
    const std::string rest(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::string file = (data[0] & 1) != 0 ? fileOf(rest, data[0]) : rest;
    TextOptions options;
    options.mWithHidden = (data[0] & 4) != 0;
    options.mNewest = (data[0] & 8) != 0 ? 1000 : 0;
    const CrashLogText plain = textOf(file, options);
    fuzzRequire(options.mNewest == 0 || plain.mLines.size() <= 1100, "more than was asked for");
    fuzzRequire(plain.mIsLog == plain.mWhy.empty(), "neither a log nor a reason");
    options.mAsJson = true;
    const CrashLogText json = textOf(file, options);
    fuzzRequire(asUtf8(json.mLines) == json.mLines, "JSON that is no UTF-8");
    fuzzRequire(json.mNotes == plain.mNotes, "the form changes what is told");
    return 0;
}
