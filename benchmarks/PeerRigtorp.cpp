// rigtorp's SPSCQueue.
#include "Queues.h"

#include <rigtorp/SPSCQueue.h>

namespace bench {
namespace {

template <typename T> class RigtorpQueue {
public:
    explicit RigtorpQueue(std::size_t elements)
        : mQueue(elements)
    {
    }
    void Push(const T& element)
    {
        SpinUntil([&] { return mQueue.try_push(element); });
    }
    void Pop(T& element)
    {
        SpinUntil([&] { return mQueue.front() != nullptr; });
        element = *mQueue.front();
        mQueue.pop();
    }

private:
    rigtorp::SPSCQueue<T> mQueue;
};

[[maybe_unused]] const bool added = AddQueue<RigtorpQueue>("rigtorp::SPSCQueue");

} // namespace
} // namespace bench
