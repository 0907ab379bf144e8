// SPDX-License-Identifier: MIT
#include "host/PPluginTable.h"

#include <algorithm>

namespace
{
constexpr std::string_view kBuiltIn = "a plugin of the core";

/// Copies as much of a text as fits.
template <std::size_t N>
void _copy(std::string_view iText, char (&oText)[N])
{
    const std::size_t length = std::min(iText.size(), N - 1);
    std::copy_n(iText.data(), length, oText);
    oText[length] = '\0';
}

std::string_view _withoutDirectory(std::string_view iPath)
{
    const std::size_t slash = iPath.rfind('/');
    return slash == std::string_view::npos ? iPath : iPath.substr(slash + 1);
}
} // namespace

void PPluginTable::add(const PLogEntry& iEntry)
{
    unsigned long long address = 0;
    std::string_view rest;
    if (iEntry.isOfPlugin("[initPlugin]", address, rest))
    {
        addInit(iEntry, address, rest);
    }
    else if (iEntry.isOfPlugin("[processPlugin]", address, rest))
    {
        constexpr std::string_view library = "library: ";
        const bool isLibrary = rest.starts_with(library);
        addPlugin(address, isLibrary ? rest.substr(library.size()) : kBuiltIn);
    }
    else
    {
        addLoading(iEntry);
    }
}

void PPluginTable::addLoading(const PLogEntry& iEntry)
{
    std::string_view rest;
    if (iEntry.begins("[startFlow] Loading plugin: ", rest))
    {
        fLoads = false;
        _copy(_withoutDirectory(rest), fLoading);
        _copy(iEntry.clock, fLoadingSince);
        fLoads = true;
    }
    else if (iEntry.begins("[startFlow] Library is not a plugin", rest) ||
             iEntry.begins("[loadPluginLib] processPlugin(...) res: 0", rest))
    {
        fLoads = false;
    }
}

void PPluginTable::addPlugin(unsigned long long iAddress, std::string_view iLibrary)
{
    const std::string_view name = _withoutDirectory(iLibrary).substr(0, eNameSize - 1);
    const std::size_t known = numberOf(iAddress);
    if (known > 0 && name == fPlugins[known - 1].name)
    {
        fPlugins[known - 1].state = eLoaded; // the line is read again
        return;
    }
    const std::size_t at = fCount;
    if (at == eCapacity)
    {
        return;
    }
    Plugin& plugin = fPlugins[at];
    plugin.address = iAddress;
    _copy(name, plugin.name);
    plugin.state = eLoaded;
    fCount = at + 1;
}

void PPluginTable::addInit(const PLogEntry& iEntry, unsigned long long iAddress,
                           std::string_view iWhat)
{
    const std::size_t number = numberOf(iAddress);
    if (number == 0)
    {
        return;
    }
    Plugin& plugin = fPlugins[number - 1];
    if (iWhat.starts_with("Init plugin in thread"))
    {
        _copy(iEntry.clock, plugin.since);
        plugin.thread = iEntry.thread;
        plugin.order = ++fInits;
        plugin.state = eInitialising;
    }
    else
    {
        plugin.state = iWhat.starts_with("Init plugin done") ? eInitialised : eFailed;
    }
}

// The last one, because an address may be used again after a plugin was unloaded.
std::size_t PPluginTable::numberOf(unsigned long long iAddress) const
{
    std::size_t number = fCount;
    while (number > 0 && fPlugins[number - 1].address != iAddress)
    {
        --number;
    }
    return number;
}

std::size_t PPluginTable::count() const
{
    return fCount;
}

const PPluginTable::Plugin& PPluginTable::at(std::size_t iIndex) const
{
    return fPlugins[iIndex];
}

const PPluginTable::Plugin* PPluginTable::find(unsigned long long iAddress) const
{
    const std::size_t number = numberOf(iAddress);
    return number > 0 ? &fPlugins[number - 1] : nullptr;
}

const PPluginTable::Plugin* PPluginTable::initialising(int iThread) const
{
    const Plugin* last = nullptr;
    for (std::size_t i = 0; i < fCount; ++i)
    {
        const Plugin& plugin = fPlugins[i];
        if (plugin.state == eInitialising && (iThread == 0 || plugin.thread == iThread) &&
            (!last || plugin.order > last->order))
        {
            last = &plugin;
        }
    }
    return last;
}

const char* PPluginTable::loading() const
{
    return fLoads ? fLoading : "";
}

const char* PPluginTable::loadingSince() const
{
    return fLoadingSince;
}
