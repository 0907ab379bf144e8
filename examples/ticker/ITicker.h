// SPDX-License-Identifier: MIT
// ITicker, IPace: the services of the ticker plugin.
#ifndef IXLAL_EXAMPLES_ITICKER_H
#define IXLAL_EXAMPLES_ITICKER_H

#include "IBase.h"

/// The interface ID of IPace, and the configuration ID of the plugin.
constexpr wchar_t kPaceId[] = L"com.example.ticker.pace";
constexpr wchar_t kTickerId[] = L"com.example.ticker";

/// Sent at every tick, with the number of ticks so far.
constexpr wchar_t kTickTopic[] = L"com.example.ticker.tick";

class IPace : public IBase
{
public:
    /// Milliseconds between two ticks. [any thread]
    virtual int getPeriod() const = 0;
};

class ITicker : public IBase
{
public:
    /// How many ticks there were. [any thread]
    virtual int getTicks() const = 0;
};

#endif
