// The six converters, strict, against ICU.
//
// Both agree on which texts are well-formed and on what becomes of them, but for one thing: behind the lead
// bytes ED and F4 these converters let a second byte below 80 pass.
//
// Input: converter, then the source's bytes.
#include "FuzzTarget.h"
#include "FuzzUnits.h"
#include "UnicodeModel.h"

#include <unicode/ustring.h>

#include <algorithm>

namespace {

// What ICU makes of a text; `valid` is false when it refuses.
struct IcuText {
    bool valid;
    UnicodeUnits units;
};

template <typename Unit> std::vector<Unit> narrowed(const UnicodeUnits& units)
{
    std::vector<Unit> result;
    for (const std::uint32_t unit : units) {
        result.push_back(static_cast<Unit>(unit));
    }
    result.push_back(0); // ICU wants no null pointer for an empty text
    return result;
}

// ICU converts by way of UTF-16. One unit of UTF-16 never comes from less than one source unit, and UTF-32
// gives two.
IcuText toUTF16(UnicodeForm from, const UnicodeUnits& source)
{
    if (from == UnicodeForm::utf16) {
        return { true, source };
    }
    std::vector<UChar> target(2 * source.size() + 1);
    const int32_t room = static_cast<int32_t>(target.size());
    const int32_t size = static_cast<int32_t>(source.size());
    int32_t length = 0;
    UErrorCode error = U_ZERO_ERROR;
    if (from == UnicodeForm::utf8) {
        u_strFromUTF8(target.data(), room, &length, narrowed<char>(source).data(), size, &error);
    } else {
        u_strFromUTF32(target.data(), room, &length, narrowed<UChar32>(source).data(), size, &error);
    }
    return { U_SUCCESS(error) != 0,
             UnicodeUnits(target.data(), target.data() + (U_SUCCESS(error) ? length : 0)) };
}

IcuText fromUTF16(UnicodeForm to, const UnicodeUnits& source)
{
    const std::vector<UChar> units = narrowed<UChar>(source);
    const int32_t size = static_cast<int32_t>(source.size());
    int32_t length = 0;
    UErrorCode error = U_ZERO_ERROR;
    UnicodeUnits result;
    if (to == UnicodeForm::utf8) {
        std::vector<char> target(3 * source.size() + 1);
        u_strToUTF8(target.data(), static_cast<int32_t>(target.size()), &length, units.data(), size, &error);
        std::transform(target.begin(), target.begin() + (U_SUCCESS(error) ? length : 0),
                       std::back_inserter(result), [](char byte) { return static_cast<unsigned char>(byte); });
    } else {
        std::vector<UChar32> target(source.size() + 1);
        u_strToUTF32(target.data(), static_cast<int32_t>(target.size()), &length, units.data(), size, &error);
        result.assign(target.begin(), target.begin() + (U_SUCCESS(error) ? length : 0));
    }
    return { U_SUCCESS(error) != 0, result };
}

bool hasLooseSecondByte(const UnicodeUnits& source)
{
    for (std::size_t i = 1; i < source.size(); ++i) {
        if ((source[i - 1] == 0xED || source[i - 1] == 0xF4) && source[i] < 0x80) {
            return true;
        }
    }
    return false;
}

IcuText byIcu(const UnicodeConverter& converter, const UnicodeUnits& source)
{
    const IcuText middle = toUTF16(converter.from, source);
    if (!middle.valid) {
        return middle;
    }
    return converter.to == UnicodeForm::utf16 ? middle : fromUTF16(converter.to, middle.units);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzInput input(data, size);
    const UnicodeConverter& converter = kUnicodeConverters[input.Byte() % 6];
    const UnicodeUnits source = fuzzUnits(input.Rest(), converter.from);
    const UnicodeOutcome real = strictly(converter.from, converter.to, source, 4 * source.size() + 4);
    const IcuText icu = byIcu(converter, source);
    fuzzRequire(!real.wroteBeyond, "wrote beyond the target");
    if (icu.valid) {
        fuzzRequire(real.result == KXPL::conversionOK, "refused what is well-formed");
        fuzzRequire(real.written == icu.units, "another text");
    } else if (converter.from != UnicodeForm::utf8 || !hasLooseSecondByte(source)) {
        fuzzRequire(real.result != KXPL::conversionOK, "took what is ill-formed");
    }
    return 0;
}
