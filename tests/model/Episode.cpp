// SPDX-License-Identifier: MIT
#include "model/Episode.h"

#include "model/CoreSystem.h"
#include "model/Model.h"

#include <algorithm>

Episode::Episode(std::uint64_t iSeed, std::size_t iSteps, Fault iFault)
    : fFault(iFault), fLogsEnabled(iSeed % 8 != 7)
{
    std::mt19937_64 random(iSeed);
    for (std::size_t i = 0; i < iSteps; ++i)
    {
        Step step = Step::random(random);
        if (i > 0 && random() % 2 == 0)
        {
            step.stayAt(fSteps.back());
        }
        fSteps.push_back(step);
    }
}

std::optional<Episode::Difference> Episode::run() const
{
    CoreSystem system(fLogsEnabled);
    Model model(system.setup(), fFault);
    for (std::size_t i = 0; i < fSteps.size(); ++i)
    {
        const std::string real = system.perform(fSteps[i]);
        const std::string expected = model.perform(fSteps[i]);
        if (real != expected)
        {
            return Difference{i, real, expected};
        }
    }
    return std::nullopt;
}

void Episode::shrink(std::chrono::milliseconds iTime)
{
    const auto end = std::chrono::steady_clock::now() + iTime;
    std::size_t count = std::max<std::size_t>(fSteps.size() / 2, 1);
    while (std::chrono::steady_clock::now() < end)
    {
        const bool shorter = shrinkBy(count, end);
        if (!shorter && count == 1)
        {
            return;
        }
        count = shorter && count == 1 ? 1 : std::max<std::size_t>(count / 2, 1);
    }
}

/// Removes each group of iCount steps that the difference does not need.
bool Episode::shrinkBy(std::size_t iCount, std::chrono::steady_clock::time_point iEnd)
{
    bool shorter = false;
    for (std::size_t last = fSteps.size(); last > 0 && std::chrono::steady_clock::now() < iEnd;)
    {
        const std::size_t first = last > iCount ? last - iCount : 0;
        Episode attempt(*this);
        attempt.fSteps.erase(attempt.fSteps.begin() + static_cast<std::ptrdiff_t>(first),
                             attempt.fSteps.begin() + static_cast<std::ptrdiff_t>(last));
        if (const std::optional<Difference> difference = attempt.run())
        {
            attempt.cutAfter(difference->step);
            fSteps = attempt.fSteps;
            shorter = true;
        }
        last = std::min(first, fSteps.size());
    }
    return shorter;
}

std::size_t Episode::size() const
{
    return fSteps.size();
}

std::string Episode::text(std::size_t iFirst) const
{
    std::string text;
    for (std::size_t i = iFirst; i < fSteps.size(); ++i)
    {
        text += "  " + std::to_string(i + 1) + ". " + fSteps[i].text() + "\n";
    }
    return text;
}

void Episode::cutAfter(std::size_t iStep)
{
    fSteps.resize(std::min(fSteps.size(), iStep + 1));
}
