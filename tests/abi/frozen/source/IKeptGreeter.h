// SPDX-License-Identifier: MIT
// IKeptGreeter: the service of a plugin that uses the helpers of the SDK.
#ifndef IXLAL_TESTS_IKEPTGREETER_H
#define IXLAL_TESTS_IKEPTGREETER_H

#include "IBase.h"

class PString;

constexpr const wchar_t* kKeptGreeterId = L"kept.greeter";
constexpr const wchar_t* kKeptTopic = L"kept.greeted";

/// Greets with its configured text, and sends kKeptTopic with the number of greetings.
class IKeptGreeter : public IBase
{
public:
    /// Writes the greeting, the configured size and the number of changes that it was told.
    virtual int greet(PString& oText) = 0;
};

#endif
