// Stands between the library and the system calls it makes, inside a test program.
//
// Each member is empty, which lets the real function run, until a test puts its own there. Set them before
// other threads start. A test that sets any holds an Interposed object, which clears them all at its end.
#ifndef FALLCATCH_TESTS_INTERPOSE_H
#define FALLCATCH_TESTS_INTERPOSE_H

#include <pthread.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdarg>
#include <cstddef>
#include <ctime>
#include <functional>

struct Interposed {
    Interposed();
    ~Interposed();

    Interposed(const Interposed&) = delete;
    Interposed& operator=(const Interposed&) = delete;

    std::function<int(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*)> pthreadCreate;
    std::function<int(pthread_t, void**)> pthreadJoin;
    std::function<int(pthread_attr_t*)> pthreadAttrInit;
    std::function<int(pthread_attr_t*, int)> pthreadAttrSetdetachstate;
    std::function<int(pthread_attr_t*, int)> pthreadAttrSetschedpolicy;
    std::function<int(pthread_attr_t*, const struct sched_param*)> pthreadAttrSetschedparam;
    std::function<int(pthread_attr_t*)> pthreadAttrDestroy;
    std::function<int(pthread_t, const char*)> pthreadSetname;
    std::function<int(pthread_mutexattr_t*)> mutexattrInit;
    std::function<int(pthread_mutexattr_t*, int)> mutexattrSettype;
    std::function<int(pthread_mutexattr_t*, int)> mutexattrSetprotocol;
    std::function<int(pthread_mutexattr_t*)> mutexattrDestroy;
    std::function<int(pthread_mutex_t*, const pthread_mutexattr_t*)> mutexInit;
    std::function<int(pthread_mutex_t*)> mutexDestroy;
    std::function<int(pthread_mutex_t*)> mutexLock;
    std::function<int(pthread_mutex_t*)> mutexTrylock;
    std::function<int(pthread_mutex_t*)> mutexUnlock;
    std::function<int(pthread_key_t*, void (*)(void*))> keyCreate;
    std::function<int(pthread_key_t)> keyDelete;
    std::function<int(pthread_key_t, const void*)> setspecific;
    std::function<int(int)> schedGetPriorityMin;
    std::function<int(int)> schedGetPriorityMax;
    std::function<int(useconds_t)> usleepHook;
    std::function<int(struct timeval*, void*)> gettimeofdayHook;
    std::function<std::time_t(std::time_t*)> timeHook;
    std::function<std::tm*(const std::time_t*, std::tm*)> localtimeHook; // of localtime_r
    std::function<void()> tzsetHook;
    std::function<int(char*, std::size_t, const char*, va_list)> vsnprintfHook;
};

// The real functions, for a hook that observes and lets the call pass.
extern "C" {
int __real_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
int __real_pthread_join(pthread_t, void**);
int __real_pthread_attr_init(pthread_attr_t*);
int __real_pthread_attr_setdetachstate(pthread_attr_t*, int);
int __real_pthread_attr_setschedpolicy(pthread_attr_t*, int);
int __real_pthread_attr_setschedparam(pthread_attr_t*, const struct sched_param*);
int __real_pthread_attr_destroy(pthread_attr_t*);
int __real_pthread_setname_np(pthread_t, const char*);
int __real_pthread_mutexattr_init(pthread_mutexattr_t*);
int __real_pthread_mutexattr_settype(pthread_mutexattr_t*, int);
int __real_pthread_mutexattr_setprotocol(pthread_mutexattr_t*, int);
int __real_pthread_mutexattr_destroy(pthread_mutexattr_t*);
int __real_pthread_mutex_init(pthread_mutex_t*, const pthread_mutexattr_t*);
int __real_pthread_mutex_destroy(pthread_mutex_t*);
int __real_pthread_mutex_lock(pthread_mutex_t*);
int __real_pthread_mutex_trylock(pthread_mutex_t*);
int __real_pthread_mutex_unlock(pthread_mutex_t*);
int __real_pthread_key_create(pthread_key_t*, void (*)(void*));
int __real_pthread_key_delete(pthread_key_t);
int __real_pthread_setspecific(pthread_key_t, const void*);
int __real_sched_get_priority_min(int);
int __real_sched_get_priority_max(int);
int __real_usleep(useconds_t);
int __real_gettimeofday(struct timeval*, void*);
std::time_t __real_time(std::time_t*);
std::tm* __real_localtime_r(const std::time_t*, std::tm*);
void __real_tzset(void);
int __real_vsnprintf(char*, std::size_t, const char*, va_list);
}

#endif
