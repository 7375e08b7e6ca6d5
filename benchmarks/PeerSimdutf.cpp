// simdutf's single-header edition, on well-formed texts: it refuses others.
#include "ConverterPeers.h"

#include "simdutf.cpp"

namespace bench {
namespace {

using namespace KXPL;

const char* chars8(const std::vector<UTF8>& text)
{
    return reinterpret_cast<const char*>(text.data());
}
const char16_t* chars16(const std::vector<UTF16>& text)
{
    return reinterpret_cast<const char16_t*>(text.data());
}
const char32_t* chars32(const std::vector<UTF32>& text)
{
    return reinterpret_cast<const char32_t*>(text.data());
}

std::size_t from8to16(const std::vector<UTF8>& source, std::vector<UTF16>& target)
{
    return simdutf::convert_utf8_to_utf16le(chars8(source), source.size(),
                                            const_cast<char16_t*>(chars16(target)));
}
std::size_t from16to8(const std::vector<UTF16>& source, std::vector<UTF8>& target)
{
    return simdutf::convert_utf16le_to_utf8(chars16(source), source.size(), const_cast<char*>(chars8(target)));
}
std::size_t from8to32(const std::vector<UTF8>& source, std::vector<UTF32>& target)
{
    return simdutf::convert_utf8_to_utf32(chars8(source), source.size(),
                                          const_cast<char32_t*>(chars32(target)));
}
std::size_t from32to8(const std::vector<UTF32>& source, std::vector<UTF8>& target)
{
    return simdutf::convert_utf32_to_utf8(chars32(source), source.size(), const_cast<char*>(chars8(target)));
}
std::size_t from16to32(const std::vector<UTF16>& source, std::vector<UTF32>& target)
{
    return simdutf::convert_utf16le_to_utf32(chars16(source), source.size(),
                                             const_cast<char32_t*>(chars32(target)));
}
std::size_t from32to16(const std::vector<UTF32>& source, std::vector<UTF16>& target)
{
    return simdutf::convert_utf32_to_utf16le(chars32(source), source.size(),
                                             const_cast<char16_t*>(chars16(target)));
}

[[maybe_unused]] const bool added = AddConverter<UTF8, UTF16>("simdutf", from8to16, false)
    && AddConverter<UTF16, UTF8>("simdutf", from16to8, false)
    && AddConverter<UTF8, UTF32>("simdutf", from8to32, false)
    && AddConverter<UTF32, UTF8>("simdutf", from32to8, false)
    && AddConverter<UTF16, UTF32>("simdutf", from16to32, false)
    && AddConverter<UTF32, UTF16>("simdutf", from32to16, false);

} // namespace
} // namespace bench
