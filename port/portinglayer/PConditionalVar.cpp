// SPDX-License-Identifier: MIT
#include "PConditionalVar.h"

#include "PCancelGuard.h"
#include "PErrno.h"
#include "PFork.h"
#include "PMonotonic.h"
#include "PMutex.h"

PConditionalVar::PConditionalVar() noexcept : fHandle(), fGeneration(0)
{
}

PConditionalVar::~PConditionalVar()
{
    // One inherited by a forked child may have waiters; destroying it would wait for them forever.
    if (PFork::refused(fGeneration) == 0)
    {
        pthread_cond_destroy(&fHandle);
    }
}

int PConditionalVar::init() noexcept
{
    if (PFork::refused(fGeneration) == 0)
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
    fGeneration = error == 0 ? PFork::generation() : static_cast<unsigned short>(0);
    return PErrno::code(error);
}

int PConditionalVar::close() noexcept
{
    if (const int refused = PFork::refused(fGeneration))
    {
        return refused;
    }
    if (const int error = pthread_cond_destroy(&fHandle))
    {
        return PErrno::code(error);
    }
    fGeneration = 0;
    return 0;
}

int PConditionalVar::notifyAll() noexcept
{
    const int refused = PFork::refused(fGeneration);
    return refused != 0 ? refused : PErrno::code(pthread_cond_broadcast(&fHandle));
}

int PConditionalVar::wait(PMutex* iMutex, unsigned int iMilliseconds) noexcept
{
    if (const int refused = iMutex ? PFork::refused(fGeneration) : PErrno::code(EINVAL))
    {
        return refused;
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
    // Holds the mutex again when it returns, with every result.
    const int error = pthread_cond_timedwait(&fHandle, &iMutex->fHandle, &limit);
    __atomic_store_n(&iMutex->fOwner, self, __ATOMIC_RELAXED);
    iMutex->fDepth = depth;
    return error == ETIMEDOUT ? static_cast<int>(eTimeout) : PErrno::code(error);
}
