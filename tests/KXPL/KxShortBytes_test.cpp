// Copies and searches of a few bytes, at every length on both sides of where the way of doing it changes.
#include "KxShortBytes.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr std::size_t kLongest = 200;

// Bytes that all differ from their neighbours, none of them zero.
std::string sample(std::size_t size)
{
    std::string text;
    for (std::size_t i = 0; i < size; ++i) {
        text += static_cast<char>(1 + (i * 37) % 251);
    }
    return text;
}

} // namespace

TEST(ShortBytes, CopyTakesEveryByteAndNoOther)
{
    for (std::size_t size = 0; size <= kLongest; ++size) {
        const std::string source = sample(size);
        std::string target(size + 2, '#');
        KXPL::copyShort(&target[1], source.data(), size);
        ASSERT_EQ(target, '#' + source + '#') << size;
    }
}

TEST(ShortBytes, SearchFindsTheFirst)
{
    for (std::size_t size = 0; size <= kLongest; ++size) {
        // In memory of exactly its size, so that AddressSanitizer sees a step outside.
        ASSERT_EQ(KXPL::lengthUpTo(std::string(size, 'a').data(), size, '%'), size);
        ASSERT_EQ(KXPL::lengthUpToZero(sample(size).data(), size), size);
        for (std::size_t at = 0; at < size; ++at) {
            std::string text(size, 'a');
            text[at] = '%';
            text.back() = '%';
            ASSERT_EQ(KXPL::lengthUpTo(text.data(), size, '%'), at);
            std::string bytes = sample(size);
            bytes[at] = '\0';
            ASSERT_EQ(KXPL::lengthUpToZero(bytes.data(), size), at);
            bytes.back() = '\0';
            ASSERT_EQ(KXPL::lengthUpToZero(bytes.data(), size), at);
        }
    }
}

TEST(ShortBytes, OnlyAZeroByteCountsAsOne)
{
    for (int byte = 0; byte < 256; ++byte) {
        for (int place = 0; place < 64; place += 8) {
            for (const std::uint64_t others :
                 { 0x0101010101010101u, 0x8080808080808080u, 0xFFFFFFFFFFFFFFFFu }) {
                const std::uint64_t mask = std::uint64_t { 0xFF } << place;
                const std::uint64_t word =
                    (others & ~mask) | std::uint64_t { static_cast<unsigned char>(byte) } << place;
                ASSERT_EQ(KXPL::hasZeroByte(word), byte == 0) << std::hex << word;
            }
        }
    }
}
