// SPDX-License-Identifier: MIT
// PCoreSession: a core without plugins, for as long as the tool asks it.
#ifndef IXLAL_TOOLS_PCORESESSION_H
#define IXLAL_TOOLS_PCORESESSION_H

#include "IConfigManager.h"
#include "PBaseptr.h"
#include "config/PScratch.h"

#include <string>
#include <vector>

/// Starts the core on construction and stops it at the end; one at a time. What the core prints
/// while it starts is left out.
class PCoreSession
{
public:
    /// Arguments are key=value in bytes; those of the session come after iArguments and so win.
    /// Throws PToolError when the core doesn't start.
    PCoreSession(const PScratch& iScratch, const std::string& iConfigDir,
                 const std::vector<std::string>& iArguments);
    ~PCoreSession();

    PCoreSession(const PCoreSession&) = delete;
    PCoreSession& operator=(const PCoreSession&) = delete;

    IConfigManager& manager() const;

    /// Whether iKey is an argument that the session sets itself.
    static bool isReserved(const std::string& iKey);

private:
    PBaseptr<IConfigManager> fManager;
};

#endif
