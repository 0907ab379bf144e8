// SPDX-License-Identifier: MIT
#include "events/PDeliverySlots.h"

bool PDeliverySlots::isUsed(const PListeners& iListeners) const noexcept
{
    for (const Stripe& stripe : fStripes)
    {
        for (const Slot& slot : stripe.slots)
        {
            if (slot.load() == _value(iListeners))
            {
                return true;
            }
        }
    }
    return false;
}

// The delivery may end meanwhile. The reference exists before the delivery can see that it has one.
void PDeliverySlots::share(PListeners& ioListeners) noexcept
{
    for (Stripe& stripe : fStripes)
    {
        for (Slot& slot : stripe.slots)
        {
            std::uintptr_t used = _value(ioListeners);
            if (slot.load() != used)
            {
                continue;
            }
            ioListeners.enter();
            if (!slot.compare_exchange_strong(used, used | kReferenced))
            {
                ioListeners.leave();
            }
        }
    }
}
