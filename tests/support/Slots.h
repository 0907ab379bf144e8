// SPDX-License-Identifier: MIT
// Slots: calls the virtual operations of an object by their numbers.
#ifndef IXLAL_TESTS_SLOTS_H
#define IXLAL_TESTS_SLOTS_H

#include <cstddef>
#include <utility>

/// The content of slot iSlot, counted from 1, in the table of an object.
inline void* slotOf(const void* iObject, std::size_t iSlot)
{
    return (*static_cast<void** const*>(iObject))[iSlot - 1];
}

/// Calls a slot as a compiler does: as a function whose first argument is the object. The caller
/// must give the argument types of the operation.
template <class TResult, class... TArguments>
TResult callSlot(void* iObject, std::size_t iSlot, TArguments... iArguments)
{
    const auto operation =
        reinterpret_cast<TResult (*)(void*, TArguments...)>(slotOf(iObject, iSlot));
    return operation(iObject, std::forward<TArguments>(iArguments)...);
}

#endif
