// SPDX-License-Identifier: MIT
#include "Interleaving.h"

#include <sstream>
#include <vector>

namespace schedules
{
namespace
{
constexpr std::uint32_t kFirst = 3; ///< steps at the begin of a run that are printed
constexpr std::uint32_t kLast = 8;  ///< and at its end
} // namespace

Interleaving::Interleaving(const Report& iReport) : fReport(iReport), fSymbols(iReport.maps)
{
    resolve();
}

void Interleaving::resolve()
{
    std::vector<std::uintptr_t> addresses;
    const auto add = [&](const std::uintptr_t* iCalls, std::size_t iCount)
    {
        for (std::size_t i = 0; i < iCount && iCalls[i] != 0; ++i)
        {
            addresses.push_back(iCalls[i]);
        }
    };
    for (std::uint32_t i = 0; i < fReport.eventCount; ++i)
    {
        add(fReport.events[i].calls, Event::kCalls);
    }
    for (std::uint32_t i = 0; i < fReport.stackCount; ++i)
    {
        add(fReport.stacks[i].calls, StackDump::kCalls);
    }
    for (std::uint32_t i = 0; i < fReport.objectCount; ++i)
    {
        add(fReport.objects[i].calls, Event::kCalls);
    }
    fSymbols.resolve(addresses);
}

std::string Interleaving::step(const Event& iEvent) const
{
    const Frame frame = fSymbols.telling(iEvent.calls, Event::kCalls);
    std::ostringstream text;
    text << "    " << opName(iEvent.op);
    if (iEvent.object != 0)
    {
        text << " 0x" << std::hex << iEvent.object << std::dec;
    }
    text << "  " << frame.function << "  " << frame.place << '\n';
    return text.str();
}

std::string Interleaving::run(std::uint32_t iBegin, std::uint32_t iEnd) const
{
    std::ostringstream text;
    text << "  thread " << unsigned{fReport.events[iBegin].thread} << ", " << iEnd - iBegin
         << " steps\n";
    for (std::uint32_t i = iBegin; i < iEnd; ++i)
    {
        if (i == iBegin + kFirst && iEnd - iBegin > kFirst + kLast + 1)
        {
            text << "    ...\n";
            i = iEnd - kLast;
        }
        text << step(fReport.events[i]);
    }
    return text.str();
}

std::string Interleaving::stacks() const
{
    std::ostringstream text;
    for (std::uint32_t i = 0; i < fReport.stackCount; ++i)
    {
        const StackDump& stack = fReport.stacks[i];
        text << "  thread " << unsigned{stack.thread} << ' ' << stack.label << '\n';
        for (std::size_t j = 0; j < StackDump::kCalls && stack.calls[j] != 0; ++j)
        {
            for (const Frame& frame : fSymbols.frames(stack.calls[j]))
            {
                text << "    " << frame.function << "  " << frame.place << '\n';
            }
        }
    }
    return text.str();
}

std::string Interleaving::objects() const
{
    std::ostringstream text;
    for (std::uint32_t i = 0; i < fReport.objectCount; ++i)
    {
        const NamedObject& object = fReport.objects[i];
        const Frame frame = fSymbols.telling(object.calls, Event::kCalls);
        text << "  0x" << std::hex << object.object << std::dec << " was first used in "
             << frame.function << "  " << frame.place << '\n';
    }
    return text.str();
}

std::string Interleaving::text() const
{
    std::ostringstream text;
    text << "Outcome: " << outcomeName(fReport.outcome) << ": " << fReport.message << "\n"
         << "Schedule: " << fReport.counts.threads << " threads, " << fReport.counts.points
         << " switch points, " << fReport.virtualTime / 1000000 << " ms of virtual time\n";
    std::uint32_t begin = 0;
    for (std::uint32_t i = 1; i <= fReport.eventCount; ++i)
    {
        if (i == fReport.eventCount || fReport.events[i].thread != fReport.events[begin].thread)
        {
            text << run(begin, i);
            begin = i;
        }
    }
    text << "Calls at the end:\n" << stacks();
    const std::string named = objects();
    if (!named.empty())
    {
        text << "Objects:\n" << named;
    }
    return text.str();
}
} // namespace schedules
