// SPDX-License-Identifier: MIT
#include "PGreeter.h"

#include "PGuarded.h"
#include "helpers/ServiceLookup.h"

int PGreeter::onInit()
{
    int result = eIxlaOk;
    const PBaseptr<IConfigManager> manager = ixlaService<IConfigManager>(result);
    if (result == eIxlaOk)
    {
        result = manager->loadByID(kGreeterId, fConfig);
    }
    if (result == eIxlaOk)
    {
        fLogger = ixlaService<ILogger>(result);
    }
    if (result == eIxlaOk)
    {
        fDispatcher = ixlaService<IEventDispatcher>(result);
    }
    if (result == eIxlaOk)
    {
        readGreeting();
        result = fChanges.subscribe(kGreeterId, [this](const IConfigChanged&) { readGreeting(); });
    }
    return result;
}

int PGreeter::greet(const PLiteral& iName, PString& oGreeting)
{
    if (iName.len() == 0)
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

int PGreeter::makeGreeting(const PLiteral& iName, PString& oGreeting)
{
    PString greeting;
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        greeting = fGreeting;
    }
    greeting += L", ";
    greeting += iName;
    oGreeting = greeting;
    return eIxlaOk;
}

void PGreeter::readGreeting()
{
    PString greeting(L"Hello");
    // Without the key the default stays.
    (void)fConfig->getString(L"greeting", greeting);
    const std::lock_guard<std::mutex> lock(fMutex);
    fGreeting = greeting;
}
