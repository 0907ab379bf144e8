// SPDX-License-Identifier: MIT
#include "host/PWatchedFiles.h"

#include "host/PPluginCopies.h"
#include "shared/PConfigFile.h"
#include "shared/PCoreSettings.h"
#include "shared/PluginFiles.h"
#include "shared/ToolTexts.h"

#include <algorithm>
#include <filesystem>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace
{
constexpr std::size_t kShownFiles = 5;

std::string _pathOfKey(const PCoreSettings& iSettings, const wchar_t* iKey)
{
    PString path;
    iSettings.find(iKey, path); // the path stays empty without a value
    PUtils::fixFileSeparator(path);
    return utf8Text(path);
}

std::set<std::string> _loadList(const PCoreSettings& iSettings)
{
    std::set<std::string> files;
    PString list;
    iSettings.find(L"core.load.plugin.list", list); // the list stays empty without a value
    for (const PString& name : namesOf(list))
    {
        files.insert(utf8Text(pluginFile(name)));
    }
    return files;
}

/// The file names that the configuration manager's file lists.
std::vector<PString> _listedNames(const PString& iManagerPath)
{
    PConfigFile manager;
    // A file that cannot be read lists nothing.
    static_cast<void>(manager.read(iManagerPath));
    std::vector<PString> names;
    for (const ConfigLine& line : manager.lines())
    {
        if (line.kind == ConfigLine::eEntry && line.attribute.text.len() == 0 &&
            line.key.text != kStoreFileKey)
        {
            const std::vector<PString> files = namesOf(line.value.text);
            names.insert(names.end(), files.begin(), files.end());
        }
    }
    return names;
}
} // namespace

PWatchedFiles::PWatchedFiles(const std::vector<PString>& iArguments)
{
    const PCoreSettings settings(iArguments);
    fPluginsDir = _pathOfKey(settings, L"core.plugins.dir");
    fLoadList = _loadList(settings);
    addLibraries();
    addConfigFiles(settings);
}

const std::string& PWatchedFiles::pluginsDir() const
{
    return fPluginsDir;
}

std::vector<std::string> PWatchedFiles::plugins() const
{
    std::vector<std::string> names;
    for (const auto& [path, state] : fStates)
    {
        const std::string name = fs::path(path).filename();
        const bool isInDirectory = path == (fs::path(fPluginsDir) / name).string();
        if (isInDirectory && name.ends_with(".so") &&
            (fLoadList.empty() || fLoadList.count(name) > 0))
        {
            names.push_back(name);
        }
    }
    return names;
}

const std::vector<std::string>& PWatchedFiles::configFiles() const
{
    return fConfigFiles;
}

std::set<std::string> PWatchedFiles::paths() const
{
    std::set<std::string> paths(fConfigFiles.begin(), fConfigFiles.end());
    for (const auto& [path, state] : fStates)
    {
        paths.insert(path);
    }
    for (const std::string& file : fConfigFiles)
    {
        paths.insert(fs::absolute(file).parent_path());
    }
    if (!fPluginsDir.empty())
    {
        paths.insert(fPluginsDir);
        paths.insert(fs::path(fPluginsDir) / "any.so"); // the directory itself, also an empty one
    }
    return paths;
}

std::string PWatchedFiles::differencesTo(const PWatchedFiles& iEarlier) const
{
    std::vector<std::string> texts;
    for (const auto& [path, state] : fStates)
    {
        const auto earlier = iEarlier.fStates.find(path);
        if (earlier == iEarlier.fStates.end())
        {
            texts.push_back(path + " (new)");
        }
        else if (earlier->second != state)
        {
            texts.push_back(path);
        }
    }
    for (const auto& [path, state] : iEarlier.fStates)
    {
        if (fStates.count(path) == 0)
        {
            texts.push_back(path + " (removed)");
        }
    }
    std::string line;
    for (std::size_t i = 0; i < std::min(texts.size(), kShownFiles); ++i)
    {
        line += (i > 0 ? ", " : "") + shownUtf8(texts[i]);
    }
    return texts.size() <= kShownFiles
               ? line
               : line + " and " + std::to_string(texts.size() - kShownFiles) + " more";
}

void PWatchedFiles::addLibraries()
{
    std::error_code error;
    for (fs::directory_iterator entry(fPluginsDir, error), end; !error && entry != end;
         entry.increment(error))
    {
        if (PPluginCopies::isLibrary(entry->path().filename()))
        {
            addState(entry->path());
        }
    }
}

void PWatchedFiles::addConfigFiles(const PCoreSettings& iSettings)
{
    const std::string propertyFile = _pathOfKey(iSettings, L"core.prs.file");
    if (!propertyFile.empty())
    {
        addConfigFile(propertyFile);
    }
    const PString manager = iSettings.pathOf(kManagerFile);
    addConfigFile(utf8Text(manager));
    for (const PString& name : _listedNames(manager))
    {
        addConfigFile(utf8Text(iSettings.pathOf(name)));
    }
}

void PWatchedFiles::addConfigFile(const std::string& iPath)
{
    if (std::find(fConfigFiles.begin(), fConfigFiles.end(), iPath) == fConfigFiles.end())
    {
        fConfigFiles.push_back(iPath);
        addState(iPath);
    }
}

void PWatchedFiles::addState(const std::string& iPath)
{
    struct stat status = {};
    if (stat(iPath.c_str(), &status) == 0)
    {
        fStates[iPath] = {status.st_dev, status.st_ino, status.st_size, status.st_ctim.tv_sec,
                          status.st_ctim.tv_nsec};
    }
}
