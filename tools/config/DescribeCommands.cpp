// SPDX-License-Identifier: MIT
#include "config/DescribeCommands.h"

#include "config/KeyJson.h"
#include "config/PPluginKeys.h"
#include "config/PToolError.h"
#include "shared/ToolTexts.h"

#include <filesystem>
#include <iostream>

namespace
{
std::vector<std::string> _fileNames(const std::vector<std::string>& iPaths)
{
    std::vector<std::string> names;
    names.reserve(iPaths.size());
    for (const std::string& path : iPaths)
    {
        names.push_back(std::filesystem::path(path).filename());
    }
    return names;
}

void _printNames(const std::vector<std::string>& iNames)
{
    for (const std::string& name : iNames)
    {
        std::cout << shownUtf8(name) << '\n';
    }
}

void _printConfig(const std::string& iID, const DeclaredConfig& iConfig)
{
    std::cout << shownUtf8(iID) << ", declared by " << shownUtf8(joinedTexts(iConfig.libraries))
              << "\n\n";
    for (const DeclaredKey& key : iConfig.keys)
    {
        std::cout << shownUtf8(key.name) << ": " << shownUtf8(key.description) << "\n    "
                  << summaryOf(key) << '\n';
    }
}

nlohmann::json _json(const std::string& iID, const DeclaredConfig& iConfig)
{
    nlohmann::json keys = nlohmann::json::array();
    for (const DeclaredKey& key : iConfig.keys)
    {
        keys.push_back(keyJson(key));
    }
    return {{"id", iID}, {"libraries", iConfig.libraries}, {"keys", keys}};
}

/// The IDs to describe.
std::vector<std::string> _chosenIDs(const DescribeRequest& iRequest, const PPluginKeys& iKeys)
{
    if (iRequest.id.empty())
    {
        return iKeys.declarations().ids();
    }
    (void)iKeys.require(iRequest.id); // throws for an unknown one
    return {iRequest.id};
}

void _printTemplate(const std::string& iID, const DeclaredConfig& iConfig)
{
    std::cout << "# Settings of " << shownUtf8(iID) << ", declared by "
              << shownUtf8(joinedTexts(_fileNames(iConfig.libraries)))
              << ".\n# Each line below a description has the default. Remove its \"#\" to change "
                 "it.\n# The file takes effect when ixlap.configmanager.prs lists it for the "
                 "ID.\n";
    for (const DeclaredKey& key : iConfig.keys)
    {
        std::cout << "\n# " << shownUtf8(key.description) << "\n# " << acceptedText(key) << "; "
                  << (key.changes ? "changes at run time" : "read at the start") << "\n#"
                  << shownUtf8(key.name) << " = " << shownUtf8(key.byDefault) << '\n';
    }
}
} // namespace

int runDescribe(const DescribeRequest& iRequest)
{
    const PPluginKeys keys(iRequest.options);
    keys.requireKnown("describe");
    const std::vector<std::string> ids = _chosenIDs(iRequest, keys);
    nlohmann::json all = nlohmann::json::array();
    for (const std::string& id : ids)
    {
        const DeclaredConfig& config = keys.require(id);
        all.push_back(_json(id, config));
        if (!iRequest.json && !iRequest.names)
        {
            std::cout << (all.size() > 1 ? "\n" : "");
            _printConfig(id, config);
        }
    }
    if (iRequest.json)
    {
        printJson({{"ids", all}});
    }
    else if (iRequest.names)
    {
        _printNames(iRequest.id.empty() ? ids : keys.require(iRequest.id).names());
    }
    return eExitOk;
}

int runTemplate(const DescribeRequest& iRequest)
{
    const PPluginKeys keys(iRequest.options);
    keys.requireKnown("template");
    _printTemplate(iRequest.id, keys.require(iRequest.id));
    return eExitOk;
}
