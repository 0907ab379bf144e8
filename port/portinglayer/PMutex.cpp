// SPDX-License-Identifier: MIT
#include "PMutex.h"

#include "PErrno.h"
#include "PFork.h"

#include <climits>

namespace
{
unsigned long _self() noexcept
{
    return static_cast<unsigned long>(pthread_self());
}
} // namespace

// Relaxed access to the owner suffices: it is compared with the calling thread only. A thread sees
// its own stores in order, and stores of other threads never equal itself.

PMutex::PMutex() noexcept : fHandle(), fOwner(0), fDepth(0), fGeneration(0), fRepeatable(false)
{
}

// The analysis does not apply to the implementation of the lock, here and in the two below.
PMutex::~PMutex() IXLA_NO_THREAD_SAFETY_ANALYSIS
{
    while (unlock() == 0)
    {
    }
    // Fails for a mutex that is not open, and for one that another thread holds: a locked mutex
    // must not be destroyed.
    close();
}

int PMutex::init(bool iRepeatable) noexcept
{
    const unsigned short generation = PFork::generation();
    if (__atomic_load_n(&fGeneration, __ATOMIC_RELAXED) == generation)
    {
        return PErrno::code(EBUSY);
    }
    if (const int error = pthread_mutex_init(&fHandle, nullptr))
    {
        return PErrno::code(error);
    }
    fRepeatable = iRepeatable;
    fDepth = 0;
    __atomic_store_n(&fOwner, 0ul, __ATOMIC_RELAXED);
    __atomic_store_n(&fGeneration, generation, __ATOMIC_RELEASE);
    return 0;
}

int PMutex::lock() noexcept IXLA_NO_THREAD_SAFETY_ANALYSIS
{
    const unsigned short opened = __atomic_load_n(&fGeneration, __ATOMIC_ACQUIRE);
    if (opened != PFork::generation())
    {
        return PFork::refused(opened);
    }
    const unsigned long self = _self();
    if (__atomic_load_n(&fOwner, __ATOMIC_RELAXED) == self)
    {
        if (!fRepeatable)
        {
            return PErrno::code(EDEADLK);
        }
        if (fDepth == UINT_MAX)
        {
            return PErrno::code(EAGAIN);
        }
        ++fDepth;
        return 0;
    }
    if (const int error = pthread_mutex_lock(&fHandle))
    {
        return PErrno::code(error);
    }
    __atomic_store_n(&fOwner, self, __ATOMIC_RELAXED);
    fDepth = 1;
    return 0;
}

// A forked child may release a lock of the forking thread: no other thread waits there.
int PMutex::unlock() noexcept IXLA_NO_THREAD_SAFETY_ANALYSIS
{
    if (__atomic_load_n(&fGeneration, __ATOMIC_ACQUIRE) == 0)
    {
        return PErrno::code(EINVAL);
    }
    if (__atomic_load_n(&fOwner, __ATOMIC_RELAXED) != _self())
    {
        return PErrno::code(EPERM);
    }
    if (--fDepth > 0)
    {
        return 0;
    }
    __atomic_store_n(&fOwner, 0ul, __ATOMIC_RELAXED);
    return PErrno::code(pthread_mutex_unlock(&fHandle));
}

int PMutex::close() noexcept
{
    const unsigned short opened = __atomic_load_n(&fGeneration, __ATOMIC_ACQUIRE);
    if (opened != PFork::generation())
    {
        return PFork::refused(opened);
    }
    if (const int error = pthread_mutex_trylock(&fHandle))
    {
        return PErrno::code(error);
    }
    pthread_mutex_unlock(&fHandle);
    if (const int error = pthread_mutex_destroy(&fHandle))
    {
        return PErrno::code(error);
    }
    __atomic_store_n(&fGeneration, static_cast<unsigned short>(0), __ATOMIC_RELEASE);
    return 0;
}
