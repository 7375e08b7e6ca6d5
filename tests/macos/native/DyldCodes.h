// Reads the tables for dyld: byte codes, numbers of seven bits to a byte (LEB128), and names that end with a zero. Behind
// the end all is 0.
#ifndef FALLCATCH_TESTS_MACOS_NATIVE_DYLD_CODES_H
#define FALLCATCH_TESTS_MACOS_NATIVE_DYLD_CODES_H

#include "MachImage.h"

#include <cstddef>
#include <cstdint>
#include <string>

class Codes {
public:
    Codes(const std::string& file, std::uint32_t offset, std::uint32_t size)
        : mNext(file.data() + offset)
        , mEnd(mNext + size)
    {
        if (offset + std::size_t(size) > file.size()) {
            refuse("a table for dyld ends beyond its file");
        }
    }

    bool IsAtEnd() const { return mNext >= mEnd; }
    unsigned char Byte() { return IsAtEnd() ? 0 : static_cast<unsigned char>(*mNext++); }

    std::uint64_t Unsigned()
    {
        std::uint64_t value = 0;
        unsigned int shift = 0;
        for (unsigned char byte = 0x80; (byte & 0x80) != 0 && shift < 64; shift += 7) {
            byte = Byte();
            value |= std::uint64_t(byte & 0x7F) << shift;
        }
        return value;
    }

    std::int64_t Signed()
    {
        std::uint64_t value = 0;
        unsigned int shift = 0;
        unsigned char byte = 0x80;
        for (; (byte & 0x80) != 0 && shift < 64; shift += 7) {
            byte = Byte();
            value |= std::uint64_t(byte & 0x7F) << shift;
        }
        if ((byte & 0x40) != 0 && shift < 64) {
            value |= ~std::uint64_t(0) << shift;
        }
        return static_cast<std::int64_t>(value);
    }

    std::string Text()
    {
        std::string text;
        for (unsigned char byte = Byte(); byte != 0; byte = Byte()) {
            text += static_cast<char>(byte);
        }
        return text;
    }

private:
    const char* mNext;
    const char* mEnd;
};

#endif
