// SPDX-License-Identifier: MIT
#include "control/PCoreLog.h"

#include "control/PHostLogs.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <unistd.h>

namespace
{
/// Removes iPrefix; false when iText does not begin with it.
bool _skip(std::string_view& ioText, std::string_view iPrefix)
{
    const bool found = ioText.substr(0, iPrefix.size()) == iPrefix;
    ioText.remove_prefix(found ? iPrefix.size() : 0);
    return found;
}

/// Removes the text up to iEnd, and iEnd; returns the text.
std::string_view _takeUntil(std::string_view& ioText, std::string_view iEnd)
{
    const std::size_t place = std::min(ioText.find(iEnd), ioText.size());
    const std::string_view taken = ioText.substr(0, place);
    ioText.remove_prefix(std::min(place + iEnd.size(), ioText.size()));
    return taken;
}
} // namespace

PCoreLog::PCoreLog(const std::string& iPath)
{
    std::error_code failure;
    const std::uintmax_t size = iPath.empty() ? 0 : std::filesystem::file_size(iPath, failure);
    if (failure || size == 0 || size > static_cast<std::uintmax_t>(PHostLogs::kLargest))
    {
        return;
    }
    std::ifstream file(iPath);
    for (std::string line; std::getline(file, line);)
    {
        read(line);
    }
}

bool PCoreLog::isComplete() const noexcept
{
    return fIsComplete;
}

const std::vector<LoggedPlugin>& PCoreLog::plugins() const noexcept
{
    return fPlugins;
}

const LoggedPlugin* PCoreLog::find(const std::string& iFileName) const
{
    const auto found = std::find_if(fPlugins.begin(), fPlugins.end(),
                                    [&](const LoggedPlugin& iPlugin)
                                    {
                                        const std::filesystem::path path = iPlugin.library;
                                        return path.filename() == iFileName;
                                    });
    return found == fPlugins.end() ? nullptr : &*found;
}

const std::string& PCoreLog::pluginsDir() const noexcept
{
    return fPluginsDir;
}

const std::string& PCoreLog::loadList() const noexcept
{
    return fLoadList;
}

const std::string& PCoreLog::autostartList() const noexcept
{
    return fAutostartList;
}

void PCoreLog::clear()
{
    fPlugins.clear();
    fByAddress.clear();
    fPluginsDir.clear();
    fLoadList.clear();
    fAutostartList.clear();
}

/// A line: date, time, process:thread, kind, tag, text.
void PCoreLog::read(std::string_view iLine)
{
    static const std::string sProcess = std::to_string(getpid());
    (void)_takeUntil(iLine, " ");
    (void)_takeUntil(iLine, " ");
    std::string_view thread = _takeUntil(iLine, " ");
    if (_takeUntil(thread, ":") != sProcess)
    {
        return;
    }
    (void)_takeUntil(iLine, " ");
    (void)_takeUntil(iLine, " ");
    if (iLine == "[startFlow] Logger initialized.")
    {
        clear();
        fIsComplete = true;
        return;
    }
    readStart(iLine);
    readPlugin(iLine);
}

void PCoreLog::readStart(std::string_view iText)
{
    if (_skip(iText, "[startFlow] Loading plugins from dir: "))
    {
        fPluginsDir = _takeUntil(iText, ", filter: ");
    }
    else if (_skip(iText, "[startFlow] Parse loadPluginsList: "))
    {
        fLoadList = iText;
    }
    else if (_skip(iText, "[startFlow] Get autostart list: "))
    {
        fAutostartList = iText;
    }
}

void PCoreLog::readPlugin(std::string_view iText)
{
    if (_skip(iText, "[processPlugin] Add interface ID: ") && !fPlugins.empty())
    {
        fPlugins.back().interfaces.emplace_back(iText);
    }
    else if (_skip(iText, "[processPlugin][pg:"))
    {
        const std::string address(_takeUntil(iText, "] "));
        const bool isLibrary = _skip(iText, "library: ");
        if (isLibrary || iText == "Internal plugin")
        {
            fByAddress[address] = fPlugins.size();
            fPlugins.emplace_back();
            fPlugins.back().library = isLibrary ? iText : std::string_view();
        }
    }
    else if (_skip(iText, "[initPlugin][pg:"))
    {
        readState(iText);
    }
    else if (_skip(iText, "[ixlaUnloadPlugin] Remove interface ID: "))
    {
        removeInterface(iText);
    }
}

void PCoreLog::removeInterface(std::string_view iID)
{
    for (LoggedPlugin& plugin : fPlugins)
    {
        std::erase(plugin.interfaces, iID);
    }
}

void PCoreLog::readState(std::string_view iText)
{
    const auto found = fByAddress.find(_takeUntil(iText, "] "));
    if (found == fByAddress.end())
    {
        return;
    }
    LoggedPlugin& plugin = fPlugins[found->second];
    if (_skip(iText, "Init plugin in thread ID: "))
    {
        plugin.state = "initialising";
    }
    else if (iText == "Init plugin done.")
    {
        plugin.state = "initialised";
    }
    else if (_skip(iText, "Failed to init plugin err: "))
    {
        plugin.state = "failed";
        plugin.code = iText;
    }
}
