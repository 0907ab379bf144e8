// SPDX-License-Identifier: MIT
// Episode: one sequence of steps, taken by the system and its model, and made short when it fails.
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
    /// What system and model disagreed about.
    struct Difference
    {
        std::size_t step;
        std::string system;
        std::string model;
    };

    Episode(std::uint64_t iSeed, std::size_t iSteps, Fault iFault);

    /// A fresh core and a fresh model take the steps; nothing when they agree to the end.
    std::optional<Difference> run() const;

    /// Leaves out what the difference does not need, as far as the time allows.
    void shrink(std::chrono::milliseconds iTime);

    std::size_t size() const;

    /// The steps from iFirst on, one a line.
    std::string text(std::size_t iFirst = 0) const;

    /// Leaves out the steps behind this one.
    void cutAfter(std::size_t iStep);

private:
    bool shrinkBy(std::size_t iCount, std::chrono::steady_clock::time_point iEnd);

    const Fault fFault;
    const bool fLogsEnabled;
    std::vector<Step> fSteps;
};

#endif
