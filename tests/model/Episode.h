// SPDX-License-Identifier: MIT
// Episode: one sequence of steps of the system and its model, shortened when it fails.
#ifndef IXLAL_TESTS_EPISODE_H
#define IXLAL_TESTS_EPISODE_H

#include "model/Fault.h"
#include "model/Step.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

class Episode
{
public:
    /// The difference between system and model.
    struct Difference
    {
        std::size_t step;
        std::string system;
        std::string model;
    };

    Episode(std::uint64_t iSeed, std::size_t iSteps, Fault iFault);

    /// Runs the steps with a new core and a new model; empty if both agree to the end.
    std::optional<Difference> run() const;

    /// Removes steps that the difference does not need, as far as the time allows.
    void shrink(std::chrono::milliseconds iTime);

    std::size_t size() const;

    /// The steps from iFirst on, one per line.
    std::string text(std::size_t iFirst = 0) const;

    /// Removes the steps after this one.
    void cutAfter(std::size_t iStep);

private:
    bool shrinkBy(std::size_t iCount, std::chrono::steady_clock::time_point iEnd);

    const Fault fFault;
    const bool fLogsEnabled;
    std::vector<Step> fSteps;
};

#endif
