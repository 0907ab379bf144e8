// SPDX-License-Identifier: MIT
#include "ScheduleFile.h"

#include <array>
#include <cstring>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace schedules
{
namespace
{
constexpr std::array kFaults = {"none", "memory", "lock", "thread", "file"};

FaultPlan::Kind _faultKind(const std::string& iName)
{
    for (std::size_t i = 0; i < kFaults.size(); ++i)
    {
        if (iName == kFaults[i])
        {
            return static_cast<FaultPlan::Kind>(i);
        }
    }
    throw std::runtime_error("unknown fault: " + iName);
}

void _readLine(const std::string& iLine, ScheduleFile& ioFile)
{
    std::istringstream words(iLine);
    std::string word;
    std::string kind;
    Decision decision{};
    words >> word;
    if (word == "scenario")
    {
        words >> ioFile.scenario;
    }
    else if (word == "fault")
    {
        words >> kind >> ioFile.fault.index;
        ioFile.fault.kind = _faultKind(kind);
    }
    else if (word == "switch")
    {
        words >> decision.thread >> decision.choice >> decision.next;
        ioFile.decisions.push_back(decision);
    }
    else if (word == "jump")
    {
        words >> decision.thread >> decision.choice;
        decision.next = Decision::kJump;
        ioFile.decisions.push_back(decision);
    }
    else
    {
        words.setstate(std::ios::failbit);
    }
    if (words.fail() || decision.thread >= kMaxThreads)
    {
        throw std::runtime_error("not understood: " + iLine);
    }
}
} // namespace

const char* faultName(FaultPlan::Kind iKind)
{
    return kFaults[iKind];
}

ScheduleFile ScheduleFile::read(const std::string& iPath)
{
    std::ifstream file(iPath);
    if (!file)
    {
        throw std::runtime_error(iPath + ": " + std::strerror(errno));
    }
    ScheduleFile schedule;
    for (std::string line; std::getline(file, line);)
    {
        if (!line.empty() && line[0] != '#')
        {
            _readLine(line, schedule);
        }
    }
    return schedule;
}

void ScheduleFile::write(const std::string& iPath, const std::string& iComment) const
{
    std::ofstream file(iPath);
    std::istringstream comment(iComment);
    for (std::string line; std::getline(comment, line);)
    {
        file << "# " << line << '\n';
    }
    file << "scenario " << scenario << '\n';
    if (fault.kind != FaultPlan::eNone)
    {
        file << "fault " << faultName(fault.kind) << ' ' << fault.index << '\n';
    }
    for (const Decision& decision : decisions)
    {
        if (decision.next == Decision::kJump)
        {
            file << "jump " << decision.thread << ' ' << decision.choice << '\n';
            continue;
        }
        file << "switch " << decision.thread << ' ' << decision.choice << ' ' << decision.next
             << '\n';
    }
    file.flush();
    if (!file)
    {
        throw std::runtime_error(iPath + ": cannot be written");
    }
}
} // namespace schedules
