#include "start/FirstRequestCase.h"

#include "support/CoreHost.h"
#include "support/LibraryCopies.h"
#include "support/SmallPlugin.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <dlfcn.h>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace
{
constexpr int kThreads = 8;
constexpr double kWrong = -1;

typedef std::chrono::steady_clock Clock;

/// One first request by all threads. The init ends when all have asked and have had time to wait.
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

    /// From the end of init to the last return.
    double wait() const
    {
        return seconds(sInitEnd);
    }

    /// From the first return to the last one.
    double spread() const
    {
        return seconds(*std::min_element(fReturned, fReturned + kThreads));
    }

    /// What the plugin's init does.
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

/// The first thread initialises without the lock, the others wait for a condition.
class FloorRequest
{
public:
    explicit FloorRequest(int)
    {
    }

    bool hold(Meeting& ioMeeting)
    {
        Registry registry;
        return ioMeeting.hold([&registry] { return registry.get(L"com.kelvora.bench.small"); });
    }

private:
    class Registry
    {
    public:
        Registry()
        {
            fRecords.emplace(L"com.kelvora.bench.small", Record());
        }

        bool get(std::wstring_view iId)
        {
            const auto found = fRecords.find(iId);
            return found != fRecords.end() && initialise(found->second);
        }

    private:
        struct Record
        {
            bool begun = false;
            bool done = false;
        };

        bool initialise(Record& ioRecord)
        {
            std::unique_lock lock(fMutex);
            if (!ioRecord.begun)
            {
                ioRecord.begun = true;
                lock.unlock();
                Meeting::init();
                lock.lock();
                ioRecord.done = true;
                lock.unlock();
                fChanged.notify_all();
                return true;
            }
            fChanged.wait(lock, [&ioRecord] { return ioRecord.done; });
            return true;
        }

        std::mutex fMutex;
        std::condition_variable fChanged;
        std::map<std::wstring, Record, std::less<>> fRecords;
    };
};

/// Every request needs a plugin that nobody has asked for, so the core starts again when all were.
class OurRequest
{
public:
    explicit OurRequest(int) : fNext(kPlugins)
    {
    }

    bool hold(Meeting& ioMeeting)
    {
        if (fNext == kPlugins)
        {
            start();
        }
        const std::wstring id = LibraryCopies::interfaceId(fNext++);
        return ioMeeting.hold([&id] { return get(id); });
    }

private:
    static constexpr int kPlugins = 64;

    void start()
    {
        HostSetup setup;
        setup.pluginsDir = LibraryCopies::plugins(kPlugins);
        CoreHost::stop();
        CoreHost::need(setup);
        for (const std::string& path : LibraryCopies::list(setup.pluginsDir))
        {
            void* const library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
            *static_cast<SmallPluginHook*>(::dlsym(library, kSmallPluginHook)) = &Meeting::init;
            ::dlclose(library);
        }
        fNext = 0;
    }

    static bool get(const std::wstring& iId)
    {
        IBase* instance = nullptr;
        return ixlaGetInstance(iId.c_str(), instance) == 0 && instance;
    }

    int fNext;
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
        return fRequest.hold(meeting) ? (meeting.*tResult)() : kWrong;
    }

private:
    TRequest fRequest;
};
} // namespace

void enterFirstRequest(Contest& ioContest)
{
    const Case wait{.name = "first request", .sizes = {kThreads}, .turns = 30};
    ioContest.enter<RequestWork<FloorRequest, &Meeting::wait>>(wait, "floor");
    ioContest.enter<RequestWork<OurRequest, &Meeting::wait>>(wait, "ours");

    const Case spread{.name = "first request, spread", .sizes = {kThreads}, .turns = 30};
    ioContest.enter<RequestWork<FloorRequest, &Meeting::spread>>(spread, "floor");
    ioContest.enter<RequestWork<OurRequest, &Meeting::spread>>(spread, "ours");
}
