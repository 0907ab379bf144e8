// SPDX-License-Identifier: MIT
// PGreeter: greets with the text of its configuration.
#ifndef IXLAL_EXAMPLES_PGREETER_H
#define IXLAL_EXAMPLES_PGREETER_H

#include "IGreeter.h"

#include "IEventDispatcher.h"
#include "ILogger.h"
#include "helpers/PKeyedConfig.h"
#include "helpers/PService.h"

#include <atomic>

IXLA_CONFIG(GreeterConfig, "com.example.greeter",
            IXLA_KEY_TEXT(greeting, "greeting", "Hello", "run-time", "text before the name"),
            IXLA_KEY_UINT32(longest, "longest", 100, 1, 1000, "characters", "start",
                            "length of the longest name that is greeted"))

class PGreeter : public PService<IGreeter>
{
public:
    int onInit() override;
    int greet(const PLiteral& iName, PString& oGreeting) override;

private:
    int makeGreeting(const PLiteral& iName, PString& oGreeting) const;

    // Constant after onInit.
    PBaseptr<ILogger> fLogger;
    PBaseptr<IEventDispatcher> fDispatcher;

    std::atomic<int> fCount{0};
    GreeterConfig fConfig; ///< last, so that its callback ends before the members it uses
};

#endif
