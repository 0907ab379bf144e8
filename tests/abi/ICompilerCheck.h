// SPDX-License-Identifier: MIT
// ICompilerCheck: what the plugins that different compilers built offer.
#ifndef IXLAL_TESTS_ICOMPILERCHECK_H
#define IXLAL_TESTS_ICOMPILERCHECK_H

#include "IPlugin.h"

/// Lets a plugin use everything that the core offers, with its own compiler's idea of it.
class ICompilerCheck : public IBase
{
public:
    /// Calls every operation of the configuration manager, its configurations and events, of the
    /// dispatcher and of loggers. iID is a configuration ID of the plugin's own, mapped to iFile,
    /// which holds configLines(). What was not as it should be goes to oFailures, a line each.
    /// Returns how many checks were made.
    virtual int check(const PLiteral& iID, const PLiteral& iFile, PString& oFailures) = 0;

    virtual IPlugin* getPlugin() = 0;
};

#endif
