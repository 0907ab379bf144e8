// SPDX-License-Identifier: MIT
#include "soak/Worker.h"

#include "Ixla.h"
#include "soak/SoakPlugins.h"

Worker::Worker(unsigned int iNumber) : fNumber(iNumber), fRandom(iNumber)
{
}

Worker::~Worker() = default;

void Worker::prepare(CoreRun&)
{
}

void Worker::verify(CoreRun&)
{
}

void Worker::run(const std::atomic<bool>& iStop)
{
    // All workers start with the same uninitialised plugin, so that they wait for its init
    // together.
    service<IBase>(kSoakStayId);
    fManager = service<IConfigManager>(kIxlaConfigManagerId);
    fDispatcher = service<IEventDispatcher>(kIxlaEventDispatcherId);
    fLogger = service<ILogger>(kIxlaLoggerId);
    if (fManager && fDispatcher && fLogger)
    {
        begin();
        while (!iStop.load(std::memory_order_relaxed))
        {
            step();
        }
        end();
    }
    fManager.clear();
    fDispatcher.clear();
    fLogger.clear();
}

Tally& Worker::tally()
{
    return fTally;
}

void Worker::begin()
{
}

void Worker::end()
{
}

unsigned int Worker::pick(unsigned int iBelow)
{
    return static_cast<unsigned int>(fRandom() % iBelow);
}

std::wstring Worker::ownName(const std::wstring& iName) const
{
    return iName + L"." + std::to_wstring(fNumber);
}

void Worker::expect(std::string_view iKind, int iExpected, int iResult)
{
    fTally.expect(iKind, iExpected, iResult);
}

void Worker::check(std::string_view iKind, bool iGood, const std::string& iWhat)
{
    fTally.count(iKind, iGood, iWhat);
}

IBase* Worker::instance(const wchar_t* iId)
{
    IBase* found = nullptr;
    const int result = ixlaGetInstance(iId, found);
    expect("get instance", 0, result);
    return result == 0 ? found : nullptr;
}
