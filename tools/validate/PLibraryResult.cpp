// SPDX-License-Identifier: MIT
#include "validate/PLibraryResult.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <set>

namespace
{
constexpr std::array<const char*, 4> kOutcomes = {"pass", "fail", "skip", "known"};

PCheckResult::EOutcome _outcomeOf(const std::string& iText)
{
    const auto* const found = std::find(kOutcomes.begin(), kOutcomes.end(), iText);
    return found == kOutcomes.end()
               ? PCheckResult::eFail
               : static_cast<PCheckResult::EOutcome>(found - kOutcomes.begin());
}

double _rounded(double iSeconds)
{
    return std::round(iSeconds * 1000) / 1000;
}
} // namespace

bool PLibraryResult::passed() const
{
    return count(PCheckResult::eFail) == 0;
}

std::size_t PLibraryResult::count() const
{
    std::set<std::string> names;
    for (const PCheckResult& check : checks)
    {
        names.insert(check.check);
    }
    return names.size();
}

std::size_t PLibraryResult::count(PCheckResult::EOutcome iOutcome) const
{
    std::set<std::string> names;
    for (const PCheckResult& check : checks)
    {
        if (check.outcome == iOutcome)
        {
            names.insert(check.check);
        }
    }
    return names.size();
}

PLibraryResult PLibraryResult::failed(const std::string& iGiven, const std::string& iReason,
                                      const std::string& iAdvice)
{
    return {iGiven, {{"file", PCheckResult::eFail, iReason, iAdvice, 0, "", 0}}};
}

nlohmann::ordered_json PLibraryResult::toJson() const
{
    nlohmann::ordered_json json = {{"plugin", given}, {"passed", passed()}};
    json["checks"] = nlohmann::ordered_json::array();
    for (const PCheckResult& check : checks)
    {
        nlohmann::ordered_json each = {{"name", check.check},
                                       {"result", kOutcomes[check.outcome]},
                                       {"reason", check.reason},
                                       {"advice", check.advice},
                                       {"seconds", _rounded(check.seconds)}};
        if (!check.source.empty())
        {
            each["source"] = check.source;
            each["line"] = check.line;
        }
        json["checks"].push_back(each);
    }
    return json;
}

PLibraryResult PLibraryResult::ofJson(const std::string& iText)
{
    const nlohmann::json json = nlohmann::json::parse(iText);
    PLibraryResult result;
    result.given = json.at("plugin").get<std::string>();
    for (const nlohmann::json& check : json.at("checks"))
    {
        result.checks.push_back(
            {check.at("name").get<std::string>(), _outcomeOf(check.at("result").get<std::string>()),
             check.at("reason").get<std::string>(), check.at("advice").get<std::string>(),
             check.at("seconds").get<double>(), check.value("source", ""),
             check.value("line", 0U)});
    }
    return result;
}
