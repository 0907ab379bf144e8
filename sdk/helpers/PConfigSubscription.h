// SPDX-License-Identifier: MIT
// PConfigSubscription: a subscription to configuration changes that ends with its scope.
#ifndef IXLAL_SDK_PCONFIGSUBSCRIPTION_H
#define IXLAL_SDK_PCONFIGSUBSCRIPTION_H

#include "IConfigChanged.h"
#include "IConfigManager.h"
#include "PGuarded.h"
#include "helpers/PSubscription.h"
#include "helpers/ServiceLookup.h"
#include "portinglayer/PUtils.h"

#include <cstdint>
#include <memory>
#include <utility>

/// Calls a callable whenever a run-time value of a configuration ID is set, or an attribute of one.
/// The callable takes (const IConfigChanged& change) and runs on the thread that sets the value,
/// before the set operation returns. Lifetime, threads and exceptions are those of PSubscription.
class PConfigSubscription
{
public:
    PConfigSubscription() noexcept
    {
    }

    /// Takes the subscription of ioOther, which has none afterwards.
    PConfigSubscription(PConfigSubscription&& ioOther) noexcept
        : fRecord(std::move(ioOther.fRecord))
    {
    }

    /// Ends its own subscription, then takes that of ioOther.
    PConfigSubscription& operator=(PConfigSubscription&& ioOther) noexcept
    {
        if (this != &ioOther)
        {
            (void)end(); // as in the destructor
            fRecord = std::move(ioOther.fRecord);
        }
        return *this;
    }

    PConfigSubscription(const PConfigSubscription&) = delete;
    PConfigSubscription& operator=(const PConfigSubscription&) = delete;

    ~PConfigSubscription()
    {
        // The callable does not run again, whatever the result; see PSubscription::end().
        (void)end();
    }

    /// Ends its own subscription, then subscribes iFunction to changes of iID. Returns 0, or the
    /// code of what failed; there is no subscription then.
    template <class TFunction>
    int subscribe(const PLiteral& iID, TFunction iFunction) noexcept
    {
        (void)end(); // as in the destructor
        fRecord.reset();
        int result = eIxlaOk;
        const PBaseptr<IConfigManager> manager = ixlaService<IConfigManager>(result);
        if (result != eIxlaOk)
        {
            return result;
        }
        return ixlaGuarded([&]() -> int { return begin(manager, iID, iFunction); });
    }

    /// Ends the subscription. Returns 0, also when there was none, or the code of what failed. The
    /// callable does not run again in either case; after a failure another call tries again.
    int end() noexcept
    {
        if (!fRecord)
        {
            return eIxlaOk;
        }
        const int removed = fRecord->manager->removeListener(fRecord->id, fRecord->topic);
        const int ended = fRecord->events.end();
        if (removed != eIxlaOk && removed != eIxlaNotFound)
        {
            return removed;
        }
        if (ended == eIxlaOk)
        {
            fRecord.reset();
        }
        return ended;
    }

    /// Whether there is a subscription to end.
    explicit operator bool() const noexcept
    {
        return static_cast<bool>(fRecord);
    }

private:
    struct Record
    {
        Record(const PBaseptr<IConfigManager>& iManager, const PLiteral& iID)
            : manager(iManager), id(iID)
        {
        }

        const PBaseptr<IConfigManager> manager;
        const PString id;
        PString topic; ///< used by this subscription only
        PSubscription events;
    };

    /// Converts the parameter of an event and calls the callable.
    template <class TFunction>
    class Converted
    {
    public:
        explicit Converted(TFunction iFunction) : fFunction(std::move(iFunction))
        {
        }

        void operator()(const PLiteral&, IBase* iParam1, int)
        {
            // Another sender of the topic may pass null; only the manager passes a change.
            if (iParam1)
            {
                (void)fFunction(static_cast<const IConfigChanged&>(*iParam1));
            }
        }

    private:
        TFunction fFunction;
    };

    template <class TFunction>
    int begin(const PBaseptr<IConfigManager>& iManager, const PLiteral& iID, TFunction& ioFunction)
    {
        std::unique_ptr<Record> record(new Record(iManager, iID));
        // The address makes the topic unique among the subscriptions that exist.
        const int named =
            PUtils::uint64ToStr(reinterpret_cast<std::uintptr_t>(record.get()), record->topic);
        if (named != 0)
        {
            return eIxlaNoMemory;
        }
        record->topic += L".config.changed";
        int result =
            record->events.subscribe(record->topic, Converted<TFunction>(std::move(ioFunction)));
        if (result == eIxlaOk)
        {
            result = iManager->addListener(iID, record->topic);
        }
        if (result == eIxlaOk)
        {
            fRecord = std::move(record);
        }
        return result;
    }

    std::unique_ptr<Record> fRecord;
};

#endif
