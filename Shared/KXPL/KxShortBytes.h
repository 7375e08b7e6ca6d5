// Copies and searches of a few bytes, without a call for those that are short.
#ifndef KXPL_KX_SHORT_BYTES_H
#define KXPL_KX_SHORT_BYTES_H

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace KXPL {

// memcpy for sizes that are rarely above 64. The areas must not overlap.
inline void copyShort(void* destination, const void* source, std::size_t size)
{
    unsigned char* to = static_cast<unsigned char*>(destination);
    const unsigned char* from = static_cast<const unsigned char*>(source);
    // Pieces of fixed sizes, which may overlap each other.
    if (size < 8) {
        if (size >= 4) {
            std::memcpy(to, from, 4);
            std::memcpy(to + size - 4, from + size - 4, 4);
        } else if (size > 0) {
            to[0] = from[0];
            to[size / 2] = from[size / 2];
            to[size - 1] = from[size - 1];
        }
    } else if (size < 16) {
        std::memcpy(to, from, 8);
        std::memcpy(to + size - 8, from + size - 8, 8);
    } else if (size <= 32) {
        std::memcpy(to, from, 16);
        std::memcpy(to + size - 16, from + size - 16, 16);
    } else if (size <= 64) {
        std::memcpy(to, from, 32);
        std::memcpy(to + size - 32, from + size - 32, 32);
    } else {
        std::memcpy(to, from, size);
    }
}

// Whether any byte of the word is zero. Exact: no other word gives true.
inline bool hasZeroByte(std::uint64_t word)
{
    return ((word - 0x0101010101010101u) & ~word & 0x8080808080808080u) != 0;
}

// The number of bytes in front of the first that is `wanted`; `size` when none is.
inline std::size_t lengthUpTo(const char* text, std::size_t size, char wanted)
{
    constexpr std::size_t kWithoutACall = 8;
    std::size_t i = 0;
    for (; i < size && i < kWithoutACall; ++i) {
        if (text[i] == wanted) {
            return i;
        }
    }
    if (i == size) {
        return size;
    }
    const void* found = std::memchr(text + i, wanted, size - i);
    return found != nullptr ? static_cast<std::size_t>(static_cast<const char*>(found) - text) : size;
}

// Whether 4 to 32 bytes hold a zero. Words overlap each other where the size is no multiple of theirs.
inline bool holdsZero(const char* text, std::size_t size)
{
    std::uint64_t word;
    if (size < 8) {
        std::uint32_t halves[2];
        std::memcpy(&halves[0], text, 4);
        std::memcpy(&halves[1], text + size - 4, 4);
        return hasZeroByte(halves[0] | static_cast<std::uint64_t>(halves[1]) << 32);
    }
    std::memcpy(&word, text + size - 8, sizeof word);
    bool found = hasZeroByte(word);
    for (std::size_t i = 0; i + 8 < size; i += 8) {
        std::memcpy(&word, text + i, sizeof word);
        found |= hasZeroByte(word);
    }
    return found;
}

// lengthUpTo for a zero byte that is hardly ever there.
inline std::size_t lengthUpToZero(const char* text, std::size_t size)
{
    return size >= 4 && size <= 32 && !holdsZero(text, size) ? size : lengthUpTo(text, size, 0);
}

} // namespace KXPL

#endif
