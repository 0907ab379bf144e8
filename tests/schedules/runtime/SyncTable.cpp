// SPDX-License-Identifier: MIT
#include "SyncTable.h"

#include "Memory.h"
#include "Scheduler.h"
#include "Verdict.h"

namespace schedules
{
SyncObject* SyncTable::sSlots[kSlots];
SyncObject* SyncTable::sAll[kSlots];
std::uint32_t SyncTable::sCount;

SyncObject*& SyncTable::slot(const volatile void* iAddress)
{
    std::uint32_t i =
        static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(iAddress)) * 0x9e3779b1u >>
        (32 - kSlotBits);
    while (sSlots[i] && sSlots[i]->address != iAddress)
    {
        i = (i + 1) % kSlots;
    }
    return sSlots[i];
}

SyncObject& SyncTable::at(const volatile void* iAddress)
{
    SyncObject*& found = slot(iAddress);
    if (!found)
    {
        if (sCount == kSlots - 1)
        {
            Verdict::fail(Outcome::eNoEnd, "too many atomic objects and locks");
        }
        found = static_cast<SyncObject*>(Memory::zeroed(sizeof(SyncObject)));
        found->address = const_cast<const void*>(iAddress);
        Verdict::calls(found->made, Event::kCalls);
        sAll[sCount++] = found;
    }
    return *found;
}

SyncObject* SyncTable::find(const volatile void* iAddress)
{
    return slot(iAddress);
}

SyncObject& SyncTable::renew(const volatile void* iAddress)
{
    SyncObject& object = at(iAddress);
    const SyncObject before = object;
    object = SyncObject{};
    object.address = before.address;
    object.users = before.users;
    object.changers = before.changers;
    Verdict::calls(object.made, Event::kCalls);
    return object;
}
} // namespace schedules
