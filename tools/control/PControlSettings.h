// SPDX-License-Identifier: MIT
// PControlSettings: the settings of the control plugin.
#ifndef IXLAL_TOOLS_PCONTROLSETTINGS_H
#define IXLAL_TOOLS_PCONTROLSETTINGS_H

#include "IConfig.h"

#include <string>
#include <sys/types.h>
#include <vector>

/// Constant after it has been read.
struct PControlSettings
{
    /// Reads the keys that are there. Throws std::runtime_error for a value out of range and for an
    /// unknown user; the text names the key.
    void read(IConfig& iConfig);

    /// Whether a process of the user may send requests.
    bool allows(uid_t iUser) const;

    std::string socket;       ///< the path; the default place if it was not configured
    std::vector<uid_t> users; ///< further users
    unsigned int connections = 256;
    unsigned int requestSize = 16 * 1024;
    unsigned int rate = 100; ///< requests per second and connection
    unsigned int queueSize = 1024 * 1024;
    unsigned int stallSeconds = 10;
    bool isDefaultPlace = true;

private:
    void chooseDefaultPlace();
};

#endif
