// SPDX-License-Identifier: MIT
#include "start/FirstRequestCase.h"

#include "support/CoreHost.h"
#include "support/LibraryCopies.h"
#include "support/SmallPlugin.h"
#include "support/Stopwatch.h"
#include "support/TextMap.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <dlfcn.h>
#include <functional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace
{
constexpr int kThreads = 8;
constexpr double kWrong = -1;

typedef std::chrono::steady_clock Clock;

/// One first request by all threads. The init returns when all threads have made their request and
/// have had time to wait.
class Meeting
{
public:
    /// Returns whether all results were right and init ran once.
    bool hold(const std::function<bool()>& iRequest)
    {
        sInits = 0;
        sAsking = 0;
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i)
        {
            threads.emplace_back([&, i] { ask(iRequest, i); });
        }
        for (std::thread& thread : threads)
        {
            thread.join();
        }
        return sInits == 1 &&
               std::all_of(fRight, fRight + kThreads, [](bool right) { return right; });
    }

    /// The time from the end of init to the last return.
    double wait() const
    {
        return seconds(sInitEnd);
    }

    /// The time from the first return to the last one.
    double spread() const
    {
        return seconds(*std::min_element(fReturned, fReturned + kThreads));
    }

    /// Called by the plugin's init.
    static void init()
    {
        ++sInits;
        while (sAsking < kThreads)
        {
            std::this_thread::yield();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        sInitEnd = Clock::now();
    }

private:
    void ask(const std::function<bool()>& iRequest, int iThread)
    {
        ++sAsking;
        fRight[iThread] = iRequest();
        fReturned[iThread] = Clock::now();
    }

    double seconds(Clock::time_point iFrom) const
    {
        const Clock::time_point last = *std::max_element(fReturned, fReturned + kThreads);
        return std::chrono::duration<double>(last - iFrom).count();
    }

    static std::atomic<int> sInits;
    static std::atomic<int> sAsking;
    static Clock::time_point sInitEnd;
    bool fRight[kThreads] = {};
    Clock::time_point fReturned[kThreads];
};

std::atomic<int> Meeting::sInits{0};
std::atomic<int> Meeting::sAsking{0};
Clock::time_point Meeting::sInitEnd;

void _doNothing()
{
}

/// Each turn needs a plugin that has not been requested before.
constexpr int kPlugins = 64;

/// The first thread initialises; the others wait, without a lock, until the record changes.
template <SmallPluginHook tInit>
class FloorRequest
{
public:
    explicit FloorRequest(int)
    {
        for (int i = 0; i < kPlugins; ++i)
        {
            fRecords.try_emplace(LibraryCopies::interfaceId(i));
        }
    }

    bool prepare()
    {
        fId = LibraryCopies::interfaceId(fNext);
        return fNext++ < kPlugins;
    }

    bool get()
    {
        const auto found = fRecords.find(std::wstring_view(fId));
        if (found == fRecords.end())
        {
            return false;
        }
        initialise(found->second);
        return found->second.plugin.get(fId);
    }

private:
    enum EState
    {
        eNew,
        eBegun,
        eDone
    };

    class Plugin
    {
    public:
        virtual ~Plugin() = default;

        // Not optimised across the call, because in a host the compiler does not see this code.
        [[gnu::noipa]] virtual void init()
        {
            tInit();
        }

        [[gnu::noipa]] virtual bool get(std::wstring_view iId)
        {
            return !iId.empty();
        }
    };

    struct Record
    {
        Plugin plugin;
        std::atomic<int> state{eNew};
    };

    static void initialise(Record& ioRecord)
    {
        int state = eNew;
        if (ioRecord.state.compare_exchange_strong(state, eBegun))
        {
            ioRecord.plugin.init();
            ioRecord.state = eDone;
            ioRecord.state.notify_all();
            return;
        }
        for (; state != eDone; state = ioRecord.state)
        {
            ioRecord.state.wait(state);
        }
    }

    TextMap<Record> fRecords;
    std::wstring fId;
    int fNext = 0;
};

template <SmallPluginHook tInit>
class OurRequest
{
public:
    explicit OurRequest(int)
    {
        HostSetup setup;
        setup.pluginsDir = LibraryCopies::plugins(kPlugins);
        CoreHost::stop();
        CoreHost::need(setup);
        for (const std::string& path : LibraryCopies::list(setup.pluginsDir))
        {
            void* const library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
            *static_cast<SmallPluginHook*>(::dlsym(library, kSmallPluginHook)) = tInit;
            ::dlclose(library);
        }
    }

    bool prepare()
    {
        fId = LibraryCopies::interfaceId(fNext);
        return fNext++ < kPlugins;
    }

    bool get() const
    {
        IBase* instance = nullptr;
        return ixlaGetInstance(fId.c_str(), instance) == 0 && instance;
    }

private:
    std::wstring fId;
    int fNext = 0;
};

template <class TRequest, double (Meeting::*tResult)() const>
class RequestWork
{
public:
    explicit RequestWork(int iSize) : fRequest(iSize)
    {
    }

    double timedTurn()
    {
        Meeting meeting;
        return fRequest.prepare() && meeting.hold([this] { return fRequest.get(); })
                   ? (meeting.*tResult)()
                   : kWrong;
    }

private:
    TRequest fRequest;
};

/// One thread only, with an empty init.
template <class TRequest>
class LoneRequest
{
public:
    explicit LoneRequest(int iSize) : fRequest(iSize)
    {
    }

    double timedTurn()
    {
        if (!fRequest.prepare())
        {
            return kWrong;
        }
        Stopwatch watch;
        const bool right = fRequest.get();
        const double seconds = watch.stop();
        return right ? seconds : kWrong;
    }

private:
    TRequest fRequest;
};
} // namespace

void enterFirstRequest(Contest& ioContest)
{
    typedef FloorRequest<&Meeting::init> Floor;
    typedef OurRequest<&Meeting::init> Ours;
    const Case wait{.name = "first request", .sizes = {kThreads}, .turns = 30};
    ioContest.enter<RequestWork<Floor, &Meeting::wait>>(wait, "floor");
    ioContest.enter<RequestWork<Ours, &Meeting::wait>>(wait, "ours");

    const Case spread{.name = "first request, spread", .sizes = {kThreads}, .turns = 30};
    ioContest.enter<RequestWork<Floor, &Meeting::spread>>(spread, "floor");
    ioContest.enter<RequestWork<Ours, &Meeting::spread>>(spread, "ours");

    // Only these are counted: the instructions of waiting threads depend on their timing.
    const Case alone{
        .name = "first request, alone", .sizes = {1}, .turns = kPlugins, .countTurns = kPlugins};
    ioContest.enter<LoneRequest<FloorRequest<&_doNothing>>>(alone, "floor");
    ioContest.enter<LoneRequest<OurRequest<&_doNothing>>>(alone, "ours");
}
