#include "Darwin.h"

#include <pthread.h>
#include <sched.h>
#include <signal.h>

#include <cerrno>
#include <cstdint>

// Darwin's records for attributes, mutexes and their attributes hold 64, 64 and 16 bytes, and this system's fit in.
static_assert(sizeof(pthread_attr_t) <= 64 && sizeof(pthread_mutex_t) <= 64
                  && sizeof(pthread_mutexattr_t) <= 16,
              "a record of this system lies in the place of one of Darwin's");

namespace {

// Numbers of Darwin's <pthread.h>, <sched.h> and <sys/signal.h>.
constexpr int kDarwinJoinable = 1;
constexpr int kDarwinFifo = 4;
constexpr int kDarwinRecursive = 2;
constexpr int kDarwinInherit = 1;
constexpr int kDarwinCancelEnable = 1;
constexpr int kDarwinSignals = 31;

// As on Darwin, no key is 0.
constexpr std::uint64_t kFirstKey = 256;

using DarwinSignalSet = std::uint32_t;

// This system's number of each of Darwin's signals, from 1 on; 0: there is none.
constexpr int kSignals[kDarwinSignals] = { SIGHUP,  SIGINT,  SIGQUIT, SIGILL,  SIGTRAP,   SIGABRT, 0,
                                           SIGFPE,  SIGKILL, SIGBUS,  SIGSEGV, SIGSYS,    SIGPIPE, SIGALRM,
                                           SIGTERM, SIGURG,  SIGSTOP, SIGTSTP, SIGCONT,   SIGCHLD, SIGTTIN,
                                           SIGTTOU, SIGIO,   SIGXCPU, SIGXFSZ, SIGVTALRM, SIGPROF, SIGWINCH,
                                           0,       SIGUSR1, SIGUSR2 };

int setDetachState(pthread_attr_t* attributes, int state)
{
    return state == kDarwinJoinable ? pthread_attr_setdetachstate(attributes, PTHREAD_CREATE_JOINABLE) : EINVAL;
}

int setPolicy(pthread_attr_t* attributes, int policy)
{
    return policy == kDarwinFifo ? pthread_attr_setschedpolicy(attributes, SCHED_FIFO) : EINVAL;
}

int leastPriority(int policy)
{
    return policy == kDarwinFifo ? sched_get_priority_min(SCHED_FIFO) : -1;
}

int greatestPriority(int policy)
{
    return policy == kDarwinFifo ? sched_get_priority_max(SCHED_FIFO) : -1;
}

int setType(pthread_mutexattr_t* attributes, int type)
{
    return type == kDarwinRecursive ? pthread_mutexattr_settype(attributes, PTHREAD_MUTEX_RECURSIVE) : EINVAL;
}

int setProtocol(pthread_mutexattr_t* attributes, int protocol)
{
    return protocol == kDarwinInherit ? pthread_mutexattr_setprotocol(attributes, PTHREAD_PRIO_INHERIT)
                                      : EINVAL;
}

// What PTHREAD_MUTEX_INITIALIZER leaves in a mutex, to be set up when it is first used.
constexpr std::uint32_t kDarwinUnusedMutex = 0x32AAABA7;

pthread_mutex_t* setUp(pthread_mutex_t* mutex)
{
    // The first word is the lock itself on this system, which is never that number.
    const auto isUnused = [mutex] {
        return __atomic_load_n(reinterpret_cast<std::uint32_t*>(mutex), __ATOMIC_RELAXED) == kDarwinUnusedMutex;
    };
    static pthread_mutex_t guard = PTHREAD_MUTEX_INITIALIZER;
    pthread_mutex_lock(&guard);
    if (isUnused()) {
        pthread_mutex_init(mutex, nullptr);
    }
    pthread_mutex_unlock(&guard);
    return mutex;
}

int lock(pthread_mutex_t* mutex)
{
    return pthread_mutex_lock(setUp(mutex));
}

int tryLock(pthread_mutex_t* mutex)
{
    return pthread_mutex_trylock(setUp(mutex));
}

int destroy(pthread_mutex_t* mutex)
{
    return pthread_mutex_destroy(setUp(mutex));
}

int createKey(std::uint64_t* key, void (*destroy)(void*))
{
    pthread_key_t made;
    const int error = pthread_key_create(&made, destroy);
    *key = error == 0 ? made + kFirstKey : *key;
    return error;
}

pthread_key_t keyOf(std::uint64_t key)
{
    return static_cast<pthread_key_t>(key - kFirstKey);
}

int deleteKey(std::uint64_t key)
{
    return pthread_key_delete(keyOf(key));
}

void* getSpecific(std::uint64_t key)
{
    return pthread_getspecific(keyOf(key));
}

int setSpecific(std::uint64_t key, const void* value)
{
    return pthread_setspecific(keyOf(key), value);
}

int setName(const char* name)
{
    return pthread_setname_np(pthread_self(), name);
}

int setCancelState(int state, int* before)
{
    int was = PTHREAD_CANCEL_ENABLE;
    const int error = pthread_setcancelstate(
        state == kDarwinCancelEnable ? PTHREAD_CANCEL_ENABLE : PTHREAD_CANCEL_DISABLE, &was);
    if (before != nullptr) {
        *before = was == PTHREAD_CANCEL_ENABLE ? kDarwinCancelEnable : 0;
    }
    return error;
}

// Darwin counts the ways to set a mask from 1.
int setMask(int way, const DarwinSignalSet* set, DarwinSignalSet* before)
{
    sigset_t wanted;
    sigset_t was;
    sigemptyset(&wanted);
    for (int i = 0; set != nullptr && i < kDarwinSignals; ++i) {
        if ((*set >> i & 1) != 0 && kSignals[i] != 0) {
            sigaddset(&wanted, kSignals[i]);
        }
    }
    const int error = pthread_sigmask(way - 1, set != nullptr ? &wanted : nullptr, &was);
    if (before != nullptr && error == 0) {
        *before = 0;
        for (int i = 0; i < kDarwinSignals; ++i) {
            const bool isMember = kSignals[i] != 0 && sigismember(&was, kSignals[i]) == 1;
            *before |= DarwinSignalSet(isMember ? 1 : 0) << i;
        }
    }
    return error;
}

} // namespace

const Functions& darwinThreads()
{
    static const Functions functions = {
        { "pthread_atfork", asAddress(pthread_atfork) },
        { "pthread_attr_init", asAddress(pthread_attr_init) },
        { "pthread_attr_setdetachstate", asAddress(setDetachState) },
        { "pthread_attr_setschedparam", asAddress(pthread_attr_setschedparam) },
        { "pthread_attr_setschedpolicy", asAddress(setPolicy) },
        { "pthread_create", asAddress(pthread_create) },
        { "pthread_getspecific", asAddress(getSpecific) },
        { "pthread_key_create", asAddress(createKey) },
        { "pthread_key_delete", asAddress(deleteKey) },
        { "pthread_mutex_destroy", asAddress(destroy) },
        { "pthread_mutex_init", asAddress(pthread_mutex_init) },
        { "pthread_mutex_lock", asAddress(lock) },
        { "pthread_mutex_trylock", asAddress(tryLock) },
        { "pthread_mutex_unlock", asAddress(pthread_mutex_unlock) },
        { "pthread_mutexattr_destroy", asAddress(pthread_mutexattr_destroy) },
        { "pthread_mutexattr_init", asAddress(pthread_mutexattr_init) },
        { "pthread_mutexattr_setprotocol", asAddress(setProtocol) },
        { "pthread_mutexattr_settype", asAddress(setType) },
        { "pthread_setcancelstate", asAddress(setCancelState) },
        { "pthread_setname_np", asAddress(setName) },
        { "pthread_setspecific", asAddress(setSpecific) },
        { "pthread_sigmask", asAddress(setMask) },
        { "sched_get_priority_max", asAddress(greatestPriority) },
        { "sched_get_priority_min", asAddress(leastPriority) },
    };
    return functions;
}
