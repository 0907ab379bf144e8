// SPDX-License-Identifier: MIT
#include "host/PStartStatus.h"

#include "host/PNotifySocket.h"

#include <ctime>
#include <exception>

namespace
{
constexpr std::chrono::milliseconds kPause(100);
constexpr std::chrono::seconds kSlow(1);

std::string _clock()
{
    const std::time_t now = std::time(nullptr);
    std::tm local = {};
    localtime_r(&now, &local);
    char text[sizeof "00:00:00"] = {};
    // Cannot fail: the text has room.
    static_cast<void>(std::strftime(text, sizeof text, "%H:%M:%S", &local));
    return text;
}
} // namespace

PStartStatus::PStartStatus(PLogFollower& ioLog, const PPluginTable& iPlugins)
    : fLog(ioLog), fPlugins(iPlugins), fBegin(_clock()), fSeenAt(std::chrono::steady_clock::now())
{
    if (PNotifySocket::isSet())
    {
        fThread = std::thread([this] { watch(); });
    }
}

PStartStatus::~PStartStatus()
{
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        fEnding = true;
    }
    fChanged.notify_all();
    if (fThread.joinable())
    {
        fThread.join();
    }
}

bool PStartStatus::hasSent() const
{
    const std::lock_guard<std::mutex> lock(fMutex);
    return fHasSent;
}

void PStartStatus::watch()
{
    std::unique_lock<std::mutex> lock(fMutex);
    while (!fChanged.wait_for(lock, kPause, [this] { return fEnding; }))
    {
        try
        {
            report();
        }
        catch (const std::exception&)
        {
            return; // for lack of memory the rest of the start is not reported
        }
    }
}

void PStartStatus::report()
{
    fLog.poll();
    const std::string text = describe();
    const std::chrono::steady_clock::time_point now = std::chrono::steady_clock::now();
    if (text != fSeen)
    {
        fSeen = text;
        fSeenAt = now;
    }
    else if (text != fSent && now - fSeenAt >= kSlow)
    {
        // The start does not depend on the service manager; READY=1 reports a failure.
        static_cast<void>(PNotifySocket::send("STATUS=" + text));
        fSent = text;
        fHasSent = true;
    }
}

std::string PStartStatus::describe() const
{
    if (const PPluginTable::Plugin* const plugin = fPlugins.initialising(0))
    {
        return std::string("Initialising ") + plugin->name + " since " + plugin->since;
    }
    if (*fPlugins.loading())
    {
        return std::string("Loading ") + fPlugins.loading() + " since " + fPlugins.loadingSince();
    }
    return "Starting the core since " + fBegin;
}
