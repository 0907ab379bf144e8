// SPDX-License-Identifier: MIT
// PGreeter: greets with the text of its configuration.
#ifndef IXLAL_EXAMPLES_PGREETER_H
#define IXLAL_EXAMPLES_PGREETER_H

#include "IGreeter.h"

#include "IConfigManager.h"
#include "IEventDispatcher.h"
#include "ILogger.h"
#include "helpers/PConfigSubscription.h"
#include "helpers/PService.h"

#include <atomic>
#include <mutex>

class PGreeter : public PService<IGreeter>
{
public:
    int onInit() override;
    int greet(const PLiteral& iName, PString& oGreeting) override;

private:
    int makeGreeting(const PLiteral& iName, PString& oGreeting);
    void readGreeting();

    // Constant after onInit.
    PBaseptr<IConfig> fConfig;
    PBaseptr<ILogger> fLogger;
    PBaseptr<IEventDispatcher> fDispatcher;

    std::atomic<int> fCount{0};

    std::mutex fMutex;
    PString fGreeting; ///< guarded by fMutex

    PConfigSubscription fChanges; ///< last, so that it ends before the members it uses
};

#endif
