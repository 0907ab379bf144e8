// SPDX-License-Identifier: MIT
#include "events/LoggedDispatcher.h"

#include <cstdio>

void LoggedDispatcher::start(int iLevel)
{
    core.writeManagerConfig("");
    core.set("core.plugins.log.level", std::to_string(iLevel));
    ASSERT_EQ(0, core.start());
}

void LoggedDispatcher::make()
{
    dispatcher = PBaseptr<PEventDispatcher>::adopt(new PEventDispatcher);
}

void LoggedDispatcher::logErrorsOnly()
{
    ILogger* const logger = core.get<ILogger>(kIxlaLoggerId);
    ASSERT_NE(nullptr, logger);
    ASSERT_EQ(0, logger->setLevel(-1));
}

int LoggedDispatcher::count(const std::string& iText) const
{
    return countLines(core.pluginLogFile(), iText);
}

std::string LoggedDispatcher::shown(const void* iAddress)
{
    char text[32];
    std::snprintf(text, sizeof(text), "%p", iAddress);
    return text;
}
