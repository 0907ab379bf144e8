// SPDX-License-Identifier: MIT
#include "support/PortFaults.h"

#include "portinglayer/PConditionalVar.h"
#include "portinglayer/PFile.h"
#include "portinglayer/PMutex.h"
#include "portinglayer/PProcess.h"
#include "portinglayer/PString.h"
#include "portinglayer/PThread.h"
#include "portinglayer/PUtils.h"

#include <cstdlib>
#include <dlfcn.h>
#include <mutex>
#include <pthread.h>

namespace
{
std::mutex sSleepsMutex;

/// Has reserved memory, because psleep cannot fail.
std::vector<unsigned int> _roomForSleeps()
{
    std::vector<unsigned int> sleeps;
    sleeps.reserve(1000);
    return sleeps;
}

std::vector<unsigned int> sSleeps = _roomForSleeps();

/// The library's definition that this binary replaces.
template <class TFunction>
TFunction* next(const char* iSymbol)
{
    void* address = dlsym(RTLD_NEXT, iSymbol);
    if (!address)
    {
        std::abort();
    }
    return reinterpret_cast<TFunction*>(address);
}
} // namespace

PortFault PortFaults::mutexInit;
PortFault PortFaults::mutexLock;
PortFault PortFaults::mutexUnlock;
PortFault PortFaults::mutexClose;
PortFault PortFaults::condVarInit;
PortFault PortFaults::condVarClose;
PortFault PortFaults::condVarNotifyAll;
PortFault PortFaults::condVarWait;
PortFault PortFaults::threadCreate;
PortFault PortFaults::fileOpen;
PortFault PortFaults::fileClose;
PortFault PortFaults::fileDelete;
PortFault PortFaults::int32ToStr;
PortFault PortFaults::memoryUsage;
PortFault PortFaults::stringSet;
thread_local std::function<void()> PortFaults::beforeLock;
thread_local std::function<void()> PortFaults::afterUnlock;
std::atomic<bool> PortFaults::skipSleep{false};

void PortFault::arm(int iCode, int iSkip, int iTimes)
{
    fArmed = false;
    fCode = iCode;
    fSkip = iSkip;
    fLeft = iTimes;
    fHits = 0;
    fThread = 0;
    fArmed = true;
}

void PortFault::armOnThisThread(int iCode, int iSkip, int iTimes)
{
    arm(iCode, iSkip, iTimes);
    fThread = pthread_self();
}

void PortFault::disarm()
{
    fArmed = false;
}

int PortFault::hits() const
{
    return fHits;
}

bool PortFault::strikes(int& oCode)
{
    if (!fArmed || (fThread != 0 && fThread != pthread_self()) || fSkip.fetch_sub(1) > 0)
    {
        return false;
    }
    if (fLeft >= 0 && fLeft.fetch_sub(1) <= 0)
    {
        fArmed = false;
        return false;
    }
    oCode = fCode;
    ++fHits;
    return true;
}

std::vector<unsigned int> PortFaults::sleeps()
{
    const std::lock_guard<std::mutex> lock(sSleepsMutex);
    return sSleeps;
}

void PortFaults::reset()
{
    for (PortFault* fault :
         {&mutexInit, &mutexLock, &mutexUnlock, &mutexClose, &condVarInit, &condVarClose,
          &condVarNotifyAll, &condVarWait, &threadCreate, &fileOpen, &fileClose, &fileDelete,
          &int32ToStr, &memoryUsage, &stringSet})
    {
        fault->disarm();
    }
    skipSleep = false;
    const std::lock_guard<std::mutex> lock(sSleepsMutex);
    sSleeps.clear();
}

int PMutex::init(bool iRepeatable) noexcept
{
    static auto* const real = next<int(PMutex*, bool)>("_ZN6PMutex4initEb");
    int code = 0;
    return PortFaults::mutexInit.strikes(code) ? code : real(this, iRepeatable);
}

int PMutex::lock() noexcept
{
    static auto* const real = next<int(PMutex*)>("_ZN6PMutex4lockEv");
    if (PortFaults::beforeLock)
    {
        PortFaults::beforeLock();
    }
    int code = 0;
    return PortFaults::mutexLock.strikes(code) ? code : real(this);
}

int PMutex::unlock() noexcept
{
    static auto* const real = next<int(PMutex*)>("_ZN6PMutex6unlockEv");
    int code = 0;
    const int result = PortFaults::mutexUnlock.strikes(code) ? code : real(this);
    if (PortFaults::afterUnlock)
    {
        PortFaults::afterUnlock();
    }
    return result;
}

int PMutex::close() noexcept
{
    static auto* const real = next<int(PMutex*)>("_ZN6PMutex5closeEv");
    int code = 0;
    return PortFaults::mutexClose.strikes(code) ? code : real(this);
}

int PConditionalVar::init() noexcept
{
    static auto* const real = next<int(PConditionalVar*)>("_ZN15PConditionalVar4initEv");
    int code = 0;
    return PortFaults::condVarInit.strikes(code) ? code : real(this);
}

int PConditionalVar::close() noexcept
{
    static auto* const real = next<int(PConditionalVar*)>("_ZN15PConditionalVar5closeEv");
    int code = 0;
    return PortFaults::condVarClose.strikes(code) ? code : real(this);
}

int PConditionalVar::notifyAll() noexcept
{
    static auto* const real = next<int(PConditionalVar*)>("_ZN15PConditionalVar9notifyAllEv");
    int code = 0;
    return PortFaults::condVarNotifyAll.strikes(code) ? code : real(this);
}

int PConditionalVar::wait(PMutex* iMutex, unsigned int iMilliseconds) noexcept
{
    static auto* const real =
        next<int(PConditionalVar*, PMutex*, unsigned int)>("_ZN15PConditionalVar4waitEP6PMutexj");
    int code = 0;
    return PortFaults::condVarWait.strikes(code) ? code : real(this, iMutex, iMilliseconds);
}

int PThread::pcreate(void* (*iFunction)(void*), void* iArgument) noexcept
{
    static auto* const real =
        next<int(PThread*, void* (*)(void*), void*)>("_ZN7PThread7pcreateEPFPvS0_ES0_");
    int code = 0;
    return PortFaults::threadCreate.strikes(code) ? code : real(this, iFunction, iArgument);
}

void PThread::psleep(unsigned int iMilliseconds) noexcept
{
    static auto* const real = next<void(unsigned int)>("_ZN7PThread6psleepEj");
    if (!PortFaults::skipSleep)
    {
        real(iMilliseconds);
        return;
    }
    const std::lock_guard<std::mutex> lock(sSleepsMutex);
    sSleeps.push_back(iMilliseconds);
}

int PFile::popen(const PLiteral& iPath, unsigned int iMode, unsigned int iAccess) noexcept
{
    static auto* const real = next<int(PFile*, const PLiteral&, unsigned int, unsigned int)>(
        "_ZN5PFile5popenERK8PLiteraljj");
    int code = 0;
    return PortFaults::fileOpen.strikes(code) ? code : real(this, iPath, iMode, iAccess);
}

int PFile::pclose() noexcept
{
    static auto* const real = next<int(PFile*)>("_ZN5PFile6pcloseEv");
    int code = 0;
    const int result = real(this);
    return PortFaults::fileClose.strikes(code) ? code : result;
}

int PFile::pdelete(const PLiteral& iPath) noexcept
{
    static auto* const real = next<int(const PLiteral&)>("_ZN5PFile7pdeleteERK8PLiteral");
    int code = 0;
    return PortFaults::fileDelete.strikes(code) ? code : real(iPath);
}

int PUtils::int32ToStr(int iValue, PString& oText) noexcept
{
    static auto* const real = next<int(int, PString&)>("_ZN6PUtils10int32ToStrEiR7PString");
    int code = 0;
    return PortFaults::int32ToStr.strikes(code) ? code : real(iValue, oText);
}

int PProcess::getMemoryUsage(unsigned int iPid, unsigned long long& oBytes) noexcept
{
    static auto* const real =
        next<int(unsigned int, unsigned long long&)>("_ZN8PProcess14getMemoryUsageEjRy");
    int code = 0;
    return PortFaults::memoryUsage.strikes(code) ? code : real(iPid, oBytes);
}

int PString::set(const PLiteral& iText, unsigned int iLen) noexcept
{
    static auto* const real =
        next<int(PString*, const PLiteral&, unsigned int)>("_ZN7PString3setERK8PLiteralj");
    int code = 0;
    return PortFaults::stringSet.strikes(code) ? code : real(this, iText, iLen);
}
