// SPDX-License-Identifier: MIT
#include "model/Episode.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <random>

namespace
{
using namespace std::chrono_literals;

constexpr std::size_t kStepsOfEpisode = 1000;
constexpr std::uint64_t kEpisodesOfSeed = 100;

/// The number of episodes of a seed when no difference is expected. Sanitizer builds are about ten
/// times slower.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::uint64_t kEpisodesRun = 25;
#else
constexpr std::uint64_t kEpisodesRun = kEpisodesOfSeed;
#endif

constexpr std::size_t kLastSteps = 10;

/// A description of the shortened sequence and its position in the run.
std::string _report(Episode ioEpisode, const Episode::Difference& iDifference)
{
    ioEpisode.cutAfter(iDifference.step);
    const std::size_t size = ioEpisode.size();
    std::string report = "at step " + std::to_string(size) + ", the last ones were\n" +
                         ioEpisode.text(size > kLastSteps ? size - kLastSteps : 0);
    ioEpisode.shrink(20s);
    report += "shrunk to " + std::to_string(ioEpisode.size()) + " steps:\n" + ioEpisode.text();
    const Episode::Difference last = ioEpisode.run().value_or(iDifference);
    return report + "the system: " + last.system + "\nthe model:  " + last.model;
}

/// Runs episodes of the seed until system and model differ; empty if they never do.
std::string _firstDifference(std::uint64_t iSeed, Fault iFault)
{
    const std::uint64_t episodes = iFault == Fault::eNone ? kEpisodesRun : kEpisodesOfSeed;
    for (std::uint64_t number = 0; number < episodes; ++number)
    {
        const Episode episode(iSeed * kEpisodesOfSeed + number, kStepsOfEpisode, iFault);
        if (const std::optional<Episode::Difference> difference = episode.run())
        {
            return "IXLAL_MODEL_SEED=" + std::to_string(iSeed) + ", episode " +
                   std::to_string(number) + ", " + _report(episode, *difference);
        }
    }
    return "";
}

/// The value of an environment variable as a number.
std::uint64_t _fromEnvironment(const char* iName, std::uint64_t iDefault)
{
    const char* const text = std::getenv(iName);
    if (text)
    {
        std::from_chars(text, text + std::strlen(text), iDefault);
    }
    return iDefault;
}

// The steps run on one thread, so one seed is enough for the thread sanitizer.
#if !defined(__SANITIZE_THREAD__)
class ModelSeeds : public testing::TestWithParam<std::uint64_t>
{
};

TEST_P(ModelSeeds, SystemAndModelAgree)
{
    const std::string difference = _firstDifference(GetParam(), Fault::eNone);
    EXPECT_TRUE(difference.empty()) << difference;
}

INSTANTIATE_TEST_SUITE_P(Fixed, ModelSeeds, testing::Range<std::uint64_t>(1, 11));
#endif

/// IXLAL_MODEL_SEED replays a seed; IXLAL_MODEL_FAULT makes the model wrong, to see a report.
TEST(ModelFreshSeed, SystemAndModelAgree)
{
    const std::uint64_t seed = _fromEnvironment("IXLAL_MODEL_SEED", std::random_device()());
    const auto fault = static_cast<Fault>(_fromEnvironment("IXLAL_MODEL_FAULT", 0));
    std::cout << "IXLAL_MODEL_SEED=" << seed << std::endl;
    const std::string difference = _firstDifference(seed, fault);
    EXPECT_TRUE(difference.empty()) << difference;
}

// Only without a sanitizer: the detection of differences is the same in all builds.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
class WrongModel : public testing::TestWithParam<int>
{
};

TEST_P(WrongModel, IsDetectedAndShrunkToAFewSteps)
{
    const std::string report = _firstDifference(1, static_cast<Fault>(GetParam()));
    std::cout << report << std::endl;
    const std::string mark = "shrunk to ";
    const std::size_t at = report.find(mark);
    ASSERT_NE(std::string::npos, at);
    EXPECT_LE(std::atoi(report.c_str() + at + mark.size()), 8);
}

INSTANTIATE_TEST_SUITE_P(Faults, WrongModel, testing::Range(1, static_cast<int>(Fault::eCount)));
#endif
} // namespace
