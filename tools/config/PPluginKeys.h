// SPDX-License-Identifier: MIT
// PPluginKeys: the declared keys of the plugins that belong to a configuration.
#ifndef IXLAL_TOOLS_PPLUGINKEYS_H
#define IXLAL_TOOLS_PPLUGINKEYS_H

#include "config/PConfigView.h"
#include "shared/PDeclarations.h"

/// Reads the libraries that --plugins names, or those in the core.plugins.dir of the property file.
/// Warns of damaged notes on the standard error stream.
class PPluginKeys
{
public:
    /// Throws PToolError when what --plugins names cannot be read.
    explicit PPluginKeys(const ConfigOptions& iOptions);

    /// Whether the plugins are known. Otherwise there are no declarations.
    bool isKnown() const;

    const PDeclarations& declarations() const;

    /// The declarations for an ID. Throws PToolError when there are none.
    const DeclaredConfig& require(const std::string& iID) const;

    /// Throws PToolError when the plugins are not known.
    void requireKnown(const std::string& iCommand) const;

private:
    bool fIsKnown = false;
    PDeclarations fDeclarations;
};

#endif
