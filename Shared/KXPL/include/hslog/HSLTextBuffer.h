// A text that grows at its end and is used again, for lines that are built from many small pieces.
#ifndef HSLOG_HSL_TEXT_BUFFER_H
#define HSLOG_HSL_TEXT_BUFFER_H

#include <cstddef>
#include <cstring>
#include <vector>

namespace HSL {

// Keeps its memory when it is cleared. Running out of memory raises the standard allocation failure.
class TextBuffer {
public:
    void Clear() { mSize = 0; }

    std::size_t Size() const { return mSize; }

    // Where the text goes on, with room for `size` bytes (and a terminator). They count as text only once they
    // have been added. Valid until the next call.
    char* Room(std::size_t size)
    {
        if (size >= mBytes.size() - mSize) {
            Grow(size);
        }
        return mBytes.data() + mSize;
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
        return mBytes.data();
    }

private:
    static constexpr std::size_t kFirstSize = 4096;

    void Grow(std::size_t size)
    {
        const std::size_t doubled = mBytes.empty() ? kFirstSize : 2 * mBytes.size();
        const std::size_t needed = mSize + size + 1;
        mBytes.resize(doubled > needed ? doubled : needed);
    }

    std::vector<char> mBytes;
    std::size_t mSize = 0; // always less than mBytes.size(), unless that is 0
};

} // namespace HSL

#endif
