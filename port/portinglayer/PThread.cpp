// SPDX-License-Identifier: MIT
#include "PThread.h"

#include "PCancelGuard.h"
#include "PErrno.h"
#include "PFork.h"
#include "PMonotonic.h"

PThread::PThread() noexcept : fHandle(), fGeneration(0)
{
}

PThread::~PThread()
{
    if (fGeneration == PFork::generation())
    {
        pthread_detach(fHandle);
    }
}

int PThread::pcreate(void* (*iFunction)(void*), void* iArgument) noexcept
{
    if (!iFunction)
    {
        return PErrno::code(EINVAL);
    }
    if (fGeneration == PFork::generation())
    {
        return PErrno::code(EBUSY);
    }
    const int error = pthread_create(&fHandle, nullptr, iFunction, iArgument);
    fGeneration = error == 0 ? PFork::generation() : static_cast<unsigned short>(0);
    return PErrno::code(error);
}

int PThread::pjoin(void*& oResult) noexcept
{
    if (const int refused = PFork::refused(fGeneration, ESRCH))
    {
        return refused;
    }
    void* result = nullptr;
    const PCancelGuard guard;
    if (const int error = pthread_join(fHandle, &result))
    {
        return PErrno::code(error);
    }
    fGeneration = 0;
    oResult = result;
    return 0;
}

void PThread::psleep(unsigned int iMilliseconds) noexcept
{
    const timespec end = PMonotonic::after(iMilliseconds);
    const PCancelGuard guard;
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr) == EINTR)
    {
    }
}

unsigned long PThread::getCurrentThreadId() noexcept
{
    return static_cast<unsigned long>(pthread_self());
}
