// SPDX-License-Identifier: MIT
// IAlarm: what the alarm plugin has seen.
#ifndef IXLAL_EXAMPLES_IALARM_H
#define IXLAL_EXAMPLES_IALARM_H

#include "IBase.h"

/// The interface ID of IAlarm, and the configuration ID of its thresholds.
constexpr wchar_t kAlarmId[] = L"com.example.ixla.alarm";

/// Keys of the thresholds: the load in hundredths, the memory in percent.
constexpr wchar_t kLoadLimitKey[] = L"load.max";
constexpr wchar_t kMemoryLimitKey[] = L"memory.max";

class IAlarm : public IBase
{
public:
    /// The highest values seen so far in this run and the earlier ones, -1 for none yet. Units as
    /// in ISample. [any thread]
    virtual int getHighestLoad() const = 0;
    virtual int getHighestMemory() const = 0;

    /// The highest values at the end of the last run, -1 for none. [any thread]
    virtual int getEarlierLoad() const = 0;
    virtual int getEarlierMemory() const = 0;

    /// How many values reached their threshold in this run. [any thread]
    virtual int getAlarmCount() const = 0;
};

#endif
