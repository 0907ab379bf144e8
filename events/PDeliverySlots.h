// SPDX-License-Identifier: MIT
// PDeliverySlots: shows which lists of listeners deliveries use.
#ifndef IXLAL_PDELIVERYSLOTS_H
#define IXLAL_PDELIVERYSLOTS_H

#include "core/PThreadStripe.h"
#include "events/PListeners.h"

#include <atomic>
#include <cstdint>

/// A delivery writes the list that it uses into a slot, so that it counts nothing that deliveries
/// on other processors count. Whoever replaces a used list gives a reference to each delivery that
/// still uses it.
///
/// share() and isUsed() are called by one thread at a time, while no delivery takes a slot.
class PDeliverySlots
{
    /// A pointer to a list; the lowest bit means that the delivery has a reference. All changes are
    /// read-modify-writes, whose order lets whoever reads a slot see what all earlier deliveries
    /// did.
    typedef std::atomic<std::uintptr_t> Slot;

public:
    PDeliverySlots() noexcept = default;

    PDeliverySlots(const PDeliverySlots&) = delete;
    PDeliverySlots& operator=(const PDeliverySlots&) = delete;

    /// Whether a delivery uses iListeners without a reference.
    bool isUsed(const PListeners& iListeners) const noexcept;

    /// Gives a reference to each delivery that uses ioListeners without one. The caller has a
    /// reference.
    void share(PListeners& ioListeners) noexcept;

    /// The use of a list by one delivery, until the end of its scope. Used by one thread.
    class Use
    {
    public:
        Use() noexcept = default;

        ~Use()
        {
            if (fListeners && (!fSlot || (fSlot->exchange(0) & kReferenced) != 0))
            {
                fListeners->leave();
            }
        }

        Use(const Use&) = delete;
        Use& operator=(const Use&) = delete;

        /// Uses a list through a slot. False if all slots of the thread are taken.
        bool take(PDeliverySlots& ioSlots, PListeners& ioListeners) noexcept
        {
            fSlot = ioSlots.take(ioListeners);
            fListeners = fSlot ? &ioListeners : nullptr;
            return fSlot != nullptr;
        }

        /// Uses a list with a reference. The caller excludes changes of the table.
        void refer(PListeners& ioListeners) noexcept
        {
            ioListeners.enter();
            fListeners = &ioListeners;
        }

        const PListeners& operator*() const noexcept
        {
            return *fListeners;
        }

    private:
        Slot* fSlot = nullptr; ///< null if the delivery has a reference from the beginning
        PListeners* fListeners = nullptr;
    };

private:
    static constexpr std::uintptr_t kReferenced = 1;
    static constexpr unsigned int kStripes = 16;
    static constexpr unsigned int kSlots = 4;

    /// The slots of some of the threads: for events that listeners send, and for threads that share
    /// the stripe. On a cache line of its own.
    struct alignas(16) Stripe
    {
        Slot slots[kSlots] = {};
        char apart[64 - kSlots * sizeof(Slot)];
    };

    static std::uintptr_t _value(const PListeners& iListeners) noexcept
    {
        return reinterpret_cast<std::uintptr_t>(&iListeners);
    }

    /// A slot of the thread, which now has the list; null if all are taken.
    Slot* take(const PListeners& iListeners) noexcept
    {
        for (Slot& slot : fStripes[PThreadStripe::index() % kStripes].slots)
        {
            std::uintptr_t free = 0;
            if (slot.compare_exchange_strong(free, _value(iListeners)))
            {
                return &slot;
            }
        }
        return nullptr;
    }

    Stripe fStripes[kStripes] = {};
};

#endif
