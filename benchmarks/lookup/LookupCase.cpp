// SPDX-License-Identifier: MIT
#include "lookup/LookupCase.h"

#include "lookup/PocoService.h"
#include "support/CoreHost.h"
#include "support/InterfacesPlugin.h"
#include "support/Shuffled.h"
#include "support/TextMap.h"

#include <Poco/ClassLoader.h>
#include <atomic>
#include <cstdlib>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace
{
std::vector<std::wstring> _ids(int iCount)
{
    std::vector<std::wstring> ids;
    for (int i = 0; i < iCount; ++i)
    {
        ids.push_back(CoreHost::interfaceId(i));
    }
    return ids;
}

class FloorProvider
{
public:
    virtual ~FloorProvider() = default;

    // Not optimised across the call, because in a host the compiler does not see this code.
    [[gnu::noipa]] virtual bool get(std::wstring_view iId, void*& oInstance)
    {
        const bool known = iId.starts_with(L"com.kelvora.bench.");
        oInstance = known ? this : nullptr;
        return known;
    }
};

struct FloorService
{
    explicit FloorService(FloorProvider& iProvider) : provider(iProvider)
    {
    }

    FloorProvider& provider;
    std::atomic<bool> initialised{true};
};

/// Counts calls in progress. Each thread has a counter on a cache line of its own, so that threads
/// do not wait for each other.
class FloorCalls
{
public:
    std::atomic<int>& own()
    {
        if (sOwn == 0)
        {
            static std::atomic<unsigned int> sThreads{0};
            sOwn = ++sThreads;
        }
        return fStripes[sOwn % kStripes].count;
    }

private:
    static constexpr unsigned int kStripes = 64;

    struct alignas(64) Stripe
    {
        std::atomic<int> count{0};
    };

    static constinit thread_local unsigned int sOwn; ///< from 1

    Stripe fStripes[kStripes];
};

constinit thread_local unsigned int FloorCalls::sOwn = 0;

/// The minimum for a registry that initialises services on demand, lets each service choose the
/// object that it returns, and may be stopped at any time: two atomic operations count the calls in
/// progress.
template <class TRegistry>
class FloorLookup
{
public:
    explicit FloorLookup(int iSize) : fIds(_ids(iSize)), fOrder(iSize)
    {
        for (const std::wstring& id : fIds)
        {
            fRegistry.try_emplace(id, fProvider);
        }
    }

    bool turn(unsigned int iTurn)
    {
        void* instance = nullptr;
        return get(fIds[fOrder[iTurn]], instance) && instance == &fProvider;
    }

private:
    class Call
    {
    public:
        explicit Call(std::atomic<int>& ioCount) : fCount(ioCount)
        {
            ++fCount;
        }

        ~Call()
        {
            --fCount;
        }

        Call(const Call&) = delete;
        Call& operator=(const Call&) = delete;

    private:
        std::atomic<int>& fCount;
    };

    bool get(std::wstring_view iId, void*& oInstance)
    {
        const Call call(fCalls.own());
        if (fStopped)
        {
            return false;
        }
        const auto found = fRegistry.find(iId);
        return found != fRegistry.end() && found->second.initialised &&
               found->second.provider.get(iId, oInstance);
    }

    const std::vector<std::wstring> fIds;
    const Shuffled fOrder;
    FloorCalls fCalls;
    std::atomic<bool> fStopped{false};
    TRegistry fRegistry;
    FloorProvider fProvider;
};

typedef FloorLookup<std::map<std::wstring, FloorService, std::less<>>> FloorTree;
typedef FloorLookup<TextMap<FloorService>> FloorHash;

template <bool tCoreLog>
class OurLookup
{
public:
    explicit OurLookup(int iSize) : fIds(_ids(iSize)), fOrder(iSize)
    {
        HostSetup setup;
        setup.interfaces = iSize;
        setup.coreLog = tCoreLog;
        CoreHost::need(setup);
        fExpected = CoreHost::service(fIds[0].c_str());
        for (const std::wstring& id : fIds)
        {
            fViews.emplace_back(id.c_str());
        }
    }

    bool turn(unsigned int iTurn)
    {
        IBase* instance = nullptr;
        return ixlaGetInstance(fViews[fOrder[iTurn]], instance) == 0 && instance == fExpected;
    }

private:
    const std::vector<std::wstring> fIds;
    const Shuffled fOrder;
    std::vector<PLiteral> fViews;
    IBase* fExpected;
};

/// A class loader that returns the single object of a class. Unlike the core it initialises nothing
/// on demand and does not call the object.
class PocoLookup
{
public:
    explicit PocoLookup(int iSize) : fOrder(iSize)
    {
        for (const std::wstring& id : _ids(iSize))
        {
            fIds.emplace_back(id.begin(), id.end());
        }
        ::setenv(kInterfacesVariable, std::to_string(iSize).c_str(), 1);
        fLoader.loadLibrary(kLibrary);
        for (const std::string& id : fIds)
        {
            fExpected.push_back(&fLoader.instance(id));
        }
    }

    ~PocoLookup()
    {
        fLoader.unloadLibrary(kLibrary);
    }

    bool turn(unsigned int iTurn)
    {
        const unsigned int number = fOrder[iTurn];
        return &fLoader.instance(fIds[number]) == fExpected[number];
    }

private:
    static constexpr char kLibrary[] = IXLAL_BENCH_PLUGINS "/libpocoservices.so";

    const Shuffled fOrder;
    std::vector<std::string> fIds;
    std::vector<PocoService*> fExpected;
    Poco::ClassLoader<PocoService> fLoader;
};
} // namespace

void enterLookup(Contest& ioContest)
{
    Case lookup{"lookup", {10, 1000, 10000, 100000}, 4000};
    lookup.twoThreads = true;
    lookup.countTurns = 4096;
    ioContest.enter<FloorTree>(lookup, "floor, tree");
    ioContest.enter<FloorHash>(lookup, "floor, hash");
    ioContest.enter<OurLookup<false>>(lookup, "ours");
    ioContest.enter<PocoLookup>(lookup, "poco");

    Case logged{"lookup with core log", {1000}, 4000};
    logged.countTurns = 4096;
    ioContest.enter<FloorTree>(logged, "floor, tree");
    ioContest.enter<FloorHash>(logged, "floor, hash");
    ioContest.enter<OurLookup<true>>(logged, "ours");
}
