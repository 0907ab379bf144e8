// SPDX-License-Identifier: MIT
#include "validate/PTrial.h"

#include "helpers/Text.h"
#include "validate/PFailedCheck.h"

#include <algorithm>
#include <dlfcn.h>
#include <filesystem>
#include <memory>
#include <sstream>
#include <unistd.h>

namespace fs = std::filesystem;

namespace
{
/// Seconds that the core waits for listeners of its exit; it looks every five.
constexpr char kExitTimeout[] = "5";

/// The text after iMark in iLine; false without the mark.
bool _behind(const std::string& iLine, const std::string& iMark, std::string& oRest)
{
    const std::size_t at = iLine.find(iMark);
    if (at == std::string::npos)
    {
        return false;
    }
    oRest = iLine.substr(at + iMark.size());
    return true;
}

/// The file that is mapped at iAddress; empty for none.
std::string _libraryOf(const void* iAddress)
{
    Dl_info info = {};
    return ::dladdr(iAddress, &info) != 0 && info.dli_fname ? info.dli_fname : "";
}

void _addConfiguration(const std::string& iDir, PTestCore& ioCore)
{
    if (iDir.empty())
    {
        return;
    }
    for (const fs::directory_entry& entry : fs::directory_iterator(iDir))
    {
        if (entry.is_regular_file())
        {
            ioCore.addConfigFile(entry.path());
        }
    }
}
} // namespace

PTrial::PTrial(const PValidateOptions& iOptions, int iPhases) : fOptions(iOptions), fPhases(iPhases)
{
}

void PTrial::phase(const std::string& iText) const
{
    const std::string line = "phase " + iText + "\n";
    // A lost line is only missing in a message.
    (void)!::write(fPhases, line.data(), line.size());
}

PLibrary* PTrial::load()
{
    PLibrary* library = nullptr;
    if (PLibrary::load(ixlaWide(fOptions.plugin), library, true) != 0)
    {
        PString reason;
        PLibrary::getLoadError(reason); // fails for lack of memory only; the reason is empty then
        fLoadError = ixlaNarrow(reason);
    }
    return library;
}

const std::string& PTrial::loadError() const
{
    return fLoadError;
}

PLibrary* PTrial::loadOrFail()
{
    phase("loading the library");
    PLibrary* const library = load();
    if (!library)
    {
        throw PFailedCheck(fLoadError, "see the check \"loads\"");
    }
    return library;
}

IPlugin* PTrial::makePlugin()
{
    void* const symbol = loadOrFail()->getFunction(kFactorySymbol);
    if (!symbol)
    {
        throw PFailedCheck("exports no factory " + std::string(kFactorySymbol),
                           "define \"IPlugin* ixlaGetPlugin()\" outside of every namespace and "
                           "export it; IXLA_PLUGIN does");
    }
    phase("calling ixlaGetPlugin");
    IPlugin* const plugin = reinterpret_cast<IPlugin* (*)()>(symbol)();
    if (!plugin)
    {
        throw PFailedCheck("ixlaGetPlugin returned null", "return a new plugin");
    }
    phase("taking a reference on the plugin");
    const int count = plugin->incRef();
    if (count != 1)
    {
        throw PFailedCheck("the first incRef of a new plugin returned " + std::to_string(count) +
                               " instead of 1",
                           "start with a count of 0 and return the new count, as PCounted does");
    }
    return plugin;
}

// The library is opened by its own path first, because its dependencies may be in its directory.
PTestCore& PTrial::startCore(bool iWithPlugin, bool iUnload)
{
    const std::unique_ptr<PLibrary> library(loadOrFail());
    fCore = new PTestCore;
    linkPlugins(iWithPlugin);
    _addConfiguration(fOptions.configDir, *fCore);
    fCore->set("core.notify.exit.timeout", kExitTimeout);
    fCore->set("core.free.plugins.lib", iUnload ? "true" : "false");
    phase("starting a core");
    fCore->start();
    if (iWithPlugin && registeredIds().empty())
    {
        // A plugin without interfaces cannot be requested; the autostart list initialises it.
        fCore->stop();
        fCore->set("core.autostart.list", linkName());
        fCore->start();
    }
    return *fCore;
}

// The core loads only files that end with ".so".
std::string PTrial::linkName() const
{
    const fs::path name = fs::path(fOptions.plugin).filename();
    return name.extension() == ".so" ? name.string() : name.string() + ".so";
}

void PTrial::linkPlugins(bool iWithPlugin) const
{
    const fs::path plugins = fCore->directory() / "plugins";
    if (iWithPlugin)
    {
        fs::create_symlink(fOptions.plugin, plugins / linkName());
    }
    if (fOptions.pluginsDir.empty())
    {
        return;
    }
    for (const fs::directory_entry& entry : fs::directory_iterator(fOptions.pluginsDir))
    {
        // The plugin under test replaces other copies of it.
        const bool own =
            entry.path().filename() == linkName() || fs::equivalent(entry.path(), fOptions.plugin);
        if (entry.path().extension() == ".so" && !own)
        {
            fs::create_symlink(entry.path(), plugins / entry.path().filename());
        }
    }
}

std::vector<PString> PTrial::registeredIds() const
{
    return registeredIds(true);
}

/// Those of the plugin, or of the other plugins.
std::vector<PString> PTrial::registeredIds(bool iOwn) const
{
    std::vector<PString> ids;
    bool wanted = false;
    for (const std::string& line : fCore->coreLog().lines())
    {
        std::string rest;
        if (_behind(line, "D Core [processPlugin][pg:", rest))
        {
            const bool own = rest.ends_with("/" + linkName());
            wanted = iOwn ? own : !own && rest.find("] library: ") != std::string::npos;
        }
        else if (wanted && _behind(line, "D Core [processPlugin] Add interface ID: ", rest))
        {
            ids.push_back(ixlaWide(rest));
        }
    }
    return ids;
}

// The log may have the lines of two starts.
IPlugin* PTrial::registeredPlugin() const
{
    void* plugin = nullptr;
    for (const std::string& line : fCore->coreLog().lines())
    {
        std::string rest;
        if (_behind(line, "D Core [processPlugin][pg:", rest) && rest.ends_with("/" + linkName()))
        {
            std::istringstream(rest) >> plugin;
        }
    }
    if (!plugin)
    {
        throw PTestError("the core log does not name the plugin");
    }
    return static_cast<IPlugin*>(plugin);
}

std::map<std::string, IBase*> PTrial::initialiseOthers() const
{
    phase("initialising the other plugins");
    std::map<std::string, IBase*> instances;
    for (const PString& id : registeredIds(false))
    {
        IBase* instance = nullptr;
        if (ixlaGetInstance(id, instance) == eIxlaOk && instance)
        {
            instances[ixlaNarrow(id)] = instance;
        }
    }
    return instances;
}

std::vector<IBase*> PTrial::initialise()
{
    phase("initialising the plugin");
    std::vector<IBase*> instances;
    for (const PString& id : registeredIds())
    {
        IBase* instance = nullptr;
        const int result = ixlaGetInstance(id, instance);
        if (result != eIxlaOk)
        {
            failInit("\"" + ixlaNarrow(id) + "\"");
        }
        if (!instance)
        {
            throw PFailedCheck("\"" + ixlaNarrow(id) + "\": getInstance returned 0 and null",
                               "return an instance, or a negative code");
        }
        instances.push_back(instance);
    }
    if (instances.empty() && !fCore->coreLog().find("Failed to init autostart plugin").empty())
    {
        failInit("autostart");
    }
    return instances;
}

void PTrial::stopCore()
{
    phase("stopping the core");
    try
    {
        fCore->stop();
    }
    catch (const PTestError&)
    {
        phase("looking at what is left after the stop");
    }
}

bool PTrial::isOfPlugin(const void* iAddress) const
{
    const std::string library = _libraryOf(iAddress);
    const fs::path linked = fCore->directory() / "plugins";
    const bool isOther =
        fs::path(library).parent_path() == linked && fs::path(library).filename() != linkName();
    return !library.empty() && !isOther &&
           library != _libraryOf(reinterpret_cast<const void*>(&ixlaStart)) &&
           library != _libraryOf(reinterpret_cast<const void*>(&PLibrary::load)) &&
           library != _libraryOf(&kExitTimeout);
}

void PTrial::failInit(const std::string& iRequest) const
{
    std::string code;
    for (const std::string& line : fCore->coreLog().errors())
    {
        std::string rest;
        for (const char* mark : {"] Failed to init plugin err: ", "] Failed to get instance err: "})
        {
            if (code.empty() && _behind(line, mark, rest))
            {
                code = ": " + ixlaResultText(std::stoi(rest));
            }
        }
    }
    throw PFailedCheck(iRequest + " is refused" + code,
                       "fix the errors in the logs; pass what init needs with --config-dir "
                       "and --plugins\n" +
                           fCore->errorLines());
}
