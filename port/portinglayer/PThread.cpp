#include "PThread.h"

#include "PCancelGuard.h"
#include "PErrno.h"
#include "PMonotonic.h"

PThread::PThread() noexcept : fHandle(), fStarted(false)
{
}

PThread::~PThread()
{
    if (fStarted)
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
    if (fStarted)
    {
        return PErrno::code(EBUSY);
    }
    const int error = pthread_create(&fHandle, nullptr, iFunction, iArgument);
    fStarted = error == 0;
    return PErrno::code(error);
}

int PThread::pjoin(void*& oResult) noexcept
{
    if (!fStarted)
    {
        return PErrno::code(ESRCH);
    }
    void* result = nullptr;
    const PCancelGuard guard;
    if (const int error = pthread_join(fHandle, &result))
    {
        return PErrno::code(error);
    }
    fStarted = false;
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
