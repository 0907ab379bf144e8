// SPDX-License-Identifier: MIT
// PEventRecorder: records the events of a topic for a test.
#ifndef IXLAL_SDK_PEVENTRECORDER_H
#define IXLAL_SDK_PEVENTRECORDER_H

#include "PBaseptr.h"
#include "helpers/PSubscription.h"
#include "helpers/ResultText.h"
#include "helpers/Text.h"
#include "testkit/PTestError.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

/// One event.
struct PRecordedEvent
{
    PBaseptr<IBase> parameter; ///< holds a reference; empty when the sender passed null
    int number = 0;            ///< the second parameter of the event

    /// The parameter as a TInterface, borrowed; TInterface must be its class.
    template <class TInterface>
    TInterface* as() const noexcept
    {
        return static_cast<TInterface*>(parameter.get());
    }
};

/// Records events of all threads, from its construction on. [any thread]
class PEventRecorder
{
public:
    /// Throws PTestError when it cannot subscribe.
    explicit PEventRecorder(const PLiteral& iTopic) : fTopic(ixlaNarrow(iTopic))
    {
        const int result =
            fSubscription.subscribe(iTopic, [this](const PLiteral&, IBase* iParam1, int iParam2)
                                    { add(iParam1, iParam2); });
        if (result != eIxlaOk)
        {
            throw PTestError("cannot record events of \"" + fTopic +
                             "\": " + ixlaResultText(result) + "; start the core first");
        }
    }

    /// The events so far.
    std::vector<PRecordedEvent> events() const
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        return fEvents;
    }

    /// The number of events so far. [any thread]
    std::size_t count() const
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        return fEvents.size();
    }

    /// Waits for event number iNumber, counted from 1, and returns it. Throws PTestError when it
    /// does not come within iLimit.
    PRecordedEvent waitFor(std::size_t iNumber,
                           std::chrono::milliseconds iLimit = std::chrono::seconds(5)) const
    {
        if (iNumber == 0)
        {
            throw PTestError("events are counted from 1");
        }
        std::unique_lock<std::mutex> lock(fMutex);
        if (!fAdded.wait_for(lock, iLimit, [&] { return fEvents.size() >= iNumber; }))
        {
            throw PTestError("only " + std::to_string(fEvents.size()) + " of " +
                             std::to_string(iNumber) + " events of \"" + fTopic + "\" within " +
                             std::to_string(iLimit.count()) +
                             " ms; record before the first is sent, and look whether the sender "
                             "uses this topic");
        }
        return fEvents[iNumber - 1];
    }

    /// Stops recording and releases the parameters of the events; the number of events stays.
    void end()
    {
        // After a failure the listener stays with the dispatcher but does nothing.
        (void)fSubscription.end();
        const std::lock_guard<std::mutex> lock(fMutex);
        for (PRecordedEvent& event : fEvents)
        {
            event.parameter.clear();
        }
    }

private:
    void add(IBase* iParam1, int iParam2)
    {
        {
            const std::lock_guard<std::mutex> lock(fMutex);
            fEvents.push_back({PBaseptr<IBase>(iParam1), iParam2});
        }
        fAdded.notify_all();
    }

    const std::string fTopic;
    mutable std::mutex fMutex;
    mutable std::condition_variable fAdded;
    std::vector<PRecordedEvent> fEvents; ///< guarded by fMutex

    PSubscription fSubscription; ///< last, so that it ends before the members it uses
};

#endif
