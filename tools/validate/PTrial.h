// SPDX-License-Identifier: MIT
// PTrial: the objects of a check, inside its process.
#ifndef IXLAL_TOOLS_PTRIAL_H
#define IXLAL_TOOLS_PTRIAL_H

#include "IPlugin.h"
#include "PBaseptr.h"
#include "portinglayer/PLibrary.h"
#include "testkit/PTestCore.h"
#include "validate/PValidateOptions.h"

#include <map>
#include <string>
#include <vector>

/// The plugin under test. Its objects are not released: the process ends with the check, and only
/// the checks of stopping and unloading wait for the plugin.
class PTrial
{
public:
    /// The name of the factory in a library.
    static constexpr char kFactorySymbol[] = "_Z13ixlaGetPluginv";

    /// phase() writes to iPhases.
    PTrial(const PValidateOptions& iOptions, int iPhases);

    /// Reports the next step, for the message if the process dies in it.
    void phase(const std::string& iText) const;

    /// Opens the library, which the caller may close. Null on failure; loadError() then has the
    /// reason.
    PLibrary* load();
    const std::string& loadError() const;

    // The following throw PFailedCheck for a fault of the plugin, and PTestError otherwise.

    /// A new plugin from the factory of the library, with one reference.
    IPlugin* makePlugin();

    /// Starts a core with the needed plugins, the configuration, and the plugin under test if
    /// iWithPlugin is set. Its stop closes the libraries if iUnload is set.
    PTestCore& startCore(bool iWithPlugin = true, bool iUnload = false);

    /// The interface IDs that the core registered for the plugin.
    std::vector<PString> registeredIds() const;

    /// The plugin that the core created, borrowed.
    IPlugin* registeredPlugin() const;

    /// Requests every interface of the other plugins, as far as they can be initialised. Returns
    /// borrowed instances.
    std::map<std::string, IBase*> initialiseOthers() const;

    /// Requests every interface in turn, which initialises the plugin. A plugin without interfaces
    /// was initialised by the start of the core. Returns borrowed instances.
    std::vector<IBase*> initialise();

    /// Stops the core and ignores its delays, which the check "stop" reports.
    void stopCore();

    /// Whether the code or static data at iAddress belongs to the plugin, or to a library that came
    /// with it: not to the core, this tool, or another plugin.
    bool isOfPlugin(const void* iAddress) const;

    const PValidateOptions& options() const
    {
        return fOptions;
    }

private:
    PLibrary* loadOrFail();
    [[noreturn]] void failInit(const std::string& iRequest) const;
    std::string linkName() const;
    std::vector<PString> registeredIds(bool iOwn) const;
    void linkPlugins(bool iWithPlugin) const;

    const PValidateOptions& fOptions;
    const int fPhases;
    std::string fLoadError;
    PTestCore* fCore = nullptr; ///< never destroyed
};

#endif
