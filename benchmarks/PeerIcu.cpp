// ICU: its string functions, which know UTF-16 on one side, and its macros between UTF-8 and UTF-32.
#include "ConverterPeers.h"

#include <unicode/ustring.h>
#include <unicode/utf8.h>

#include <cstdint>

namespace bench {
namespace {

using namespace KXPL;

constexpr UChar32 kReplacement = 0xFFFD;

const char* asChars(const std::vector<UTF8>& text)
{
    return reinterpret_cast<const char*>(text.data());
}

template <typename Vector> std::int32_t lengthOf(const Vector& text)
{
    return static_cast<std::int32_t>(text.size());
}

std::size_t from8to16(const std::vector<UTF8>& source, std::vector<UTF16>& target)
{
    UErrorCode error = U_ZERO_ERROR;
    std::int32_t written = 0;
    u_strFromUTF8WithSub(reinterpret_cast<UChar*>(target.data()), lengthOf(target), &written, asChars(source),
                         lengthOf(source), kReplacement, nullptr, &error);
    return U_SUCCESS(error) ? static_cast<std::size_t>(written) : 0;
}

std::size_t from16to8(const std::vector<UTF16>& source, std::vector<UTF8>& target)
{
    UErrorCode error = U_ZERO_ERROR;
    std::int32_t written = 0;
    u_strToUTF8WithSub(reinterpret_cast<char*>(target.data()), lengthOf(target), &written,
                       reinterpret_cast<const UChar*>(source.data()), lengthOf(source), kReplacement, nullptr,
                       &error);
    return U_SUCCESS(error) ? static_cast<std::size_t>(written) : 0;
}

std::size_t from16to32(const std::vector<UTF16>& source, std::vector<UTF32>& target)
{
    UErrorCode error = U_ZERO_ERROR;
    std::int32_t written = 0;
    u_strToUTF32WithSub(reinterpret_cast<UChar32*>(target.data()), lengthOf(target), &written,
                        reinterpret_cast<const UChar*>(source.data()), lengthOf(source), kReplacement, nullptr,
                        &error);
    return U_SUCCESS(error) ? static_cast<std::size_t>(written) : 0;
}

std::size_t from32to16(const std::vector<UTF32>& source, std::vector<UTF16>& target)
{
    UErrorCode error = U_ZERO_ERROR;
    std::int32_t written = 0;
    u_strFromUTF32WithSub(reinterpret_cast<UChar*>(target.data()), lengthOf(target), &written,
                          reinterpret_cast<const UChar32*>(source.data()), lengthOf(source), kReplacement,
                          nullptr, &error);
    return U_SUCCESS(error) ? static_cast<std::size_t>(written) : 0;
}

std::size_t from8to32(const std::vector<UTF8>& source, std::vector<UTF32>& target)
{
    const UTF8* const units = source.data();
    const std::int32_t length = lengthOf(source);
    UTF32* to = target.data();
    for (std::int32_t i = 0; i < length;) {
        UChar32 character;
        U8_NEXT_OR_FFFD(units, i, length, character);
        *to++ = static_cast<UTF32>(character);
    }
    return static_cast<std::size_t>(to - target.data());
}

std::size_t from32to8(const std::vector<UTF32>& source, std::vector<UTF8>& target)
{
    UTF8* const units = target.data();
    const std::int32_t room = lengthOf(target);
    std::int32_t written = 0;
    for (const UTF32 unit : source) {
        UBool isError = 0;
        U8_APPEND(units, written, room, static_cast<UChar32>(unit), isError);
        if (isError) {
            U8_APPEND_UNSAFE(units, written, kReplacement);
        }
    }
    return static_cast<std::size_t>(written);
}

[[maybe_unused]] const bool added = AddConverter<UTF8, UTF16>("ICU", from8to16)
    && AddConverter<UTF16, UTF8>("ICU", from16to8) && AddConverter<UTF8, UTF32>("ICU", from8to32)
    && AddConverter<UTF32, UTF8>("ICU", from32to8) && AddConverter<UTF16, UTF32>("ICU", from16to32)
    && AddConverter<UTF32, UTF16>("ICU", from32to16);

} // namespace
} // namespace bench
