#include "KxThread.h"

#include "detail/KxAtomic.h"
#include "platform/KxThreadPlatform.h"
#include "KxTime.h"
#include "hslog/HSLLogManager.h"

#include <sched.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <memory>

std::vector<void (*)()> KxThread::mAtStartFunctions;
pthread_t KxThread::msMainThreadID;

namespace {

constexpr int kLowestPriority = 1000;
constexpr int kMiddlePriority = 1005;
constexpr int kHighestPriority = 1015;

constexpr long long kMicrosecondsPerSecond = 1000000;
constexpr useconds_t kEndlessSleepStep = 1000000000;

void* startRoutine(void* arg)
{
    KxThread::ThreadStart(static_cast<KxThread*>(arg));
    return nullptr;
}

// A step below the middle is a fifth of the half range, one above it a tenth.
int schedulingPriority(int priority, int min, int max)
{
    const int mid = (min + max) / 2;
    const int half = (max - min) / 2;
    int result = mid;
    if (priority == kLowestPriority) {
        result = min;
    } else if (priority == kHighestPriority) {
        result = max;
    } else if (priority > kLowestPriority && priority < kMiddlePriority) {
        result = mid - ((kMiddlePriority - priority) * half) / 5;
    } else if (priority > kMiddlePriority && priority < kHighestPriority) {
        result = mid + ((priority - kMiddlePriority) * half) / 10;
    }
    return result < min ? min : (result > max ? max : result);
}

} // namespace

KxThreadRunWrapper::~KxThreadRunWrapper() = default;

void KxThreadRunWrapper::RunWrapper(KxThread* thread)
{
    thread->Run();
}

KxThread::KxThread()
    : mName("unnamed")
    , mPriority(kMiddlePriority)
    , mReserved(-1)
    , mRunWrapper(nullptr)
    , mPlatformData(nullptr)
{
    // No destructor runs for an object whose constructor throws.
    auto platformData = std::make_unique<KxThreadPlatformData>();
    mRunWrapper = new KxThreadRunWrapper;
    mPlatformData = platformData.release();
}

KxThread::~KxThread()
{
    delete mPlatformData;
    delete mRunWrapper;
}

void KxThread::Start()
{
    // Pair THREAD-ENDED, acquire: what the last run wrote is visible to the owner.
    if (KxLoadAcquire(mPlatformData->mIsRunning)) {
        return;
    }
    KxStoreRelaxed(mPlatformData->mIsRunning, true);

    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_JOINABLE);
    pthread_attr_setschedpolicy(&attributes, SCHED_FIFO);
    const int min = sched_get_priority_min(SCHED_FIFO);
    const int max = sched_get_priority_max(SCHED_FIFO);
    struct sched_param parameter = {};
    parameter.sched_priority = schedulingPriority(mPriority, min, max);
    pthread_attr_setschedparam(&attributes, &parameter);
    // Joining a thread that was never created faults on Linux, so success is remembered; nothing else depends
    // on it.
    mPlatformData->mIsJoinable = pthread_create(&mPlatformData->mHandle, &attributes, startRoutine, this) == 0;
}

int KxThread::WaitForExit()
{
    if (!mPlatformData->mIsJoinable) {
        return ESRCH;
    }
    const int result = pthread_join(mPlatformData->mHandle, nullptr);
    mPlatformData->mIsJoinable = result != 0;
    return result;
}

pthread_t KxThread::GetId()
{
    return mPlatformData->mHandle;
}

void KxThread::GetThreadTimes(KxTime&, KxTime&) { }

void KxThread::ThreadStart(KxThread* thread)
{
    for (std::size_t i = 0; i < mAtStartFunctions.size(); ++i) {
        mAtStartFunctions[i]();
    }
    if (thread != nullptr) {
        KxSetCurrentThreadName(thread->mName.empty() ? "BONEHEAD" : thread->mName.c_str());
        thread->mRunWrapper->RunWrapper(thread);
        // Pair THREAD-ENDED, release.
        KxStoreRelease(thread->mPlatformData->mIsRunning, false);
    }
    if (HSL::CLogManager::IsInitialized()) {
        HSL::CLogManager::Instance()->CleanupTLSContext();
    }
}

void KxThread::Initialize()
{
    msMainThreadID = pthread_self();
}

pthread_t KxThread::GetCurrentId()
{
    return pthread_self();
}

bool KxThread::IsMainThread()
{
    return pthread_self() == msMainThreadID;
}

pthread_t KxThread::MainThreadID()
{
    return msMainThreadID;
}

int KxThread::Sleep(int microseconds)
{
    return usleep(static_cast<useconds_t>(microseconds));
}

int KxThread::Sleep(const KxTime& time)
{
    if (time.mIsInfinite) {
        for (;;) {
            usleep(kEndlessSleepStep);
        }
    }
    const long long seconds = time.mMicroseconds / kMicrosecondsPerSecond;
    for (long long i = 0; i < seconds; ++i) {
        usleep(static_cast<useconds_t>(kMicrosecondsPerSecond));
    }
    return usleep(static_cast<useconds_t>(time.mMicroseconds - seconds * kMicrosecondsPerSecond));
}
