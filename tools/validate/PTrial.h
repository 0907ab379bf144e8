// SPDX-License-Identifier: MIT
// PTrial: what a check works with, inside the process that was made for it.
#ifndef IXLAL_TOOLS_PTRIAL_H
#define IXLAL_TOOLS_PTRIAL_H

#include "IPlugin.h"
#include "PBaseptr.h"
#include "portinglayer/PLibrary.h"
#include "testkit/PTestCore.h"
#include "validate/PValidateOptions.h"

#include <string>
#include <vector>

/// The plugin under test. Nothing that it made is released: the process ends with the check, and
/// only the checks of stopping and unloading may wait for the plugin to let go.
class PTrial
{
public:
    /// iPhases is where phase() writes.
    PTrial(const PValidateOptions& iOptions, int iPhases);

    /// Says what is about to be done, so that it can be named when the process dies of it.
    void phase(const std::string& iText) const;

    /// Opens the library, which the caller may close. Null when that fails; loadError() then says
    /// why.
    PLibrary* load();
    const std::string& loadError() const;

    // What follows throws PFailedCheck when the plugin is to blame, and PTestError otherwise.

    /// A new plugin from the factory of the library, with one reference.
    IPlugin* makePlugin();

    /// A core with the plugins that are needed, the configuration, and the plugin under test if
    /// iWithPlugin is set. It closes its libraries at the stop when iUnload is set.
    PTestCore& startCore(bool iWithPlugin = true, bool iUnload = false);

    /// The interface IDs that the core registered for the plugin.
    std::vector<PString> registeredIds() const;

    /// Asks for every interface in turn, which initialises the plugin; one without interfaces was
    /// initialised by the start of the core. Returns the instances, borrowed.
    std::vector<IBase*> initialise();

    const PValidateOptions& options() const
    {
        return fOptions;
    }

private:
    PLibrary* loadOrFail();
    [[noreturn]] void failInit(const std::string& iRequest) const;
    std::string linkName() const;
    void linkPlugins(bool iWithPlugin) const;

    const PValidateOptions& fOptions;
    const int fPhases;
    std::string fLoadError;
    PTestCore* fCore = nullptr; ///< never destroyed
};

#endif
