// SPDX-License-Identifier: MIT
#include "validate/SarifReport.h"

#include "validate/PBaseline.h"
#include "validate/PCheck.h"

#include <nlohmann/json.hpp>

#include <cstring>
#include <filesystem>

namespace
{
using Json = nlohmann::ordered_json;

/// A reference to a file. A colon would end the scheme of a URI.
std::string _uriOf(const std::string& iPath)
{
    constexpr char kDigits[] = "0123456789ABCDEF";
    constexpr char kPlain[] = "-._~/";
    std::string uri = iPath.starts_with('/') ? "file://" : "";
    for (const char each : iPath)
    {
        const auto byte = static_cast<unsigned char>(each);
        const bool plain = (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
                           (byte >= 'a' && byte <= 'z') ||
                           (byte != 0 && std::strchr(kPlain, each) != nullptr);
        uri +=
            plain ? std::string(1, each) : std::string{'%', kDigits[byte / 16], kDigits[byte % 16]};
    }
    return uri;
}

Json _rules()
{
    Json rules = Json::array();
    for (const PCheck& check : allChecks())
    {
        rules.push_back(
            {{"id", check.name},
             {"shortDescription", {{"text", "The plugin " + std::string(check.summary)}}},
             {"defaultConfiguration", {{"level", "error"}}}});
    }
    rules.push_back({{"id", "memory"},
                     {"shortDescription", {{"text", "The plugin has no memory errors"}}},
                     {"defaultConfiguration", {{"level", "error"}}}});
    return rules;
}

/// The number of a rule; the last one is that of no process of its own.
int _ruleIndex(const std::string& iCheck)
{
    const std::vector<PCheck>& checks = allChecks();
    for (std::size_t i = 0; i < checks.size(); ++i)
    {
        if (checks[i].name == iCheck)
        {
            return static_cast<int>(i);
        }
    }
    return static_cast<int>(checks.size());
}

Json _locationOf(const std::string& iLibrary, const PCheckResult& iResult)
{
    Json place = {{"artifactLocation",
                   {{"uri", _uriOf(iResult.source.empty() ? iLibrary : iResult.source)}}}};
    if (iResult.line > 0)
    {
        place["region"] = {{"startLine", iResult.line}};
    }
    return {{"physicalLocation", place}};
}

Json _resultOf(const std::string& iLibrary, const PCheckResult& iResult)
{
    const std::string advice = iResult.advice.empty() ? "" : "\n" + iResult.advice;
    const std::string file = std::filesystem::path(iLibrary).filename().string();
    Json result = {
        {"ruleId", iResult.check},
        {"ruleIndex", _ruleIndex(iResult.check)},
        {"level", "error"},
        {"message", {{"text", file + ": " + iResult.reason + advice}}},
        {"locations", Json::array({_locationOf(iLibrary, iResult)})},
        {"partialFingerprints",
         {{"finding/v1", file + " " + iResult.check + " " + PBaseline::stableText(iResult)}}}};
    if (iResult.outcome == PCheckResult::eKnown)
    {
        result["suppressions"] = Json::array(
            {{{"kind", "external"}, {"justification", "The baseline has this finding"}}});
    }
    return result;
}
} // namespace

std::string sarifOf(const std::vector<PLibraryResult>& iResults)
{
    Json results = Json::array();
    for (const PLibraryResult& library : iResults)
    {
        for (const PCheckResult& check : library.checks)
        {
            if (check.outcome == PCheckResult::eFail || check.outcome == PCheckResult::eKnown)
            {
                results.push_back(_resultOf(library.given, check));
            }
        }
    }
    const Json driver = {
        {"name", "ixla-validate"}, {"version", IXLAL_VERSION}, {"rules", _rules()}};
    const Json run = {{"tool", {{"driver", driver}}},
                      {"invocations", Json::array({{{"executionSuccessful", true}}})},
                      {"results", results}};
    const Json log = {{"$schema", "https://json.schemastore.org/sarif-2.1.0.json"},
                      {"version", "2.1.0"},
                      {"runs", Json::array({run})}};
    return log.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}
