// Builds the bytes of a log record one by one, so that a test can also make records that no log call writes.
//
//     HandMadeRecord().Header(7).Inline("x=%d").Count(1).Int32(5).PublishIn(context);
#ifndef FALLCATCH_TESTS_HAND_MADE_RECORD_H
#define FALLCATCH_TESTS_HAND_MADE_RECORD_H

#include "hslog/HSL.h"

#include "ByteRing.h"
#include "CircularBuffer.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

class HandMadeRecord {
public:
    using Categories = std::vector<unsigned char>;

    // The fields in front of the format. The list of categories may be longer than a real record's.
    HandMadeRecord& Header(int sequence, unsigned int seconds = 0, unsigned int microseconds = 0,
                           unsigned char depth = 0, const Categories& categories = { 3 })
    {
        Byte(0).Raw(sequence).Raw(seconds).Raw(microseconds).Byte(depth);
        Byte(static_cast<unsigned char>(categories.size()));
        return Bytes(categories.data(), categories.size());
    }

    HandMadeRecord& Inline(const std::string& format) { return Byte(1).Text(format); }
    HandMadeRecord& Id(short id) { return Byte(3).Raw(id); }
    HandMadeRecord& Count(int count) { return Byte(static_cast<unsigned char>(count)); }

    HandMadeRecord& Int8(signed char v) { return Byte(4).Raw(v); }
    HandMadeRecord& Int16(short v) { return Byte(5).Raw(v); }
    HandMadeRecord& Int32(int v) { return Byte(6).Raw(v); }
    HandMadeRecord& Int64(long long v) { return Byte(7).Raw(v); }
    HandMadeRecord& UInt8(unsigned char v) { return Byte(8).Raw(v); }
    HandMadeRecord& UInt16(unsigned short v) { return Byte(9).Raw(v); }
    HandMadeRecord& UInt32(unsigned int v) { return Byte(10).Raw(v); }
    HandMadeRecord& UInt64(unsigned long long v) { return Byte(11).Raw(v); }
    HandMadeRecord& Float(float v) { return Byte(12).Raw(v); }
    HandMadeRecord& Double(double v) { return Byte(13).Raw(v); }
    HandMadeRecord& Long(long v) { return Byte(14).Raw(v); }
    HandMadeRecord& Pointer(std::uintptr_t v) { return Byte(15).Raw(v); }
    HandMadeRecord& String(const std::string& text) { return Byte(16).Text(text); }
    HandMadeRecord& WString(const std::wstring& text) { return Byte(17).Text(text); }
    HandMadeRecord& UTF16String(const std::u16string& text) { return Byte(18).Text(text); }

    HandMadeRecord& Byte(unsigned char byte) { return Bytes(&byte, 1); }

    template <typename T> HandMadeRecord& Raw(const T& field) { return Bytes(&field, sizeof field); }

    // A 16-bit length and the units.
    template <typename Unit> HandMadeRecord& Text(const std::basic_string<Unit>& text)
    {
        Raw(static_cast<unsigned short>(text.size()));
        return Bytes(text.data(), text.size() * sizeof(Unit));
    }

    HandMadeRecord& Bytes(const void* bytes, std::size_t size)
    {
        const unsigned char* first = static_cast<const unsigned char*>(bytes);
        mBytes.insert(mBytes.end(), first, first + size);
        return *this;
    }

    HandMadeRecord& Bytes(const std::string& bytes) { return Bytes(bytes.data(), bytes.size()); }

    // The record that a context writes when it starts dropping, from its format kind on.
    HandMadeRecord& Dropped() { return Inline("*** HSLOG DROPPED MESSAGE(S) ***").Count(0); }

    HandMadeRecord& Append(const HandMadeRecord& other) { return Bytes(other.mBytes.data(), other.Size()); }

    std::size_t Size() const { return mBytes.size(); }
    std::string AsString() const { return std::string(mBytes.begin(), mBytes.end()); }

    // Writes the bytes; false when the ring did not take them all.
    bool PushTo(CCircularBuffer& ring) const
    {
        int count = static_cast<int>(mBytes.size());
        ring.Write(mBytes.data(), count);
        return count == static_cast<int>(mBytes.size());
    }

    // Writes the bytes and counts them as one complete record.
    bool PublishIn(HSL::CLogContext& context) const
    {
        const bool complete = PushTo(*context.mBuffer);
        context.LogPost();
        return complete;
    }

private:
    std::vector<unsigned char> mBytes;
};

#endif
