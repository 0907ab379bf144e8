// SPDX-License-Identifier: MIT
#include "shared/CoreKeys.h"

#include "shared/SimilarName.h"

#include <algorithm>

namespace
{
constexpr std::string_view kFilePrefix = "custom.config.";
constexpr std::string_view kCustomName = "NAME";
constexpr std::size_t kMostEdits = 4;

constexpr unsigned int kBoth = CoreKey::eArgument | CoreKey::ePropertyFile;
/// For a value that is always accepted.
constexpr std::string_view kNothing;
constexpr std::string_view kRefused = "the start fails with -502";
constexpr std::string_view kLikeCoreLog = "the value of the core's log counts";
constexpr std::string_view kZero = "it counts as 0";
constexpr std::string_view kSameAsCoreLog = "the value of the core's log";

constexpr CoreKey kKeys[] = {
    {"core.prs.file", CoreKey::eFile, CoreKey::eArgument, "none", "property file of the core",
     kNothing, kNothing},
    {"core.log.file", CoreKey::eFile, CoreKey::eArgument, "no log", "log file of the core",
     kNothing, kNothing},
    {"core.log.level", CoreKey::eNumber, CoreKey::eArgument, "0", "highest level that is logged",
     kRefused, kNothing},
    {"core.log.enable", CoreKey::eTruth, CoreKey::eArgument, "true", "whether the log is written",
     kRefused, kNothing},
    {"core.log.maxsize", CoreKey::eCount, CoreKey::eArgument, "0, no limit",
     "bytes after which the log starts a new part", kRefused, kRefused},
    {"core.log.parts", CoreKey::eCount, CoreKey::eArgument, "0",
     "number of finished parts that are kept", kRefused, kRefused},
    {"core.log.maxcount", CoreKey::eNumber, CoreKey::eArgument, "0, no limit",
     "lines after which the log starts a new part", "the log has no such limit", kNothing},
    {"core.plugins.dir", CoreKey::eDirectory, kBoth, "required, else -1006",
     "directory of the plugin libraries", kNothing, kNothing},
    {"core.plugins.config.dir", CoreKey::eDirectory, kBoth, "required, else -1010",
     "directory of the plugins' configuration files", kNothing, kNothing},
    {"core.plugins.log.dir", CoreKey::eDirectory, kBoth, "required, else -1010",
     "directory of the plugins' log files", kNothing, kNothing},
    {"core.load.plugin.list", CoreKey::eList, kBoth, "all libraries of the directory",
     "the libraries to load", kNothing, kNothing},
    {"core.autostart.list", CoreKey::eList, kBoth, "none",
     "the libraries to initialise at the end of the start", kNothing, kNothing},
    {"core.plugins.log.level", CoreKey::eCount, kBoth, kSameAsCoreLog,
     "highest level in the plugins' logs", kLikeCoreLog, kZero},
    {"core.plugins.log.maxsize", CoreKey::eCount, kBoth, kSameAsCoreLog,
     "bytes after which a plugin's log starts a new part", kLikeCoreLog, kZero},
    {"core.plugins.log.parts", CoreKey::eCount, kBoth, kSameAsCoreLog,
     "number of finished parts of a plugin's log that are kept", kLikeCoreLog, kZero},
    {"core.plugins.log.maxcount", CoreKey::eCount, kBoth, kSameAsCoreLog,
     "lines after which a plugin's log starts a new part", kLikeCoreLog, kZero},
    {"core.plugins.log.enable", CoreKey::eTruth, kBoth, kSameAsCoreLog,
     "whether the plugins' logs are written", kLikeCoreLog, kNothing},
    {"core.free.plugins.lib", CoreKey::eTruth, kBoth, "true",
     "whether plugin libraries are closed at the end", "the libraries are closed", kNothing},
    {"core.notify.exit.timeout", CoreKey::eCount, kBoth, "300",
     "seconds that the stop waits for listeners of the exit event",
     "the stop waits for 300 seconds", "the stop sleeps for weeks"},
    {"custom.config.NAME", CoreKey::eFile, kBoth, "none",
     "file that is read instead of the file NAME", kNothing, kNothing},
    {"ixlap.configmanager.store.file", CoreKey::eFile, CoreKey::eManagerFile, "no store, -3003",
     "the store file, found like the files of an ID", kNothing, kNothing}};

bool _isCustom(std::string_view iName)
{
    return iName.size() > kFilePrefix.size() && iName.substr(0, kFilePrefix.size()) == kFilePrefix;
}

/// Keys of the core's own groups are similar sooner than those of plugins.
std::size_t _mostEdits(const std::string& iName)
{
    const bool isOwn = iName.rfind("core.", 0) == 0 || iName.rfind("ixlap.", 0) == 0;
    return isOwn ? kMostEdits : kMostEdits / 2;
}

/// The end of the first two components of a name, with the dot.
std::size_t _endOfGroup(const std::string& iName)
{
    const std::size_t first = iName.find('.');
    const std::size_t second = first == std::string::npos ? first : iName.find('.', first + 1);
    return second == std::string::npos ? iName.size() : second + 1;
}
} // namespace

std::span<const CoreKey> coreKeys()
{
    return kKeys;
}

const CoreKey* findCoreKey(std::string_view iName)
{
    const std::string_view wanted = _isCustom(iName) ? "custom.config.NAME" : iName;
    const auto* const found =
        std::find_if(std::begin(kKeys), std::end(kKeys),
                     [&](const CoreKey& iKey) { return iKey.name == wanted; });
    return found == std::end(kKeys) ? nullptr : found;
}

std::string similarCoreKey(const std::string& iName)
{
    const std::string lower = lowerCase(iName);
    std::size_t fewest = _mostEdits(lower) + 1;
    std::string similar;
    for (const CoreKey& key : coreKeys())
    {
        const bool isCustom = _isCustom(key.name);
        const std::size_t end = isCustom ? _endOfGroup(lower) : lower.size();
        const std::string_view wanted = isCustom ? kFilePrefix : key.name;
        const std::size_t edits = editDistance(lower.substr(0, end), std::string(wanted));
        if (edits < fewest)
        {
            fewest = edits;
            const std::string rest =
                end < iName.size() ? iName.substr(end) : std::string(kCustomName);
            similar = std::string(wanted) + (isCustom ? rest : "");
        }
    }
    return similar;
}

std::string typeText(CoreKey::EType iType)
{
    static constexpr const char* kTexts[] = {"file",   "directory",     "list of names",
                                             "number", "number from 0", "truth value"};
    return kTexts[iType];
}

std::string placesText(unsigned int iPlaces)
{
    if (iPlaces == kBoth)
    {
        return "argument, property file";
    }
    return iPlaces == CoreKey::eArgument ? "argument" : "ixlap.configmanager.prs";
}
