// Abstract thread objects over POSIX threads.
#ifndef KXPL_KX_THREAD_H
#define KXPL_KX_THREAD_H

#include "detail/KxHost.h"

#include <pthread.h>

#include <string>
#include <vector>

struct KxTime;
class KxThread;

// The operating system's part of a KxThread.
struct KxThreadPlatformData {
    pthread_t mHandle; // the thread started last; zero before the first Start
    bool mIsRunning;   // true from Start until Run has returned
    bool mIsJoinable;  // a thread was created and not joined yet
};

// Stands around KxThread::Run on the new thread. Derive from it to add something before or after.
class KxThreadRunWrapper {
public:
    virtual ~KxThreadRunWrapper();
    virtual void RunWrapper(KxThread* thread); // calls thread->Run()
};

// Derive and supply Run. Start, WaitForExit and the destructor are for the owning thread; an owner must join
// before it destroys the object, which neither joins nor stops a running thread.
//
// When a KxThread ends, its log context goes with it, and so do records that no collection pass has taken
// yet. A thread that must not lose its last lines calls HSL::LogManager()->Collect() at the end of Run.
class KxThread {
public:
    KxThread();
    virtual ~KxThread();

    KxThread(const KxThread&) = delete;
    KxThread& operator=(const KxThread&) = delete;

    // Creates a joinable thread with policy SCHED_FIFO and mPriority's place on the scale; does nothing while
    // the thread runs. No failure is reported: if the thread cannot be created, the object counts as running
    // for ever. Whether the system honours policy and priority is the system's business; Linux lets the
    // thread inherit its creator's.
    virtual void Start();
    // Waits for the thread to end. Returns pthread_join's result; ESRCH where there is nothing to join.
    virtual int WaitForExit();
    // The thread's work.
    virtual void Run() = 0;

    pthread_t GetId(); // zero before the first Start; the last thread's identity after it has ended
    void GetThreadTimes(KxTime& a, KxTime& b); // does nothing; both stay as they were

    // The body of every started thread: runs mAtStartFunctions, names the thread, runs Run, and releases the
    // thread's log context. A null thread gets the functions and the release only.
    static void ThreadStart(KxThread* thread);

    // Remembers the calling thread as the main thread; to be called there before IsMainThread means anything.
    static void Initialize();
    // Who calls, whether that is the main thread, and which one that is (zero before Initialize).
    static pthread_t GetCurrentId();
    static bool IsMainThread();
    static pthread_t MainThreadID();

    // Both return usleep's last result. The second sleeps whole seconds one at a time, then the rest; an
    // infinite time never returns. Beware of negative numbers: usleep takes them as unsigned and sleeps for
    // more than an hour. Of a negative time only what is left over whole seconds is handed to it, so -2 seconds
    // return at once but -2.5 seconds do not.
    static int Sleep(int microseconds);
    static int Sleep(const KxTime& time);

    // Run in order at the start of every thread, on it. Functions that one of them adds are run too. Must not
    // be changed in any other way while threads are being started.
    static std::vector<void (*)()> mAtStartFunctions;
    static pthread_t msMainThreadID; // what MainThreadID returns

    // "unnamed"; an empty name shows as "BONEHEAD". Linux shows its first 15 bytes, macOS none that is longer than 63.
    std::string mName;
    // 1000 (lowest) to 1015 (highest); 1005, and any other value, is the middle. The four steps below the
    // middle are twice as large as the nine above it.
    int mPriority;
    int mReserved;                       // -1; not used here
    void* mUserData;                     // the host's own; not set by the constructor
    KxThreadRunWrapper* mRunWrapper;     // owned, made with new; may be replaced while the thread does not run
    KxThreadPlatformData* mPlatformData; // owned
};

#endif
