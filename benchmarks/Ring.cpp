// The ring as the logger uses it: elements of one byte, whatever is written.
#include "Queues.h"

#include <CircularBuffer.h>

namespace bench {
namespace {

template <typename T> class Ring {
public:
    explicit Ring(std::size_t elements)
        : mBytes(1, static_cast<unsigned int>(elements * sizeof(T)), CCircularBuffer::MallocFunc,
                 CCircularBuffer::FreeFunc, CCircularBuffer::CopyFunc)
    {
        mBytes.SetFlags(CB_FLAG_NO_OVERFLOW_ERROR);
    }

    // Room and data come in any number of bytes.
    void Push(const T& element)
    {
        const char* bytes = reinterpret_cast<const char*>(&element);
        Complete([&](int done, int& count) { mBytes.Write(bytes + done, count); });
    }
    void Pop(T& element)
    {
        char* bytes = reinterpret_cast<char*>(&element);
        Complete([&](int done, int& count) { mBytes.Read(bytes + done, count); });
    }

private:
    template <typename Step> static void Complete(Step&& step)
    {
        int done = 0;
        SpinUntil([&] {
            int count = static_cast<int>(sizeof(T)) - done;
            step(done, count);
            done += count;
            return done == static_cast<int>(sizeof(T));
        });
    }

    CCircularBuffer mBytes;
};

[[maybe_unused]] const bool added = AddQueue<Ring>("kxpl");

} // namespace
} // namespace bench
