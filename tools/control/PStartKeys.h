// SPDX-License-Identifier: MIT
// PStartKeys: the core keys that this host was started with.
#ifndef IXLAL_TOOLS_PSTARTKEYS_H
#define IXLAL_TOOLS_PSTARTKEYS_H

#include "control/PControlServices.h"
#include "control/PCoreLog.h"

#include <string>
#include <vector>

/// Keys of the command line, which has them as KEY=VALUE, and of the property file that it names. A
/// host that starts the core otherwise has no keys there; the core log shows some of them.
class PStartKeys
{
public:
    PStartKeys(const PControlServices& iServices, const PCoreLog& iLog);

    /// The value of a key; empty if it is not known.
    std::string value(const char* iKey) const;

    /// The same for a key that the core reads from its arguments only.
    std::string argument(const char* iKey) const;

    /// The libraries of a list such as core.autostart.list, as file names.
    std::vector<std::string> libraries(const char* iKey) const;

    /// The property file, and the core's code for reading it; empty if there is none.
    const std::string& propertyFile() const noexcept;
    int propertyResult() const noexcept;

private:
    std::string logged(const std::string& iKey) const;

    const PCoreLog& fLog;
    PBaseptr<IConfig> fArguments;
    PBaseptr<IConfig> fKeys; ///< the property file, too
    std::string fPropertyFile;
    int fPropertyResult = 0;
};

#endif
