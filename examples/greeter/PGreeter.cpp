// SPDX-License-Identifier: MIT
#include "PGreeter.h"

#include "PGuarded.h"
#include "helpers/ServiceLookup.h"

int PGreeter::onInit()
{
    int result = eIxlaOk;
    fLogger = ixlaService<ILogger>(result);
    if (result == eIxlaOk)
    {
        fDispatcher = ixlaService<IEventDispatcher>(result);
    }
    fConfig.greeting.onChange(
        [this](const PString& iGreeting)
        { fLogger->info(0, L"[greeter] greetings begin with: %ls", iGreeting.ptr()); });
    return result == eIxlaOk ? fConfig.load() : result;
}

int PGreeter::greet(const PLiteral& iName, PString& oGreeting)
{
    if (iName.len() == 0 || iName.len() > fConfig.longest.get())
    {
        return eIxlaInvalidArgument;
    }
    const int result = ixlaGuarded([&] { return makeGreeting(iName, oGreeting); });
    if (result != eIxlaOk)
    {
        return result;
    }
    const int count = ++fCount;
    fLogger->info(0, L"[greeter] greeting %d: %ls", count, oGreeting.ptr());
    // A topic without listeners is no error here.
    (void)fDispatcher->send(kGreetedTopic, nullptr, count);
    return eIxlaOk;
}

int PGreeter::makeGreeting(const PLiteral& iName, PString& oGreeting) const
{
    PString greeting = fConfig.greeting.get();
    greeting += L", ";
    greeting += iName;
    oGreeting = greeting;
    return eIxlaOk;
}
