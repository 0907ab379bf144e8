// SPDX-License-Identifier: MIT
// PCoreConfig: the configuration that a running core has read.
#ifndef IXLAL_TOOLS_PCORECONFIG_H
#define IXLAL_TOOLS_PCORECONFIG_H

#include "IConfigManager.h"
#include "PBaseptr.h"
#include "host/PHostOptions.h"

#include <string>

/// Reads the property file and the arguments again, through the core's configuration manager.
/// Release the object before the core stops.
class PCoreConfig
{
public:
    /// iOptions is borrowed and must outlive the object.
    PCoreConfig(IConfigManager& ioManager, const PHostOptions& iOptions);

    /// The value of a key; empty if it has none.
    PString valueOf(const wchar_t* iKey) const;

    /// Where the value of a key is: "core.plugins.dir in core.prs", or "the argument ...".
    std::string placeOf(const wchar_t* iKey) const;

    /// All values; empty without any.
    const PBaseptr<IConfig>& values() const;

    IConfigManager& manager() const;

private:
    IConfigManager& fManager;
    const PHostOptions& fOptions;
    PBaseptr<IConfig> fConfig;
};

#endif
