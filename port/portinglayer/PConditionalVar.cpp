#include "PConditionalVar.h"

#include "PCancelGuard.h"
#include "PErrno.h"
#include "PMonotonic.h"
#include "PMutex.h"

PConditionalVar::PConditionalVar() noexcept : fHandle(), fOpen(false)
{
}

PConditionalVar::~PConditionalVar()
{
    if (fOpen)
    {
        pthread_cond_destroy(&fHandle);
    }
}

int PConditionalVar::init() noexcept
{
    if (fOpen)
    {
        return PErrno::code(EBUSY);
    }
    pthread_condattr_t attributes;
    if (const int error = pthread_condattr_init(&attributes))
    {
        return PErrno::code(error);
    }
    int error = pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    if (error == 0)
    {
        error = pthread_cond_init(&fHandle, &attributes);
    }
    pthread_condattr_destroy(&attributes);
    fOpen = error == 0;
    return PErrno::code(error);
}

int PConditionalVar::close() noexcept
{
    if (!fOpen)
    {
        return PErrno::code(EINVAL);
    }
    if (const int error = pthread_cond_destroy(&fHandle))
    {
        return PErrno::code(error);
    }
    fOpen = false;
    return 0;
}

int PConditionalVar::notifyAll() noexcept
{
    return fOpen ? PErrno::code(pthread_cond_broadcast(&fHandle)) : PErrno::code(EINVAL);
}

int PConditionalVar::wait(PMutex* iMutex, unsigned int iMilliseconds) noexcept
{
    if (!fOpen || !iMutex)
    {
        return PErrno::code(EINVAL);
    }
    const unsigned long self = static_cast<unsigned long>(pthread_self());
    if (__atomic_load_n(&iMutex->fOwner, __ATOMIC_RELAXED) != self)
    {
        return PErrno::code(EPERM);
    }
    const timespec limit = PMonotonic::after(iMilliseconds);
    const PCancelGuard guard;
    const unsigned int depth = iMutex->fDepth;
    iMutex->fDepth = 0;
    __atomic_store_n(&iMutex->fOwner, 0ul, __ATOMIC_RELAXED);
    // Holds the mutex again when it returns, whatever it returns.
    const int error = pthread_cond_timedwait(&fHandle, &iMutex->fHandle, &limit);
    __atomic_store_n(&iMutex->fOwner, self, __ATOMIC_RELAXED);
    iMutex->fDepth = depth;
    return error == ETIMEDOUT ? static_cast<int>(eTimeout) : PErrno::code(error);
}
