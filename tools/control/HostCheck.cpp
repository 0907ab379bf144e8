// SPDX-License-Identifier: MIT
#include "control/HostCheck.h"

#include "control/LoadedLibraries.h"
#include "control/PHostLogs.h"
#include "control/PStartKeys.h"
#include "helpers/ResultText.h"
#include "helpers/Text.h"
#include "portinglayer/PUtils.h"
#include "shared/PConfigPlaces.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <optional>
#include <set>
#include <system_error>
#include <unistd.h>

namespace fs = std::filesystem;

namespace
{
constexpr char kPluginsDir[] = "core.plugins.dir";
constexpr char kLoadList[] = "core.load.plugin.list";
constexpr char kAutostartList[] = "core.autostart.list";
constexpr char kLogFile[] = "core.log.file";
constexpr wchar_t kLogDir[] = L"core.plugins.log.dir";
constexpr wchar_t kLogEnable[] = L"core.plugins.log.enable";

/// Collects the findings of one check after the other.
class Checks
{
public:
    explicit Checks(const PControlServices& iServices);

    std::vector<HostFinding> findings();

private:
    void add(const std::string& iWhat, const std::string& iWhere, const std::string& iRemedy);
    void checkPropertyFile();
    void checkPluginsDir();
    void checkLoadList();
    void checkAutostartList();
    void checkAutostart(const std::string& iName);
    void checkFailures();
    void checkCoreLog();
    void checkPluginLogs();
    void checkConfiguration();
    void checkStore();
    bool isLoaded(const std::string& iName) const;

    const PControlServices& fServices;
    const PHostLogs fLogs;
    const std::optional<HostLog> fCoreLogFile;
    const PCoreLog fCoreLog;
    const PStartKeys fKeys;
    PConfigPlaces fFiles;
    const int fFilesResult;
    std::set<std::string> fLoaded; ///< file names
    std::vector<HostFinding> fFindings;
};

std::string _keyText(const char* iKey, const std::string& iValue)
{
    return std::string(iKey) + " = " + iValue;
}

/// Empty when a file can be used in this way.
std::string _accessProblem(const std::string& iPath, int iMode)
{
    return access(iPath.c_str(), iMode) == 0 ? "" : std::generic_category().message(errno);
}

std::string _directoryOf(const std::string& iPath)
{
    const fs::path directory = fs::path(iPath).parent_path();
    return directory.empty() ? "." : directory.string();
}

Checks::Checks(const PControlServices& iServices)
    : fServices(iServices),
      fCoreLogFile(fLogs.core()),
      fCoreLog(fCoreLogFile ? fCoreLogFile->content : ""),
      fKeys(iServices, fCoreLog),
      fFiles(iServices.global),
      fFilesResult(fFiles.readManagerFile(*iServices.manager))
{
    for (const LoadedLibrary& library : loadedLibraries())
    {
        fLoaded.insert(fs::path(library.path).filename());
    }
}

std::vector<HostFinding> Checks::findings()
{
    checkPropertyFile();
    checkPluginsDir();
    checkLoadList();
    checkAutostartList();
    checkFailures();
    checkCoreLog();
    checkPluginLogs();
    checkConfiguration();
    checkStore();
    return fFindings;
}

void Checks::add(const std::string& iWhat, const std::string& iWhere, const std::string& iRemedy)
{
    fFindings.push_back({iWhat, iWhere, iRemedy});
}

bool Checks::isLoaded(const std::string& iName) const
{
    return fLoaded.count(iName) > 0;
}

void Checks::checkPropertyFile()
{
    if (!fKeys.propertyFile().empty() && fKeys.propertyResult() != 0)
    {
        add("the property file cannot be read: " + ixlaResultText(fKeys.propertyResult()),
            fKeys.propertyFile(), "fix the file before the next start");
    }
}

void Checks::checkPluginsDir()
{
    const std::string directory = fKeys.value(kPluginsDir);
    const std::string problem = directory.empty() ? "" : _accessProblem(directory, R_OK | X_OK);
    if (!problem.empty())
    {
        add("the plugins directory cannot be read: " + problem, _keyText(kPluginsDir, directory),
            "create the directory, or set the key to the right one, and start the host again");
    }
}

void Checks::checkLoadList()
{
    for (const std::string& name : fKeys.libraries(kLoadList))
    {
        if (!isLoaded(name))
        {
            add("a listed library is not loaded: " + name,
                _keyText(kLoadList, fKeys.value(kLoadList)),
                "put the library into " + fKeys.value(kPluginsDir) + " or correct the list");
        }
    }
}

void Checks::checkAutostartList()
{
    for (const std::string& name : fKeys.libraries(kAutostartList))
    {
        checkAutostart(name);
    }
}

void Checks::checkAutostart(const std::string& iName)
{
    const std::string where = _keyText(kAutostartList, fKeys.value(kAutostartList));
    if (!isLoaded(iName))
    {
        add("an autostart plugin is not loaded: " + iName, where,
            "put the library into " + fKeys.value(kPluginsDir) + " or correct the list");
        return;
    }
    const LoggedPlugin* const plugin = fCoreLog.find(iName);
    if (plugin && plugin->interfaces.empty())
    {
        add("an autostart plugin offers no interface: " + iName, where,
            "run ixla-inspect on the library");
    }
    else if (plugin && plugin->state == "loaded")
    {
        add("an autostart plugin is not initialised: " + iName, where,
            "look for its name in the core log");
    }
}

void Checks::checkFailures()
{
    for (const LoggedPlugin& plugin : fCoreLog.plugins())
    {
        if (plugin.state == "failed")
        {
            const std::string name = plugin.library.empty() ? "a built-in plugin" : plugin.library;
            const bool isFile = fCoreLogFile->content == fCoreLogFile->path;
            add("a plugin failed to initialise with " + plugin.code + ": " + name,
                isFile ? fCoreLogFile->path : name,
                "look for its name in the core log, and for its lines in ixlaplugins.log");
        }
    }
}

void Checks::checkCoreLog()
{
    const std::string file = fKeys.argument(kLogFile);
    const std::string ignored = fKeys.value(kLogFile);
    bool isEnabled = true;
    // The core refuses to start with a text that is no truth value.
    (void)PUtils::strToBool(ixlaWide(fKeys.argument("core.log.enable")), isEnabled);
    if (file.empty() && !ignored.empty())
    {
        add("the core log is not written, because the core reads this key from its arguments only",
            _keyText(kLogFile, ignored), "move the key from the property file to the command line");
    }
    else if (!file.empty() && isEnabled && !fCoreLogFile)
    {
        std::error_code failure;
        const bool exists = fs::exists(file, failure);
        const std::string problem = _accessProblem(exists ? file : _directoryOf(file), W_OK);
        add("the core log is not written" + (problem.empty() ? "" : ": " + problem),
            _keyText(kLogFile, file), "make the file and its directory writable for the host");
    }
}

void Checks::checkPluginLogs()
{
    bool isEnabled = true;
    // It is enabled without the key.
    (void)fServices.global->getBool(kLogEnable, isEnabled);
    const std::string directory = ixlaNarrow(fServices.shared(kLogDir));
    const std::string problem = isEnabled ? _accessProblem(directory, W_OK | X_OK) : "";
    if (!problem.empty())
    {
        add("the logs of plugins are not written: " + problem,
            _keyText("core.plugins.log.dir", directory),
            "make the directory writable for the host");
    }
}

void Checks::checkConfiguration()
{
    if (fFilesResult != 0)
    {
        add("the list of configuration files cannot be read, so every configuration by ID fails: " +
                ixlaResultText(fFilesResult),
            ixlaNarrow(fFiles.managerPath()), "run ixla-config check on the file, then fix it");
    }
    for (const PString& id : fFiles.listedIDs())
    {
        for (const PString& name : fFiles.filesOf(id))
        {
            const PString path = fFiles.pathOf(name);
            PBaseptr<IConfig> config;
            const int result = fServices.manager->loadByFile(path, config);
            if (result != 0)
            {
                add("a configuration file of " + ixlaNarrow(id) +
                        " is ignored, wholly or from a "
                        "line on: " +
                        ixlaResultText(result),
                    ixlaNarrow(path), "run ixla-config check on the file, then fix it");
            }
        }
    }
}

void Checks::checkStore()
{
    const PString path = fFiles.storePath();
    if (path.len() == 0)
    {
        return;
    }
    const std::string file = ixlaNarrow(path);
    PBaseptr<IConfig> store;
    const int result = fServices.manager->loadByFile(path, store);
    if (result != 0 && result != -ENOENT)
    {
        add("the store is ignored: " + ixlaResultText(result), file,
            "run ixla-config check on the file, then fix it; stored values are hidden until then");
        return;
    }
    const std::string problem = _accessProblem(_directoryOf(file), W_OK | X_OK);
    const std::string ofFile = result == 0 ? _accessProblem(file, R_OK | W_OK) : "";
    if (!problem.empty() || !ofFile.empty())
    {
        add("the store cannot be written: " + (problem.empty() ? ofFile : problem), file,
            "make the file and its directory writable for the host");
    }
}
} // namespace

std::vector<HostFinding> checkHost(const PControlServices& iServices)
{
    return Checks(iServices).findings();
}
