// SPDX-License-Identifier: MIT
// PControl: the service of the control plugin.
#ifndef IXLAL_TOOLS_PCONTROL_H
#define IXLAL_TOOLS_PCONTROL_H

#include "control/PControlServer.h"
#include "helpers/PService.h"

#include <memory>

/// The interface ID, also the ID of the plugin's configuration.
constexpr wchar_t kControlId[] = L"com.kelvora.ixla.control";

/// Serves the control socket from onInit to onExit. Offers no operations of its own.
class PControl : public PService<IBase>
{
public:
    /// Returns 0; -22 for a wrong setting; the negated errno of creating the socket, -98 when
    /// another host has it; or the code of a service that is missing. The reason is in the plugins'
    /// log and in one line on the standard error stream.
    int onInit() override;

    void onExit() override;

private:
    int begin();
    void report(const char* iText) const;

    PControlServices fServices;
    PControlSettings fSettings;
    std::unique_ptr<PControlServer> fServer; ///< last: it uses the others
};

#endif
