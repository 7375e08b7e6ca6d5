// Rings for tests: the data are texts, and a position is the number of its slot.
#ifndef FALLCATCH_TESTS_RING_H
#define FALLCATCH_TESTS_RING_H

#include "CircularBuffer.h"

#include <cstddef>
#include <cstring>
#include <ostream>
#include <string>
#include <vector>

// What a call on the ring gave back.
struct Outcome {
    unsigned int code;
    int count;
    std::string data;
};

inline bool operator==(const Outcome& a, const Outcome& b)
{
    return a.code == b.code && a.count == b.count && a.data == b.data;
}

inline std::ostream& operator<<(std::ostream& out, const Outcome& outcome)
{
    return out << "code " << outcome.code << ", count " << outcome.count << ", \"" << outcome.data << '"';
}

// A call of a copy function, in offsets so that it can be told in advance.
struct Copied {
    std::ptrdiff_t slot;
    std::ptrdiff_t from;
    unsigned long size;
};

inline bool operator==(const Copied& a, const Copied& b)
{
    return a.slot == b.slot && a.from == b.from && a.size == b.size;
}

inline std::ostream& operator<<(std::ostream& out, const Copied& copied)
{
    return out << copied.size << " bytes from " << copied.from << " to slot " << copied.slot;
}

// A ring in memory of exactly its size, so that AddressSanitizer sees a step outside.
class Ring {
public:
    Ring(unsigned int elemSize, unsigned int numElem, cb_copy_func copyFunc = nullptr)
        : mMemory(cb_calc_buffer_size(elemSize, numElem), static_cast<unsigned char>('.'))
    {
        cb_initialize_with_buffer(control(), elemSize, numElem);
        cb_set_copy_func(control(), copyFunc);
    }

    cb_control* control() { return reinterpret_cast<cb_control*>(mMemory.data()); }
    cb_control* operator->() { return control(); }
    unsigned char* bytes() { return mMemory.data(); }
    std::string bytesAt(unsigned int offset, std::size_t size) const
    {
        return std::string(mMemory.begin() + offset,
                           mMemory.begin() + static_cast<std::ptrdiff_t>(offset + size));
    }

    // Offers `count` elements; as many as the text holds if none is named.
    Outcome write(const std::string& text, int count)
    {
        const unsigned int code = cb_write(control(), text.data(), &count);
        return { code, count, "" };
    }
    Outcome write(const std::string& text)
    {
        return write(text, static_cast<int>(text.size() / control()->elem_size));
    }

    Outcome readEx(unsigned int index, int count, int options)
    {
        const std::size_t elemSize = control()->elem_size;
        std::string room(count > 0 ? static_cast<std::size_t>(count) * elemSize : 0, '\0');
        const unsigned int code = cb_read_ex(control(), index, room.data(), &count, options);
        // Where the call leaves the count alone nothing was copied, and the room still shows it.
        room.resize(count > 0 ? static_cast<std::size_t>(count) * elemSize : 0);
        return { code, count, room };
    }
    Outcome read(int count) { return readEx(0, count, CB_READ_CONSUME); }
    Outcome peek(unsigned int index, int count) { return readEx(index, count, 0); }

    Outcome remove(int count)
    {
        const unsigned int code = cb_remove(control(), &count);
        return { code, count, "" };
    }

    unsigned int used() { return cb_get_num_elem_used(control()); }

    // Moves both positions of an empty ring `slots` slots on.
    void advance(int slots)
    {
        const std::string element(control()->elem_size, '-');
        for (int i = 0; i < slots; ++i) {
            write(element);
            read(1);
        }
    }

    int readSlot() { return slotOf(control()->read_offset); }
    int writeSlot() { return slotOf(control()->write_offset); }

private:
    int slotOf(unsigned int offset)
    {
        return (static_cast<int>(offset) - static_cast<int>(control()->start_offset))
            / static_cast<int>(control()->elem_size);
    }

    std::vector<unsigned char> mMemory;
};

// Writes down what the copy function is called with. One at a time.
class CopySpy {
public:
    CopySpy() { sCalls.clear(); }

    static void* copy(void* destination, const void* source, unsigned long size)
    {
        sCalls.push_back({ destination, source, size });
        return std::memcpy(destination, source, size);
    }

    static std::size_t calls() { return sCalls.size(); }

    // Writes the text and tells the copies that it took.
    std::vector<Copied> write(Ring& ring, const std::string& text)
    {
        sCalls.clear();
        ring.write(text);
        std::vector<Copied> copies;
        for (const Call& call : sCalls) {
            const std::ptrdiff_t offset = static_cast<unsigned char*>(call.destination) - ring.bytes();
            const std::ptrdiff_t start = static_cast<std::ptrdiff_t>(ring->start_offset);
            const std::ptrdiff_t elemSize = static_cast<std::ptrdiff_t>(ring->elem_size);
            copies.push_back({ (offset - start) / elemSize, static_cast<const char*>(call.source) - text.data(),
                               call.size });
        }
        return copies;
    }

private:
    struct Call {
        void* destination;
        const void* source;
        unsigned long size;
    };

    static inline std::vector<Call> sCalls;
};

#endif
