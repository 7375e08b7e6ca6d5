// The six converters against the slow model, on any units.
//
// Input: converter, flags, room in the target (2 bytes), offset of both texts in memory, then the source's
// bytes.
#include "KxUnicode.h"

#include "FuzzTarget.h"
#include "FuzzUnits.h"
#include "UnicodeModel.h"

#include <sstream>

namespace {

constexpr std::size_t kMostRoom = 3000;

void requireSameLegality(const std::string& bytes)
{
    const UnicodeUnits units = fuzzUnits(bytes, UnicodeForm::utf8);
    const std::vector<KXPL::UTF8> exact(bytes.begin(), bytes.end());
    if (!exact.empty()) {
        fuzzRequire(KXPL::isLegalUTF8Sequence(exact.data(), exact.data() + exact.size())
                        == modelIsLegalSequence(units),
                    "isLegalUTF8Sequence");
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzInput input(data, size);
    const UnicodeConverter& converter = kUnicodeConverters[input.Byte() % 6];
    const unsigned int flags = input.Byte() % 3; // any nonzero value is lenient
    const std::size_t room = input.Two() % kMostRoom;
    const std::size_t offset = input.Byte() % 17;
    const std::string bytes = input.Rest();
    const UnicodeUnits source = fuzzUnits(bytes, converter.from);
    const UnicodeOutcome expected = modelConversion(converter.from, converter.to, source, room, flags == 0);
    const UnicodeOutcome real = realConversion(converter.from, converter.to, source, room,
                                               static_cast<KXPL::ConversionFlags>(flags), offset);
    if (!(real == expected)) {
        std::ostringstream what;
        what << converter << (flags == 0 ? " strict" : " lenient") << ", room " << room << ": " << real
             << " instead of " << expected;
        fuzzRequire(false, what.str());
    }
    requireSameLegality(bytes);
    return 0;
}
