// SPDX-License-Identifier: MIT
// PSubscription: a subscription to a topic that ends with its scope.
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
/// parameter, int number). It runs on the thread of the sender, on several threads at once if there
/// are several senders. Its exceptions are caught and written to the plugins' log.
///
/// When end() has returned, the callable is not running on any other thread and never runs again:
/// the objects that it refers to may be destroyed. end() waits for deliveries in progress. So do
/// not call it with a lock held that the callable takes; and it waits forever for a callable that
/// never returns. Called from within the callable it does not wait; the callable may then still be
/// running on other threads. Make it the last member of a class whose members the callable uses.
///
/// The subscription holds a reference to the dispatcher. The dispatcher holds none to the owner of
/// the subscription, so there is no reference cycle. A subscription may outlive the core as long
/// as its library stays loaded. One PSubscription belongs to one thread at a time.
class PSubscription
{
public:
    PSubscription() noexcept
    {
    }

    /// Takes the subscription of ioOther, which has none afterwards.
    PSubscription(PSubscription&& ioOther) noexcept : fRecord(std::move(ioOther.fRecord))
    {
    }

    /// Ends its own subscription, then takes that of ioOther.
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
        // The callable does not run again, whatever the result; see end().
        (void)end();
    }

    /// Ends its own subscription, then subscribes iFunction to iTopic with the dispatcher of the
    /// core. Returns 0, or the code of IEventDispatcher::addListener or -501, after which there is
    /// no subscription. Returns the code of ixlaGetInstance when there is no dispatcher; the
    /// earlier subscription then stays.
    template <class TFunction>
    int subscribe(const PLiteral& iTopic, TFunction iFunction) noexcept
    {
        int result = eIxlaOk;
        const PBaseptr<IEventDispatcher> dispatcher = ixlaService<IEventDispatcher>(result);
        return result == eIxlaOk ? begin(dispatcher, iTopic, iFunction) : result;
    }

    /// The same with a dispatcher of the caller. Returns -502 for an empty iDispatcher; the earlier
    /// subscription then stays.
    template <class TFunction>
    int subscribe(const PBaseptr<IEventDispatcher>& iDispatcher, const PLiteral& iTopic,
                  TFunction iFunction) noexcept
    {
        return iDispatcher ? begin(iDispatcher, iTopic, iFunction) : eIxlaInvalidArgument;
    }

    /// Ends the subscription. Returns 0, also when there was none, or the code of
    /// IEventDispatcher::removeListener: -501 for lack of memory while events of the topic are
    /// being delivered. The callable does not run again in either case. After a failure a listener
    /// that does nothing stays with the dispatcher, and another call tries to remove it. A plugin
    /// may be unloaded from a running core only after this has returned 0.
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

    /// Calls the callable while the gate is open.
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
