// moodycamel's ReaderWriterQueue.
#include "Queues.h"

#include <readerwriterqueue.h>

namespace bench {
namespace {

template <typename T> class MoodycamelQueue {
public:
    explicit MoodycamelQueue(std::size_t elements)
        : mQueue(elements)
    {
    }
    void Push(const T& element)
    {
        SpinUntil([&] { return mQueue.try_enqueue(element); });
    }
    void Pop(T& element)
    {
        SpinUntil([&] { return mQueue.try_dequeue(element); });
    }

private:
    moodycamel::ReaderWriterQueue<T> mQueue;
};

[[maybe_unused]] const bool added = AddQueue<MoodycamelQueue>("moodycamel::ReaderWriterQueue");

} // namespace
} // namespace bench
