// The C library's iconv.
#include "ConverterPeers.h"

#include <iconv.h>

#include <cerrno>
#include <cstring>

namespace bench {
namespace {

using namespace KXPL;

// In the processor's byte order, which is little-endian here.
template <typename Unit> const char* nameOf()
{
    return sizeof(Unit) == 1 ? "UTF-8" : (sizeof(Unit) == 2 ? "UTF-16LE" : "UTF-32LE");
}

template <typename Unit> constexpr Unit kReplacement[] = { 0xFFFD };
template <> constexpr UTF8 kReplacement<UTF8>[] = { 0xEF, 0xBF, 0xBD };

// iconv stops at what is ill-formed; its caller, too, skips the unit and writes the replacement.
template <typename Source, typename Target>
std::size_t convertAll(const std::vector<Source>& source, std::vector<Target>& target)
{
    static const iconv_t converter = iconv_open(nameOf<Target>(), nameOf<Source>());
    char* from = reinterpret_cast<char*>(const_cast<Source*>(source.data()));
    std::size_t left = source.size() * sizeof(Source);
    char* to = reinterpret_cast<char*>(target.data());
    std::size_t room = target.size() * sizeof(Target);
    iconv(converter, nullptr, nullptr, nullptr, nullptr);
    while (iconv(converter, &from, &left, &to, &room) == static_cast<std::size_t>(-1) && errno == EILSEQ) {
        from += sizeof(Source);
        left -= sizeof(Source);
        std::memcpy(to, kReplacement<Target>, sizeof kReplacement<Target>);
        to += sizeof kReplacement<Target>;
        room -= sizeof kReplacement<Target>;
    }
    return target.size() - room / sizeof(Target);
}

template <typename Source, typename Target> bool add()
{
    return AddConverter<Source, Target>("iconv", convertAll<Source, Target>);
}

[[maybe_unused]] const bool added = add<UTF8, UTF16>() && add<UTF16, UTF8>() && add<UTF8, UTF32>()
    && add<UTF32, UTF8>() && add<UTF16, UTF32>() && add<UTF32, UTF16>();

} // namespace
} // namespace bench
