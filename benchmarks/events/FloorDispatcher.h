// SPDX-License-Identifier: MIT
// FloorDispatcher: the event dispatcher of the floors.
#ifndef IXLAL_BENCHMARKS_FLOORDISPATCHER_H
#define IXLAL_BENCHMARKS_FLOORDISPATCHER_H

#include "support/TextMap.h"

#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

/// A delivery locks, finds the list by hash, shares it, unlocks and calls. A shared list is not
/// changed. The reference to the list keeps the listeners alive, because any thread may unsubscribe
/// them meanwhile.
template <class TEvent>
class FloorDispatcher
{
public:
    class Listener
    {
    public:
        virtual ~Listener() = default;
        virtual int handle(std::wstring_view iTopic, TEvent& ioEvent, int iParam) = 0;
    };

    void add(std::wstring_view iTopic, std::shared_ptr<Listener> iListener)
    {
        const std::lock_guard lock(fMutex);
        std::shared_ptr<Listeners>& place = fTopics[std::wstring(iTopic)];
        if (place.use_count() != 1)
        {
            place = place ? std::make_shared<Listeners>(*place) : std::make_shared<Listeners>();
        }
        place->push_back(std::move(iListener));
    }

    bool send(std::wstring_view iTopic, TEvent& ioEvent, int iParam)
    {
        std::shared_ptr<const Listeners> listeners;
        {
            const std::lock_guard lock(fMutex);
            const auto found = fTopics.find(iTopic);
            if (found == fTopics.end())
            {
                return false;
            }
            listeners = found->second;
        }
        for (auto listener = listeners->rbegin(); listener != listeners->rend(); ++listener)
        {
            (*listener)->handle(iTopic, ioEvent, iParam);
        }
        return true;
    }

private:
    typedef std::vector<std::shared_ptr<Listener>> Listeners;

    std::mutex fMutex;
    TextMap<std::shared_ptr<Listeners>> fTopics;
};

#endif
