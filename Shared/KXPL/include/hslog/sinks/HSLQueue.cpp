#include "hslog/sinks/HSLQueue.h"

#include <pthread.h>
#include <signal.h>

#include <chrono>

namespace HSL {
namespace Sinks {
namespace {

constexpr std::chrono::milliseconds kGather { 5 };

} // namespace

Queue::Queue(std::size_t most)
    : mMost(most)
{
    // All memory that Push will ever need.
    mWaiting.reserve(most);
}

void Queue::Start()
{
    // The thread begins with the mask of the one that makes it.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    mThread = std::thread([this] { Run(); });
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void Queue::Stop()
{
    {
        const std::lock_guard<std::mutex> guard(mMutex);
        mIsStopping = true;
    }
    mHasWork.notify_one();
    if (mThread.joinable()) {
        mThread.join();
    }
}

bool Queue::Push(const char* bytes, std::size_t size, bool isUrgent)
{
    bool mustWake = false;
    {
        const std::lock_guard<std::mutex> guard(mMutex);
        if (size > mMost - mWaiting.size()) {
            return false;
        }
        const bool wasHalfFull = mWaiting.size() > mMost / 2;
        mustWake = mWaiting.empty() || (isUrgent && !mIsUrgent);
        mWaiting.append(bytes, size);
        mPushed += size;
        mIsUrgent = mIsUrgent || isUrgent;
        mustWake = mustWake || (!wasHalfFull && mWaiting.size() > mMost / 2);
    }
    if (mustWake) {
        mHasWork.notify_one();
    }
    return true;
}

bool Queue::Flush(int milliseconds)
{
    std::unique_lock<std::mutex> lock(mMutex);
    const unsigned long long pushed = mPushed;
    mIsUrgent = true;
    mHasWork.notify_one();
    return mIsIdle.wait_for(lock, std::chrono::milliseconds(milliseconds), [&] { return mConsumed >= pushed; });
}

void Queue::Run()
{
    std::string taken;
    taken.reserve(mMost);
    std::unique_lock<std::mutex> lock(mMutex);
    while (true) {
        mHasWork.wait(lock, [this] { return mIsStopping || !mWaiting.empty(); });
        if (mWaiting.empty()) {
            return;
        }
        mHasWork.wait_for(lock, kGather,
                          [this] { return mIsStopping || mIsUrgent || mWaiting.size() > mMost / 2; });
        taken.swap(mWaiting);
        mIsUrgent = false;
        lock.unlock();
        Consume(taken);
        lock.lock();
        mConsumed += taken.size();
        taken.clear();
        mIsIdle.notify_all();
    }
}

} // namespace Sinks
} // namespace HSL
