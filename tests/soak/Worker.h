// SPDX-License-Identifier: MIT
// Worker: the work of one thread of the soak.
#ifndef IXLAL_TESTS_WORKER_H
#define IXLAL_TESTS_WORKER_H

#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "ILogger.h"
#include "PBaseptr.h"
#include "soak/Tally.h"

#include <atomic>
#include <random>
#include <string>

class CoreRun;

/// A worker exists for all cycles of the soak. In each cycle the core is started, prepare is
/// called, run works on its own thread until it is stopped, verify is called, and the core is
/// stopped. Its operations must succeed whatever the other workers do at the same time.
class Worker
{
public:
    explicit Worker(unsigned int iNumber);
    virtual ~Worker();

    /// Called on the host thread, while no worker runs.
    virtual void prepare(CoreRun& ioCore);
    virtual void verify(CoreRun& ioCore);

    /// Looks up the services, works, and releases all references to the core's objects.
    void run(const std::atomic<bool>& iStop);

    Tally& tally();

protected:
    virtual void begin();
    virtual void step() = 0;
    virtual void end();

    /// A number from 0 to iBelow - 1.
    unsigned int pick(unsigned int iBelow);

    /// A name that only this worker uses.
    std::wstring ownName(const std::wstring& iName) const;

    void expect(std::string_view iKind, int iExpected, int iResult);
    void check(std::string_view iKind, bool iGood, const std::string& iWhat);

    /// Looks up a service of the core; counts an error and returns an empty holder on failure.
    template <class T>
    PBaseptr<T> service(const wchar_t* iId)
    {
        return PBaseptr<T>(static_cast<T*>(instance(iId)));
    }

    const unsigned int fNumber;
    PBaseptr<IConfigManager> fManager;
    PBaseptr<IEventDispatcher> fDispatcher;
    PBaseptr<ILogger> fLogger;

private:
    IBase* instance(const wchar_t* iId);

    Tally fTally;
    std::mt19937 fRandom;
};

#endif
