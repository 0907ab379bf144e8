// SPDX-License-Identifier: MIT
#include "config/PConfigView.h"

#include "Ixla.h"
#include "config/PToolError.h"
#include "helpers/ResultText.h"
#include "helpers/Text.h"
#include "portinglayer/PFile.h"
#include "portinglayer/PUtils.h"
#include "shared/ToolTexts.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace
{
constexpr std::string_view kFileLine = "[appendByID] Append file path: ";

void _checkDirectory(const std::string& iDir)
{
    std::error_code error;
    if (!std::filesystem::is_directory(iDir, error))
    {
        throw PToolError(iDir + ": " + (error ? error.message() : "not a directory") +
                         "; --dir is the directory that core.plugins.config.dir names");
    }
}

void _appendPropertyFile(IConfigManager& ioManager, const PBaseptr<IConfig>& ioConfig)
{
    PString file;
    if (ioConfig->getString(L"core.prs.file", file) != 0 || file.len() == 0)
    {
        return;
    }
    PUtils::fixFileSeparator(file);
    PConfigView::require(ioManager.appendByFile(file, ioConfig),
                         utf8Text(file) + ": the core's property file");
}

void _readManagerFile(IConfigManager& ioManager, PConfigPlaces& ioPlaces)
{
    const int result = ioPlaces.readManagerFile(ioManager);
    const std::string path = utf8Text(ioPlaces.managerPath());
    if (result == eIxlaBadConfigLine)
    {
        throw PToolError(path + ": the core cannot read it: " + ixlaResultText(result) +
                         "; `ixla-config check` shows the line");
    }
    if (result != 0)
    {
        throw PToolError(path + ": " + ixlaResultText(result) +
                         "; this file says which files make up each ID, so --dir must hold it");
    }
}

/// The ID in a key of the store.
PString _storePrefix(const PLiteral& iID)
{
    PString prefix(iID);
    prefix += L"|";
    return prefix;
}

void _sortUnique(std::vector<PString>& ioTexts)
{
    std::sort(ioTexts.begin(), ioTexts.end());
    ioTexts.erase(std::unique(ioTexts.begin(), ioTexts.end()), ioTexts.end());
}
} // namespace

PConfigView::PConfigView(const ConfigOptions& iOptions, EPurpose iPurpose) : fDir(iOptions.dir)
{
    {
        const PCoreSession scout(fScratch, fScratch.configDir(), {});
        fPlaces = placesOf(scout.manager(), iOptions.dir, iOptions.core);
        _readManagerFile(scout.manager(), *fPlaces);
    }
    if (iPurpose == eWriteStore)
    {
        fSession.emplace(fScratch, fScratch.configDir(), std::vector<std::string>());
        return;
    }
    std::vector<std::string> arguments = iOptions.core;
    if (fPlaces->storeName().len() > 0 && !hasStore())
    {
        arguments.push_back("custom.config." + utf8Text(fPlaces->storeName()) + "=" +
                            fScratch.unusedFile());
    }
    fSession.emplace(fScratch, iOptions.dir, arguments);
}

IConfigManager& PConfigView::manager() const
{
    return fSession->manager();
}

const PConfigPlaces& PConfigView::places() const
{
    return *fPlaces;
}

bool PConfigView::hasStore() const
{
    const PString path = fPlaces->storePath();
    return path.len() > 0 && PFile::exists(path);
}

std::string PConfigView::copyOfStore() const
{
    return fScratch.storeFile();
}

std::vector<PString> PConfigView::ids() const
{
    std::vector<PString> ids = fPlaces->listedIDs();
    for (const PString& key : storeKeys())
    {
        unsigned int bar = 0;
        if (key.chr(L'|', bar))
        {
            ids.emplace_back(key.ptr(), bar);
        }
    }
    _sortUnique(ids);
    return ids;
}

unsigned int PConfigView::storedKeys(const PLiteral& iID) const
{
    const PString prefix = _storePrefix(iID);
    const std::vector<PString> keys = storeKeys();
    const auto count = std::count_if(keys.begin(), keys.end(),
                                     [&](const PString& iKey)
                                     { return iKey.startsWith(prefix.ptr(), prefix.len()); });
    return static_cast<unsigned int>(count);
}

PBaseptr<IConfig> PConfigView::load(const PLiteral& iID) const
{
    const std::string shown = shownText(iID);
    if (iID == kIxlaGlobalConfigId)
    {
        throw PToolError(shown + ": the values of this ID are the settings of a running core; "
                                 "query its process");
    }
    const std::vector<PString> known = ids();
    if (std::find(known.begin(), known.end(), iID) == known.end())
    {
        throw PToolError("no ID " + shown + " in " + utf8Text(fPlaces->managerPath()) +
                         " nor in the store; `ixla-config --dir " + fDir +
                         " ids` lists those there are");
    }
    PBaseptr<IConfig> config;
    require(manager().loadByID(iID, config), shown);
    return config;
}

std::vector<PString> PConfigView::keys(const PLiteral& iID) const
{
    std::vector<PString> keys;
    require(load(iID)->getKeys(keys), shownText(iID));
    const PString prefix = _storePrefix(iID);
    for (const PString& key : storeKeys())
    {
        if (key.startsWith(prefix.ptr(), prefix.len()))
        {
            keys.emplace_back(key.ptr() + prefix.len(), key.len() - prefix.len());
        }
    }
    _sortUnique(keys);
    return keys;
}

std::vector<PString> PConfigView::filesRead(const PLiteral& iID) const
{
    const std::string log = fScratch.logDir() + "/ixlaplugins.log";
    std::error_code error;
    const std::uintmax_t before = std::filesystem::file_size(log, error);
    static_cast<void>(load(iID));
    std::ifstream lines(log);
    lines.seekg(error ? 0 : static_cast<std::streamoff>(before));
    std::vector<PString> files;
    for (std::string line; std::getline(lines, line);)
    {
        const std::size_t at = line.find(kFileLine);
        if (at != std::string::npos)
        {
            files.push_back(ixlaWide(line.substr(at + kFileLine.size())));
        }
    }
    if (files.size() != fPlaces->filesOf(iID).size())
    {
        throw PToolError(log + ": the core's log does not list the files that it read; is the "
                               "disk full?");
    }
    return files;
}

PBaseptr<IConfig> PConfigView::makeEmpty() const
{
    PBaseptr<IConfig> config;
    require(manager().loadByFile(L"/dev/null", config), "/dev/null");
    return config;
}

PConfigPlaces PConfigView::placesOf(IConfigManager& ioManager, const std::string& iDir,
                                    const std::vector<std::string>& iArguments)
{
    _checkDirectory(iDir);
    std::vector<PString> arguments = wideTexts(iArguments);
    arguments.push_back(ixlaWide("core.plugins.config.dir=" + iDir));
    PBaseptr<IConfig> core;
    int result = ioManager.loadByArgs(arguments, core);
    if (result == 0)
    {
        // Arguments take precedence over the file, and later ones over earlier ones.
        _appendPropertyFile(ioManager, core);
        result = ioManager.appendByArgs(arguments, core);
    }
    require(result, "--core: the core refuses the arguments");
    return PConfigPlaces(core);
}

void PConfigView::require(int iResult, const std::string& iWhat)
{
    if (iResult != 0)
    {
        throw PToolError(iWhat + ": " + ixlaResultText(iResult));
    }
}

/// The keys of the store, "ID|key" each; none for a store that the core cannot read.
std::vector<PString> PConfigView::storeKeys() const
{
    std::vector<PString> keys;
    PBaseptr<IConfig> store;
    if (hasStore() && manager().loadByFile(fPlaces->storePath(), store) == 0)
    {
        require(store->getKeys(keys), "the store");
    }
    return keys;
}
