// SPDX-License-Identifier: MIT
// ITicker, IPace: the services of the ticker plugin.
#ifndef IXLAL_EXAMPLES_ITICKER_H
#define IXLAL_EXAMPLES_ITICKER_H

#include "IBase.h"

/// The interface ID of IPace; also the configuration ID of the plugin.
constexpr wchar_t kPaceId[] = L"com.example.ticker.pace";
/// The interface ID of ITicker.
constexpr wchar_t kTickerId[] = L"com.example.ticker";

/// The topic sent at every tick, with the number of ticks so far.
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
    /// The number of ticks so far. [any thread]
    virtual int getTicks() const = 0;
};

#endif
