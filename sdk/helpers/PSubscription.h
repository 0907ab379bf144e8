// SPDX-License-Identifier: MIT
// PSubscription: a subscription to a topic that ends when it goes out of scope.
#ifndef IXLAL_SDK_PSUBSCRIPTION_H
#define IXLAL_SDK_PSUBSCRIPTION_H

#include "IEventDispatcher.h"
#include "PGuarded.h"
#include "helpers/PDeliveryGate.h"
#include "helpers/PListener.h"
#include "helpers/ServiceLookup.h"

#include <memory>
#include <utility>

/// Calls a callable for every event of a topic, from subscribe() until end(), the destructor, or
/// the assignment of another subscription. The callable takes (const PLiteral& topic, IBase*
/// parameter, int number); it runs on the thread of the sender, on several threads at once if there
/// are several senders, and what it throws goes to the plugins' log.
///
/// When end() has returned, the callable does not run on any other thread and never runs again:
/// what it refers to may go. To this end it waits for deliveries that are under way, so it must not
/// be called with a lock held that the callable takes, and a callable that never returns keeps it
/// waiting. Called from within the callable it does not wait; the callable may then still be
/// running on other threads. Make it the last member of a class whose members the callable uses.
///
/// The subscription keeps the dispatcher alive, but the dispatcher does not keep the owner of the
/// subscription alive, so nothing is held in a circle. A subscription may outlive the core as long
/// as its library stays. One PSubscription belongs to one thread at a time.
class PSubscription
{
public:
    PSubscription() noexcept
    {
    }

    /// Takes over; ioOther is over then.
    PSubscription(PSubscription&& ioOther) noexcept : fRecord(std::move(ioOther.fRecord))
    {
    }

    /// Ends the subscription that is here before it takes over the other.
    PSubscription& operator=(PSubscription&& ioOther) noexcept
    {
        if (this != &ioOther)
        {
            (void)end(); // as in the destructor
            fRecord = std::move(ioOther.fRecord);
        }
        return *this;
    }

    PSubscription(const PSubscription&) = delete;
    PSubscription& operator=(const PSubscription&) = delete;

    ~PSubscription()
    {
        // The callable is out of reach whatever the result; see end().
        (void)end();
    }

    /// Subscribes iFunction to iTopic with the dispatcher of the core, after ending the
    /// subscription that is here. Returns 0, or the code of ixlaGetInstance or of
    /// IEventDispatcher::addListener; there is no subscription then.
    template <class TFunction>
    int subscribe(const PLiteral& iTopic, TFunction iFunction) noexcept
    {
        int result = eIxlaOk;
        const PBaseptr<IEventDispatcher> dispatcher = ixlaService<IEventDispatcher>(result);
        return result == eIxlaOk ? begin(dispatcher, iTopic, iFunction) : result;
    }

    /// The same with a dispatcher that the caller has; -502 for none.
    template <class TFunction>
    int subscribe(const PBaseptr<IEventDispatcher>& iDispatcher, const PLiteral& iTopic,
                  TFunction iFunction) noexcept
    {
        return iDispatcher ? begin(iDispatcher, iTopic, iFunction) : eIxlaInvalidArgument;
    }

    /// Ends the subscription. Returns 0, also when there was none, or the code of
    /// IEventDispatcher::removeListener: -501 when memory is lacking while events of the topic are
    /// delivered. The callable is out of reach all the same; what stays with the dispatcher is a
    /// listener that does nothing, and another call tries to remove it. A plugin that is to be
    /// unloaded while the core goes on must see 0 here.
    int end() noexcept
    {
        if (!fRecord)
        {
            return eIxlaOk;
        }
        fRecord->gate->close();
        const int result =
            fRecord->dispatcher->removeListener(fRecord->topic, fRecord->listener.get());
        if (result == eIxlaOk || result == eIxlaNoListener)
        {
            fRecord.reset();
            return eIxlaOk;
        }
        return result;
    }

    /// Whether there is a subscription to end.
    explicit operator bool() const noexcept
    {
        return static_cast<bool>(fRecord);
    }

private:
    struct Record
    {
        Record(const PBaseptr<IEventDispatcher>& iDispatcher, const PLiteral& iTopic)
            : dispatcher(iDispatcher), topic(iTopic), gate(std::make_shared<PDeliveryGate>())
        {
        }

        const PBaseptr<IEventDispatcher> dispatcher;
        const PString topic;
        const std::shared_ptr<PDeliveryGate> gate; ///< shared with the listener
        PBaseptr<IEventListener> listener;
    };

    /// The callable behind its gate.
    template <class TFunction>
    class Gated
    {
    public:
        Gated(const std::shared_ptr<PDeliveryGate>& iGate, TFunction iFunction)
            : fGate(iGate), fFunction(std::move(iFunction))
        {
        }

        void operator()(const PLiteral& iTopic, IBase* iParam1, int iParam2)
        {
            const PDeliveryGate::Visit visit(*fGate);
            if (visit)
            {
                (void)fFunction(iTopic, iParam1, iParam2);
            }
        }

    private:
        std::shared_ptr<PDeliveryGate> fGate;
        TFunction fFunction;
    };

    template <class TFunction>
    int begin(const PBaseptr<IEventDispatcher>& iDispatcher, const PLiteral& iTopic,
              TFunction& ioFunction) noexcept
    {
        (void)end(); // as in the destructor
        fRecord.reset();
        return ixlaGuarded(
            [&]() -> int
            {
                std::unique_ptr<Record> record(new Record(iDispatcher, iTopic));
                record->listener =
                    ixlaListener(Gated<TFunction>(record->gate, std::move(ioFunction)));
                const int result = iDispatcher->addListener(iTopic, record->listener.get());
                if (result == eIxlaOk)
                {
                    fRecord = std::move(record);
                }
                return result;
            });
    }

    std::unique_ptr<Record> fRecord;
};

#endif
