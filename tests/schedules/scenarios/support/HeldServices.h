// SPDX-License-Identifier: MIT
// HeldServices: a started core and its three services.
#ifndef IXLAL_SCHEDULES_HELDSERVICES_H
#define IXLAL_SCHEDULES_HELDSERVICES_H

#include "scenarios/support/CoreSetup.h"

#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "ILogger.h"
#include "PBaseptr.h"

#include <string>

/// A core with the configuration "net". Its own values are own = "own" and pinned = "own", the
/// latter const; the store has "stored" for the keys stored, pinned and set. No call of the
/// preparation fails in a schedule.
struct HeldServices
{
    enum ELogs
    {
        eWithoutLogs,
        eWithLogs
    };

    explicit HeldServices(ELogs iLogs = eWithoutLogs);

    /// The text of a key of "net", or the negative code.
    std::wstring read(const wchar_t* iKey) const;

    CoreSetup core;
    PBaseptr<IConfigManager> manager;
    PBaseptr<IEventDispatcher> dispatcher;
    PBaseptr<ILogger> logger;
    PBaseptr<IConfig> config;
};

#endif
