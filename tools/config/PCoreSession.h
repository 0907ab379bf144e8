// SPDX-License-Identifier: MIT
// PCoreSession: a running core without plugins.
#ifndef IXLAL_TOOLS_PCORESESSION_H
#define IXLAL_TOOLS_PCORESESSION_H

#include "IConfigManager.h"
#include "PBaseptr.h"
#include "config/PScratch.h"

#include <string>
#include <vector>

/// Starts the core in the constructor and stops it in the destructor. Only one object may exist at
/// a time. Output of the core during the start is suppressed.
class PCoreSession
{
public:
    /// Arguments are key=value in bytes. Those of the session take precedence over iArguments.
    /// Throws PToolError when the core does not start.
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
