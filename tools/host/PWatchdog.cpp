// SPDX-License-Identifier: MIT
#include "host/PWatchdog.h"

#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "Ixla.h"
#include "helpers/ServiceLookup.h"
#include "host/PNotifySocket.h"

#include <charconv>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <string_view>
#include <thread>
#include <unistd.h>

namespace
{
constexpr wchar_t kName[] = L"ixla-host.watchdog";
constexpr std::chrono::seconds kAnswerPatience(2);

/// The number in an environment variable; 0 without one.
long long _variable(const char* iVariable)
{
    // NOLINTNEXTLINE(concurrency-mt-unsafe): the host never changes the environment
    const char* const value = std::getenv(iVariable);
    const std::string_view text = value ? value : "";
    long long number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

/// The time between two questions; 0 for none.
std::chrono::microseconds _period()
{
    const long long process = _variable("WATCHDOG_PID");
    const bool isMeant = process == 0 || process == getpid();
    return std::chrono::microseconds(isMeant ? _variable("WATCHDOG_USEC") / 2 : 0);
}

/// Returns whether the core has answered. Waits while a lock of the core, the manager or the
/// dispatcher is held. The calls change nothing.
bool _ask()
{
    int result = eIxlaOk;
    const PBaseptr<IConfigManager> manager =
        ixlaService<IConfigManager>(kIxlaConfigManagerId, result);
    if (!manager || manager->removeListener(kName, kName) != eIxlaNotFound)
    {
        return false;
    }
    const PBaseptr<IEventDispatcher> dispatcher =
        ixlaService<IEventDispatcher>(kIxlaEventDispatcherId, result);
    if (!dispatcher)
    {
        return false;
    }
    const int sent = dispatcher->send(kName, nullptr, 0);
    return sent == eIxlaOk || sent == eIxlaNoListener;
}
} // namespace

struct PWatchdog::State
{
    std::mutex fMutex;
    std::condition_variable fChanged;
    std::chrono::microseconds fPeriod{0};
    EAnswer fAnswer = eCore;
    bool fEnding = false;
    bool fEnded = false;
};

PWatchdog::PWatchdog(EAnswer iAnswer)
{
    const std::chrono::microseconds period = _period();
    if (period.count() > 0)
    {
        fState = std::make_shared<State>();
        fState->fPeriod = period;
        fState->fAnswer = iAnswer;
        std::thread([state = fState] { watch(*state); }).detach();
    }
}

PWatchdog::~PWatchdog()
{
    if (fState)
    {
        std::unique_lock<std::mutex> lock(fState->fMutex);
        fState->fEnding = true;
        fState->fChanged.notify_all();
        fState->fChanged.wait_for(lock, kAnswerPatience, [this] { return fState->fEnded; });
    }
}

void PWatchdog::watch(State& ioState)
{
    std::unique_lock<std::mutex> lock(ioState.fMutex);
    while (!ioState.fEnding)
    {
        lock.unlock();
        if (ioState.fAnswer == eHost || _ask())
        {
            // The manager restarts the service if it gets nothing.
            static_cast<void>(PNotifySocket::send("WATCHDOG=1"));
        }
        lock.lock();
        ioState.fChanged.wait_for(lock, ioState.fPeriod, [&ioState] { return ioState.fEnding; });
    }
    ioState.fEnded = true;
    ioState.fChanged.notify_all();
}
