#include "lookup/LookupCase.h"

#include "lookup/PocoService.h"
#include "support/CoreHost.h"
#include "support/InterfacesPlugin.h"
#include "support/Shuffled.h"

#include <Poco/ClassLoader.h>
#include <cstdlib>
#include <map>
#include <mutex>
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

/// The least that a registry needs which initialises its services under a lock and lets each
/// decide what it hands out.
class FloorLookup
{
public:
    explicit FloorLookup(int iSize) : fIds(_ids(iSize)), fOrder(iSize)
    {
        for (const std::wstring& id : fIds)
        {
            fRegistry.emplace(id, Record{&fProvider, true});
        }
    }

    bool turn(unsigned int iTurn)
    {
        void* instance = nullptr;
        return get(fIds[fOrder[iTurn]], instance) && instance == &fProvider;
    }

private:
    class Provider
    {
    public:
        virtual ~Provider() = default;

        virtual bool get(std::wstring_view iId, void*& oInstance)
        {
            const bool known = iId.starts_with(L"com.kelvora.bench.");
            oInstance = known ? this : nullptr;
            return known;
        }
    };

    struct Record
    {
        Provider* provider;
        bool initialised;
    };

    bool get(std::wstring_view iId, void*& oInstance)
    {
        const auto found = fRegistry.find(iId);
        if (found == fRegistry.end())
        {
            return false;
        }
        {
            const std::lock_guard lock(fMutex);
            if (!found->second.initialised)
            {
                return false;
            }
        }
        return found->second.provider->get(iId, oInstance);
    }

    const std::vector<std::wstring> fIds;
    const Shuffled fOrder;
    std::map<std::wstring, Record, std::less<>> fRegistry;
    std::recursive_mutex fMutex;
    Provider fProvider;
};

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

/// A class loader that hands out the one object of a class. Unlike the core it initialises nothing
/// on demand, and the object has no say.
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
    Case lookup{"lookup", {10, 1000, 10000}, 4000};
    lookup.twoThreads = true;
    lookup.countTurns = 4096;
    ioContest.enter<FloorLookup>(lookup, "floor");
    ioContest.enter<OurLookup<false>>(lookup, "ours");
    ioContest.enter<PocoLookup>(lookup, "poco");

    Case logged{"lookup with core log", {1000}, 4000};
    logged.countTurns = 4096;
    ioContest.enter<FloorLookup>(logged, "floor");
    ioContest.enter<OurLookup<true>>(logged, "ours");
}
