// SPDX-License-Identifier: MIT
// A plugin whose threads call every function of the core, from its init until the test stops them,
// and report wrong results. The destructor waits for them, unless the result of the step
// "caller.destroying" says otherwise.

#include "Ixla.h"
#include "support/PluginService.h"

#include <thread>
#include <vector>

extern "C" int ixlalTestStep(const char* iStep);
extern "C" bool ixlalTestEnded();

namespace
{
constexpr int kThreads = 3;

/// One round in so many looks up an unknown ID, which writes an error line.
constexpr unsigned int kRoundsPerError = 64;

/// The results of one thread.
class Caller
{
public:
    /// Calls each function once. False if a result is not allowed.
    bool callAll()
    {
        const bool known = lookUp(kIxlaLoggerId, eIxlaOk);
        const bool own = lookUp(L"test.caller", eIxlaOk);
        const bool unknown =
            ++fRounds % kRoundsPerError != 0 || lookUp(L"test.nobody", eIxlaUnknownInterface);
        const bool available = !ixlaIsInterfaceAvailable(kIxlaLoggerId) || !fRefused;
        const bool unload = expect(ixlaUnloadPlugin(nullptr), eIxlaPluginNotFound);
        return known && own && unknown && available && unload;
    }

    bool isRefused() const
    {
        return fRefused;
    }

private:
    bool lookUp(const wchar_t* iId, int iServed)
    {
        IBase* instance = nullptr;
        return expect(ixlaGetInstance(iId, instance), iServed) && (!fRefused || !instance);
    }

    /// Checks that calls succeed until the first refusal, and are always refused afterwards.
    bool expect(int iResult, int iServed)
    {
        fRefused = fRefused || iResult == eIxlaCoreNotStarted;
        return iResult == (fRefused ? eIxlaCoreNotStarted : iServed);
    }

    bool fRefused = false;
    unsigned int fRounds = 0;
};

void _run()
{
    Caller caller;
    bool refused = false;
    while (!ixlalTestEnded())
    {
        if (!caller.callAll())
        {
            ixlalTestStep("caller.surprise");
        }
        if (caller.isRefused() && !refused)
        {
            refused = true;
            ixlalTestStep("caller.refused");
        }
    }
    ixlalTestStep("caller.ended");
}

class CallerPlugin final : public PluginService
{
public:
    using PluginService::PluginService;

    ~CallerPlugin() override
    {
        const bool leave = ixlalTestStep("caller.destroying") != 0;
        for (std::thread& thread : fThreads)
        {
            leave ? thread.detach() : thread.join();
        }
    }

    int init() override
    {
        for (int i = 0; i < kThreads; ++i)
        {
            fThreads.emplace_back(&_run);
        }
        return ixlalTestStep("caller.init");
    }

private:
    std::vector<std::thread> fThreads;
};
} // namespace

IPlugin* ixlaGetPlugin()
{
    return new CallerPlugin({L"test.caller"});
}
