// SPDX-License-Identifier: MIT
// IGreeter: the service of the greeter plugin.
#ifndef IXLAL_EXAMPLES_IGREETER_H
#define IXLAL_EXAMPLES_IGREETER_H

#include "IBase.h"
#include "portinglayer/PString.h"

/// The interface ID.
constexpr wchar_t kGreeterId[] = L"com.example.greeter";

/// The topic sent after every greeting, with the number of greetings so far.
constexpr wchar_t kGreetedTopic[] = L"com.example.greeter.greeted";

class IGreeter : public IBase
{
public:
    /// Writes a greeting for iName to oGreeting. Returns 0, -502 for an empty name or one that is
    /// too long, or -501. [any thread]
    virtual int greet(const PLiteral& iName, PString& oGreeting) = 0;
};

#endif
