// SPDX-License-Identifier: MIT
// Symbols: the functions and lines of code addresses, by addr2line.
#ifndef IXLAL_SCHEDULES_SYMBOLS_H
#define IXLAL_SCHEDULES_SYMBOLS_H

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace schedules
{
/// A function and its place in the sources, "core/PCore.cpp:12".
struct Frame
{
    std::string function;
    std::string place;

    /// Whether it is of the product, its plugins or the scenarios, and not a wrapper of a lock.
    bool isTelling() const;
};

class Symbols
{
public:
    /// iMaps is the text of /proc/PID/maps of the process of the addresses.
    explicit Symbols(const char* iMaps);

    /// Looks all up at once, for frames().
    void resolve(const std::vector<std::uintptr_t>& iAddresses);

    /// The frames of a return address, inlined ones first.
    const std::vector<Frame>& frames(std::uintptr_t iAddress) const;

    /// The first telling frame of calls that end with 0, or the first one.
    Frame telling(const std::uintptr_t* iCalls, std::size_t iCount) const;

private:
    struct Module
    {
        std::uintptr_t begin;
        std::uintptr_t end;
        std::uintptr_t base;
        std::string path;
    };

    const Module* module(std::uintptr_t iAddress) const;
    void resolve(const Module& iModule, const std::vector<std::uintptr_t>& iAddresses);

    std::vector<Module> fModules;
    std::map<std::uintptr_t, std::vector<Frame>> fFrames;
};
} // namespace schedules

#endif
