// SPDX-License-Identifier: MIT
// Fault: one rule that the model deliberately violates.
#ifndef IXLAL_TESTS_FAULT_H
#define IXLAL_TESTS_FAULT_H

/// Shows that the comparison of system and model notices each rule.
enum class Fault
{
    eNone,
    eRunTimeBeatsPinned,
    eStoredPinIgnored,
    ePinForgotten,
    eLastRunTimeWins,
    eFirstOwnValueWins,
    eLastAttributeWins,
    eStoredSeenAtOnce,
    eRemovalSeenLater,
    eOldestListenerFirst,
    eDeliveryWithoutSnapshot,
    eEventOnlyOfChanges,
    eSilentAttributes,
    eLevelExcluded,
    eErrorsFiltered,
    eLoggersKept,
    eCount
};

#endif
