// SPDX-License-Identifier: MIT
#include "Symbols.h"

#include <cstdio>
#include <filesystem>
#include <memory>
#include <set>
#include <sstream>

namespace schedules
{
namespace
{
bool _startsWith(const std::string& iText, const char* iStart)
{
    return iText.rfind(iStart, 0) == 0;
}
/// The place below the root of the sources, without what addr2line adds.
std::string _shortened(const std::string& iPlace)
{
    const std::filesystem::path path = iPlace.substr(0, iPlace.find(" (discriminator"));
    const std::string place = path.lexically_normal();
    static const std::string sRoot = SCHEDULES_ROOT "/";
    return _startsWith(place, sRoot.c_str()) ? place.substr(sRoot.size()) : place;
}

std::string _withoutParameters(const std::string& iFunction)
{
    const std::string function = iFunction.substr(0, iFunction.find("<", 1));
    return function.substr(0, function.find('(', 1));
}

} // namespace

bool Frame::isTelling() const
{
    if (_startsWith(function, "std::thread::_State_impl") && !_startsWith(place, "/usr/"))
    {
        return true;
    }
    for (const char* start : {"std::", "__gnu", "PMutex::", "PConditionalVar::", "PLockGuard",
                              "operator", "PCounterSync", "PThread::", "??", "__"})
    {
        if (_startsWith(function, start))
        {
            return false;
        }
    }
    return !_startsWith(place, "/usr/") && !_startsWith(place, "??");
}

Symbols::Symbols(const char* iMaps)
{
    std::istringstream maps(iMaps);
    for (std::string line; std::getline(maps, line);)
    {
        unsigned long begin = 0;
        unsigned long end = 0;
        unsigned long offset = 0;
        char path[512] = "";
        if (std::sscanf(line.c_str(), "%lx-%lx %*s %lx %*s %*s %511s", &begin, &end, &offset,
                        path) == 4 &&
            path[0] == '/')
        {
            const bool known = !fModules.empty() && fModules.back().path == path;
            const std::uintptr_t base = known ? fModules.back().base : begin - offset;
            fModules.push_back(Module{begin, end, base, path});
        }
    }
}

const Symbols::Module* Symbols::module(std::uintptr_t iAddress) const
{
    for (const Module& module : fModules)
    {
        if (iAddress >= module.begin && iAddress < module.end)
        {
            return &module;
        }
    }
    return nullptr;
}

void Symbols::resolve(const std::vector<std::uintptr_t>& iAddresses)
{
    std::map<std::string, std::pair<const Module*, std::set<std::uintptr_t>>> wanted;
    for (const std::uintptr_t address : iAddresses)
    {
        const Module* found = module(address);
        if (address != 0 && found)
        {
            wanted[found->path].first = found;
            wanted[found->path].second.insert(address);
        }
    }
    for (const auto& [path, addresses] : wanted)
    {
        resolve(*addresses.first, {addresses.second.begin(), addresses.second.end()});
    }
}

void Symbols::resolve(const Module& iModule, const std::vector<std::uintptr_t>& iAddresses)
{
    std::ostringstream command;
    command << "addr2line -a -f -C -i -e '" << iModule.path << "'" << std::hex;
    for (const std::uintptr_t address : iAddresses)
    {
        // The call is before the address to which it returns.
        command << " 0x" << address - 1 - iModule.base;
    }
    command << " 2>/dev/null";
    const std::unique_ptr<FILE, int (*)(FILE*)> output(popen(command.str().c_str(), "r"), pclose);
    char line[4096];
    std::size_t index = 0;
    std::vector<Frame>* frames = nullptr;
    std::string function;
    while (output && std::fgets(line, sizeof(line), output.get()))
    {
        std::string text = line;
        text.erase(text.find_last_not_of('\n') + 1);
        if (_startsWith(text, "0x") && index < iAddresses.size())
        {
            frames = &fFrames[iAddresses[index++]];
            function.clear();
        }
        else if (function.empty())
        {
            function = text;
        }
        else if (frames)
        {
            frames->push_back(Frame{_withoutParameters(function), _shortened(text)});
            function.clear();
        }
    }
}

const std::vector<Frame>& Symbols::frames(std::uintptr_t iAddress) const
{
    static const std::vector<Frame> sNone;
    const auto found = fFrames.find(iAddress);
    return found == fFrames.end() ? sNone : found->second;
}

Frame Symbols::telling(const std::uintptr_t* iCalls, std::size_t iCount) const
{
    Frame first;
    for (std::size_t i = 0; i < iCount && iCalls[i] != 0; ++i)
    {
        for (const Frame& frame : frames(iCalls[i]))
        {
            if (frame.isTelling())
            {
                return frame;
            }
            if (first.function.empty())
            {
                first = frame;
            }
        }
    }
    return first;
}
} // namespace schedules
