// SPDX-License-Identifier: MIT
// ICompilerCheck: the service of the plugins that different compilers build.
#ifndef IXLAL_TESTS_ICOMPILERCHECK_H
#define IXLAL_TESTS_ICOMPILERCHECK_H

#include "IPlugin.h"

/// Makes a plugin use all operations of the core, with the binary interface of its own compiler.
class ICompilerCheck : public IBase
{
public:
    /// Calls every operation of the configuration manager, its configurations and events, of the
    /// dispatcher and of loggers. iID is a configuration ID that only the plugin uses, mapped to
    /// iFile, which has configLines(). Adds a line to oFailures for each failed check. Returns the
    /// number of checks.
    virtual int check(const PLiteral& iID, const PLiteral& iFile, PString& oFailures) = 0;

    virtual IPlugin* getPlugin() = 0;
};

#endif
