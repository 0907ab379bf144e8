// SPDX-License-Identifier: MIT
#include "control/PControl.h"

#include "helpers/Text.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

int PControl::onInit()
{
    const int result = fServices.find();
    if (result != eIxlaOk)
    {
        return result;
    }
    try
    {
        return begin();
    }
    catch (const std::system_error& problem)
    {
        report(problem.what());
        return -problem.code().value();
    }
    catch (const std::runtime_error& problem)
    {
        report(problem.what());
        return -EINVAL;
    }
}

int PControl::begin()
{
    PBaseptr<IConfig> config;
    const int result = fServices.manager->loadByID(kControlId, config);
    if (result != eIxlaOk)
    {
        return result;
    }
    fSettings.read(*config);
    fServer = std::make_unique<PControlServer>(fServices, fSettings);
    fServer->start();
    (void)fServices.logger->info(0, L"[control] Listens at %s", fSettings.socket.c_str());
    return eIxlaOk;
}

void PControl::onExit()
{
    fServer.reset();
}

// The host goes on without the plugin, and nobody may look into the logs.
void PControl::report(const char* iText) const
{
    (void)fServices.logger->error(0, L"[control] The host cannot be controlled: %s", iText);
    (void)std::fprintf(stderr, "ixlal-control: the host cannot be controlled: %s\n", iText);
}
