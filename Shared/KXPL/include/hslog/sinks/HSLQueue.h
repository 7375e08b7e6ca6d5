// The bounded queue of a sink, and the thread that empties it.
#ifndef HSLOG_HSL_QUEUE_H
#define HSLOG_HSL_QUEUE_H

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <thread>

namespace HSL {
namespace Sinks {

// Takes bytes on one thread and gives them to Consume on its own, in order and in large pieces, each the end of one or
// more Pushes. Never waits in Push. Its thread takes no signals.
class Queue {
public:
    static constexpr std::size_t kUsualBytes = 4 << 20; // 4 MiB

    // most: the bytes that may wait.
    explicit Queue(std::size_t most);
    virtual ~Queue() = default;

    Queue(const Queue&) = delete;
    Queue& operator=(const Queue&) = delete;

    // False, and nothing is taken, if there is no room. What is urgent is consumed at once, other bytes within some
    // milliseconds, so that the thread wakes seldom.
    bool Push(const char* bytes, std::size_t size, bool isUrgent);
    // Waits until all that was pushed before has been consumed.
    bool Flush(int milliseconds);

protected:
    // The last act of a constructor, and the first of a destructor, which lets the thread consume what is left.
    void Start();
    void Stop();

    // On the queue's own thread.
    virtual void Consume(const std::string& bytes) = 0;

private:
    void Run();

    std::mutex mMutex;
    std::condition_variable mHasWork;
    std::condition_variable mIsIdle;
    std::size_t mMost;
    std::string mWaiting; // guarded by the mutex, like all below
    bool mIsUrgent = false;
    bool mIsStopping = false;
    unsigned long long mPushed = 0;
    unsigned long long mConsumed = 0;
    std::thread mThread;
};

} // namespace Sinks
} // namespace HSL

#endif
