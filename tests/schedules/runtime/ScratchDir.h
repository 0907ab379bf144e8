// SPDX-License-Identifier: MIT
// ScratchDir: the directory of the schedules of this process, in memory if there is such a place.
#ifndef IXLAL_SCHEDULES_SCRATCHDIR_H
#define IXLAL_SCHEDULES_SCRATCHDIR_H

#include <string>

namespace schedules
{
class ScratchDir
{
public:
    ScratchDir();
    ~ScratchDir();
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    /// For the scenarios.
    static const char* path();

    /// Empty, for the runner.
    static const char* spare();

private:
    static std::string sRoot;
    static std::string sPath;
    static std::string sSpare;
};
} // namespace schedules

#endif
