// SPDX-License-Identifier: MIT
// IGreeter: what the greeter plugin offers to others.
#ifndef IXLAL_EXAMPLES_IGREETER_H
#define IXLAL_EXAMPLES_IGREETER_H

#include "IBase.h"
#include "portinglayer/PString.h"

/// The interface ID, and the configuration ID of the greeter's settings.
constexpr wchar_t kGreeterId[] = L"com.example.greeter";

/// Sent after every greeting, with the number of greetings so far.
constexpr wchar_t kGreetedTopic[] = L"com.example.greeter.greeted";

class IGreeter : public IBase
{
public:
    /// Puts a greeting for iName into oGreeting. Returns 0, -502 for an empty name, or -501.
    /// [any thread]
    virtual int greet(const PLiteral& iName, PString& oGreeting) = 0;
};

#endif
