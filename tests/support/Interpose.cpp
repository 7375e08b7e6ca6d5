#include "Interpose.h"

namespace {

// The hooks of the test that runs now.
Interposed* gHooks = nullptr;

template <typename Hook, typename Real, typename... Arguments>
auto call(Hook Interposed::*hook, Real real, Arguments... arguments)
{
    Interposed* hooks = gHooks;
    if (hooks != nullptr && hooks->*hook) {
        return (hooks->*hook)(arguments...);
    }
    return real(arguments...);
}

} // namespace

Interposed::Interposed()
{
    gHooks = this;
}

Interposed::~Interposed()
{
    gHooks = nullptr;
}

// The linker's --wrap option sends every call of these functions in the program here.
extern "C" {

int __wrap_pthread_create(pthread_t* a, const pthread_attr_t* b, void* (*c)(void*), void* d)
{
    return call(&Interposed::pthreadCreate, __real_pthread_create, a, b, c, d);
}

int __wrap_pthread_join(pthread_t a, void** b)
{
    return call(&Interposed::pthreadJoin, __real_pthread_join, a, b);
}

int __wrap_pthread_attr_init(pthread_attr_t* a)
{
    return call(&Interposed::pthreadAttrInit, __real_pthread_attr_init, a);
}

int __wrap_pthread_attr_setdetachstate(pthread_attr_t* a, int b)
{
    return call(&Interposed::pthreadAttrSetdetachstate, __real_pthread_attr_setdetachstate, a, b);
}

int __wrap_pthread_attr_setschedpolicy(pthread_attr_t* a, int b)
{
    return call(&Interposed::pthreadAttrSetschedpolicy, __real_pthread_attr_setschedpolicy, a, b);
}

int __wrap_pthread_attr_setschedparam(pthread_attr_t* a, const struct sched_param* b)
{
    return call(&Interposed::pthreadAttrSetschedparam, __real_pthread_attr_setschedparam, a, b);
}

int __wrap_pthread_attr_destroy(pthread_attr_t* a)
{
    return call(&Interposed::pthreadAttrDestroy, __real_pthread_attr_destroy, a);
}

int __wrap_pthread_setname_np(pthread_t a, const char* b)
{
    return call(&Interposed::pthreadSetname, __real_pthread_setname_np, a, b);
}

int __wrap_pthread_mutexattr_init(pthread_mutexattr_t* a)
{
    return call(&Interposed::mutexattrInit, __real_pthread_mutexattr_init, a);
}

int __wrap_pthread_mutexattr_settype(pthread_mutexattr_t* a, int b)
{
    return call(&Interposed::mutexattrSettype, __real_pthread_mutexattr_settype, a, b);
}

int __wrap_pthread_mutexattr_setprotocol(pthread_mutexattr_t* a, int b)
{
    return call(&Interposed::mutexattrSetprotocol, __real_pthread_mutexattr_setprotocol, a, b);
}

int __wrap_pthread_mutexattr_destroy(pthread_mutexattr_t* a)
{
    return call(&Interposed::mutexattrDestroy, __real_pthread_mutexattr_destroy, a);
}

int __wrap_pthread_mutex_init(pthread_mutex_t* a, const pthread_mutexattr_t* b)
{
    return call(&Interposed::mutexInit, __real_pthread_mutex_init, a, b);
}

int __wrap_pthread_mutex_destroy(pthread_mutex_t* a)
{
    return call(&Interposed::mutexDestroy, __real_pthread_mutex_destroy, a);
}

int __wrap_pthread_mutex_lock(pthread_mutex_t* a)
{
    return call(&Interposed::mutexLock, __real_pthread_mutex_lock, a);
}

int __wrap_pthread_mutex_trylock(pthread_mutex_t* a)
{
    return call(&Interposed::mutexTrylock, __real_pthread_mutex_trylock, a);
}

int __wrap_pthread_mutex_unlock(pthread_mutex_t* a)
{
    return call(&Interposed::mutexUnlock, __real_pthread_mutex_unlock, a);
}

int __wrap_pthread_key_create(pthread_key_t* a, void (*b)(void*))
{
    return call(&Interposed::keyCreate, __real_pthread_key_create, a, b);
}

int __wrap_pthread_key_delete(pthread_key_t a)
{
    return call(&Interposed::keyDelete, __real_pthread_key_delete, a);
}

int __wrap_pthread_setspecific(pthread_key_t a, const void* b)
{
    return call(&Interposed::setspecific, __real_pthread_setspecific, a, b);
}

int __wrap_sched_get_priority_min(int a)
{
    return call(&Interposed::schedGetPriorityMin, __real_sched_get_priority_min, a);
}

int __wrap_sched_get_priority_max(int a)
{
    return call(&Interposed::schedGetPriorityMax, __real_sched_get_priority_max, a);
}

int __wrap_usleep(useconds_t a)
{
    return call(&Interposed::usleepHook, __real_usleep, a);
}

int __wrap_gettimeofday(struct timeval* a, void* b)
{
    return call(&Interposed::gettimeofdayHook, __real_gettimeofday, a, b);
}

std::time_t __wrap_time(std::time_t* a)
{
    return call(&Interposed::timeHook, __real_time, a);
}

std::tm* __wrap_localtime_r(const std::time_t* a, std::tm* b)
{
    return call(&Interposed::localtimeHook, __real_localtime_r, a, b);
}

void __wrap_tzset(void)
{
    call(&Interposed::tzsetHook, __real_tzset);
}

int __wrap_vsnprintf(char* a, std::size_t b, const char* c, va_list d)
{
    return call(&Interposed::vsnprintfHook, __real_vsnprintf, a, b, c, d);
}

} // extern "C"
