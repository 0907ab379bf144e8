// SPDX-License-Identifier: MIT
// IAlarm: the service of the alarm plugin.
#ifndef IXLAL_EXAMPLES_IALARM_H
#define IXLAL_EXAMPLES_IALARM_H

#include "IBase.h"

/// The interface ID of IAlarm; also the configuration ID of its thresholds.
constexpr wchar_t kAlarmId[] = L"com.example.ixla.alarm";

/// The key of the load threshold, in hundredths.
constexpr wchar_t kLoadLimitKey[] = L"load.max";
/// The key of the memory threshold, in percent.
constexpr wchar_t kMemoryLimitKey[] = L"memory.max";

class IAlarm : public IBase
{
public:
    ///@{
    /// The highest value so far, in this run and earlier ones; -1 if there is none. Units as in
    /// ISample. [any thread]
    virtual int getHighestLoad() const = 0;
    virtual int getHighestMemory() const = 0;
    ///@}

    ///@{
    /// The highest value at the end of the last run; -1 if there is none. [any thread]
    virtual int getEarlierLoad() const = 0;
    virtual int getEarlierMemory() const = 0;
    ///@}

    /// The number of values that have reached their threshold in this run. [any thread]
    virtual int getAlarmCount() const = 0;
};

#endif
