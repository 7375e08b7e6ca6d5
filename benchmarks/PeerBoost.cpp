// Boost.Lockfree's queue for one writer and one reader.
#include "Queues.h"

#include <boost/lockfree/spsc_queue.hpp>

namespace bench {
namespace {

template <typename T> class BoostQueue {
public:
    explicit BoostQueue(std::size_t elements)
        : mQueue(elements)
    {
    }
    void Push(const T& element)
    {
        SpinUntil([&] { return mQueue.push(element); });
    }
    void Pop(T& element)
    {
        SpinUntil([&] { return mQueue.pop(element); });
    }

private:
    boost::lockfree::spsc_queue<T> mQueue;
};

[[maybe_unused]] const bool added = AddQueue<BoostQueue>("boost::lockfree::spsc_queue");

} // namespace
} // namespace bench
