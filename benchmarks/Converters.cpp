// The six converters, lenient, as a host calls them that wants to have all of a text converted.
#include "ConverterPeers.h"

namespace bench {
namespace {

template <typename Source, typename Target>
using Routine = KXPL::ConversionResult (*)(const Source**, const Source*, Target**, Target*,
                                           KXPL::ConversionFlags);

// From UTF-8 a converter stops at what is ill-formed, and its caller writes the replacement.
template <typename Source, typename Target, Routine<Source, Target> routine>
std::size_t convertAll(const std::vector<Source>& source, std::vector<Target>& target)
{
    const Source* from = source.data();
    const Source* const end = from + source.size();
    Target* to = target.data();
    Target* const room = to + target.size();
    while (routine(&from, end, &to, room, KXPL::lenientConversion) == KXPL::sourceIllegal && from < end) {
        ++from;
        *to++ = static_cast<Target>(0xFFFD);
    }
    return static_cast<std::size_t>(to - target.data());
}

template <typename Source, typename Target, Routine<Source, Target> routine> bool add()
{
    OwnConverter<Source, Target>() = convertAll<Source, Target, routine>;
    return AddConverter<Source, Target>("kxpl", convertAll<Source, Target, routine>);
}

using namespace KXPL;

[[maybe_unused]] const bool added = add<UTF8, UTF16, ConvertUTF8toUTF16>()
    && add<UTF16, UTF8, ConvertUTF16toUTF8>() && add<UTF8, UTF32, ConvertUTF8toUTF32>()
    && add<UTF32, UTF8, ConvertUTF32toUTF8>() && add<UTF16, UTF32, ConvertUTF16toUTF32>()
    && add<UTF32, UTF16, ConvertUTF32toUTF16>();

} // namespace
} // namespace bench
