// SPDX-License-Identifier: MIT
#include "host/PPluginsCheck.h"

#include "helpers/ResultText.h"
#include "shared/PluginFiles.h"
#include "shared/ToolTexts.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <dlfcn.h>
#include <memory>
#include <system_error>
#include <unistd.h>

namespace
{
constexpr wchar_t kDirKey[] = L"core.plugins.dir";
constexpr wchar_t kLoadKey[] = L"core.load.plugin.list";
constexpr wchar_t kAutostartKey[] = L"core.autostart.list";
constexpr char kFactory[] = "_Z13ixlaGetPluginv";

/// The errno of reading a directory; 0 if it can be read.
int _readDirectory(const std::string& iPath)
{
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir(iPath.c_str()), &closedir);
    if (!directory)
    {
        return errno;
    }
    errno = 0;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread uses the stream
    static_cast<void>(readdir(directory.get()));
    return errno;
}

bool _isLoadedPlugin(const std::string& iPath)
{
    void* const library = dlopen(iPath.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    if (!library)
    {
        return false;
    }
    const bool hasFactory = dlsym(library, kFactory) != nullptr;
    dlclose(library); // cannot fail: the core holds the library
    return hasFactory;
}
} // namespace

PPluginsCheck::PPluginsCheck(const PCoreConfig& iConfig, const PLogFollower& iLog,
                             const std::string& iLogFile, const std::string& iLoadedDir)
    : fConfig(iConfig),
      fLog(iLog),
      fLogFile(iLogFile),
      fLoadedDir(iLoadedDir),
      fDirectory(iConfig.valueOf(kDirKey))
{
}

std::vector<PDegradation> PPluginsCheck::run()
{
    if (checkDirectory())
    {
        checkLoadList();
        checkAutostartList();
    }
    checkAutostartResults();
    return std::move(fFound);
}

bool PPluginsCheck::checkDirectory()
{
    const int error = _readDirectory(utf8Text(fDirectory));
    if (error != 0)
    {
        add(eExitPluginsDir, "no plugin is loaded: the directory " + quotedText(fDirectory) +
                                 " cannot be read: " + std::generic_category().message(error) +
                                 "; correct " + fConfig.placeOf(kDirKey));
    }
    return error == 0;
}

void PPluginsCheck::checkLoadList()
{
    for (const PString& name : namesOf(fConfig.valueOf(kLoadKey)))
    {
        const PString file = pluginFile(name);
        const bool exists = access(pathOf(file).c_str(), F_OK) == 0;
        if (!exists || !isLoaded(file))
        {
            add(eExitListedName, quotedText(name) + " of core.load.plugin.list matches nothing: " +
                                     (exists ? shownText(file) + " has no factory ixlaGetPlugin"
                                             : "there is no " + shownUtf8(pathOf(file))) +
                                     "; correct " + fConfig.placeOf(kLoadKey));
        }
    }
}

void PPluginsCheck::checkAutostartList()
{
    for (const PString& name : namesOf(fConfig.valueOf(kAutostartKey)))
    {
        const PString file = pluginFile(name);
        const std::string reason = reasonOfAbsence(file);
        if (!reason.empty())
        {
            add(eExitListedName, quotedText(name) + " of core.autostart.list matches nothing: " +
                                     reason + "; correct " + fConfig.placeOf(kAutostartKey));
        }
    }
}

/// Why a library of the autostart list is no plugin of the core; empty if it is one.
std::string PPluginsCheck::reasonOfAbsence(const PString& iFile) const
{
    const std::string path = pathOf(iFile);
    if (access(path.c_str(), F_OK) != 0)
    {
        return "there is no " + shownUtf8(path);
    }
    if (!isListedForLoading(iFile))
    {
        return "core.load.plugin.list does not name " + shownText(iFile);
    }
    return isLoaded(iFile) ? "" : shownText(iFile) + " has no factory ixlaGetPlugin";
}

bool PPluginsCheck::isListedForLoading(const PString& iFile) const
{
    const std::vector<PString> names = namesOf(fConfig.valueOf(kLoadKey));
    return names.empty() ||
           std::any_of(names.begin(), names.end(),
                       [&](const PString& iName) { return pluginFile(iName).cmp(iFile) == 0; });
}

void PPluginsCheck::checkAutostartResults()
{
    for (const PLogFollower::AutostartFailure& failure : fLog.autostartFailures())
    {
        const std::string who = failure.library.empty()
                                    ? "a plugin of core.autostart.list (" +
                                          shownText(fConfig.valueOf(kAutostartKey)) + ")"
                                    : failure.library + " of core.autostart.list";
        add(eExitAutostart, who + " did not initialise: " + ixlaResultText(failure.code) +
                                "; read the plugin's own log and " +
                                (fLogFile.empty() ? "a core log, which core.log.file=FILE enables"
                                                  : "the core log " + fLogFile));
    }
    if (fLog.isBlind() && !namesOf(fConfig.valueOf(kAutostartKey)).empty())
    {
        add(eExitAutostart,
            "the results of core.autostart.list are unknown, because the host cannot "
            "read the core log; remove core.log.enable=false, let "
            "core.log.file name an ordinary file, and give a log with a limit "
            "some core.log.parts");
    }
}

bool PPluginsCheck::isLoaded(const PString& iFile) const
{
    return _isLoadedPlugin(fLoadedDir.empty() ? pathOf(iFile) : fLoadedDir + "/" + utf8Text(iFile));
}

std::string PPluginsCheck::pathOf(const PString& iFile) const
{
    return utf8Text(fDirectory) + "/" + utf8Text(iFile);
}

void PPluginsCheck::add(EHostExit iCode, const std::string& iText)
{
    fFound.push_back({iCode, iText});
}
