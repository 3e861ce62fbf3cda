// What keeps threads apart that take an exception's memory from what the C++ runtime has set aside
// for want of it. Where GCC's runtime has POSIX threads, their mutex allocates when it is locked
// for the first time, which in this module is when memory has run out; the runtime throws that,
// wants memory for it, locks again, and so on until the stack ends, and the process with it, which
// is LogonUI. Here the mutex is a lock of the system's, which allocates nothing and never fails.
#include <mutex>  // with those threads it brings their declarations

#ifdef WIN_PTHREADS_H

#include <windows.h>

namespace {

static_assert(sizeof(pthread_mutex_t) == sizeof(SRWLOCK));

SRWLOCK* LockIn(pthread_mutex_t* mutex) noexcept
{
    return reinterpret_cast<SRWLOCK*>(mutex);
}

}  // namespace

// The four that the runtime calls here. Whoever calls another of these threads' functions is told
// by the linker, which then finds these twice.
extern "C" int pthread_mutex_init(pthread_mutex_t* mutex, const pthread_mutexattr_t*)
{
    *LockIn(mutex) = SRWLOCK_INIT;
    return 0;
}

extern "C" int pthread_mutex_destroy(pthread_mutex_t*)
{
    return 0;
}

extern "C" int pthread_mutex_lock(pthread_mutex_t* mutex)
{
    AcquireSRWLockExclusive(LockIn(mutex));
    return 0;
}

extern "C" int pthread_mutex_unlock(pthread_mutex_t* mutex)
{
    ReleaseSRWLockExclusive(LockIn(mutex));
    return 0;
}

#endif
