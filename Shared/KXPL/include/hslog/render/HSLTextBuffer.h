// A text that grows at its end and is used again, for lines that are built from many small pieces.
#ifndef HSLOG_HSL_TEXT_BUFFER_H
#define HSLOG_HSL_TEXT_BUFFER_H

#include <cstddef>
#include <cstring>
#include <vector>

namespace HSL {

// Allocates only for a text longer than any usual line, and keeps that memory when it is cleared. Running out
// of memory raises the standard allocation failure.
class TextBuffer {
public:
    TextBuffer() = default;

    TextBuffer(const TextBuffer&) = delete;
    TextBuffer& operator=(const TextBuffer&) = delete;

    void Clear() { mSize = 0; }

    // Forgets what lies behind the first `size` bytes.
    void Shorten(std::size_t size) { mSize = size; }

    std::size_t Size() const { return mSize; }

    // Where the text goes on, with room for `size` bytes (and a terminator). They count as text only once they
    // have been added. Valid until the next call.
    char* Room(std::size_t size)
    {
        if (size >= mCapacity - mSize) {
            Grow(size);
        }
        return mBytes + mSize;
    }

    // Makes the first `size` bytes of the room part of the text.
    void Add(std::size_t size) { mSize += size; }

    void Append(const char* text, std::size_t size)
    {
        std::memcpy(Room(size), text, size);
        Add(size);
    }

    // The text with a terminator. Valid until the next call that changes it.
    const char* CStr()
    {
        *Room(0) = 0;
        return mBytes;
    }

private:
    static constexpr std::size_t kUsualSize = 1024;

    void Grow(std::size_t size);

    char mUsual[kUsualSize];
    std::vector<char> mLong;
    char* mBytes = mUsual; // or the other one's
    std::size_t mCapacity = kUsualSize;
    std::size_t mSize = 0; // always less than the capacity
};

} // namespace HSL

#endif
