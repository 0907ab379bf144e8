// SPDX-License-Identifier: MIT
#include "config/ReadCommands.h"

#include "Ixla.h"
#include "config/PExplanation.h"
#include "config/PToolError.h"
#include "helpers/ResultText.h"
#include "helpers/Text.h"
#include "shared/ToolTexts.h"

#include <nlohmann/json.hpp>

#include <iostream>

namespace
{
void _print(const nlohmann::json& iJson)
{
    // JSON cannot contain bytes that are not UTF-8.
    std::cout << iJson.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << '\n';
}

std::string _joined(const std::vector<PString>& iTexts)
{
    std::string joined;
    for (const PString& text : iTexts)
    {
        joined += (joined.empty() ? "" : ", ") + shownText(text);
    }
    return joined;
}

nlohmann::json _texts(const std::vector<PString>& iTexts)
{
    nlohmann::json texts = nlohmann::json::array();
    for (const PString& text : iTexts)
    {
        texts.push_back(utf8Text(text));
    }
    return texts;
}

int _read(IConfig& iConfig, const ReadRequest& iRequest, PString& oText)
{
    const PString key = ixlaWide(iRequest.key);
    return iRequest.hasAttribute ? iConfig.getAttrString(key, ixlaWide(iRequest.attribute), oText)
                                 : iConfig.getString(key, oText);
}

/// The request, for messages.
std::string _subject(const ReadRequest& iRequest)
{
    const std::string attribute =
        iRequest.hasAttribute ? ":" + shownText(ixlaWide(iRequest.attribute)) : "";
    return shownText(ixlaWide(iRequest.id)) + " " + shownText(ixlaWide(iRequest.key)) + attribute;
}

PToolError _notFound(const ReadRequest& iRequest)
{
    return PToolError(_subject(iRequest) +
                      ": neither the files nor the store have it; `ixla-config " + "--dir " +
                      iRequest.options.dir + " keys " + iRequest.id + "` lists the keys");
}
} // namespace

int runIds(const ReadRequest& iRequest)
{
    const PConfigView view(iRequest.options, PConfigView::eRead);
    nlohmann::json all = nlohmann::json::array();
    for (const PString& id : view.ids())
    {
        const std::vector<PString> files = view.places().filesOf(id);
        const unsigned int stored = view.storedKeys(id);
        all.push_back({{"id", utf8Text(id)}, {"files", _texts(files)}, {"stored", stored}});
        if (!iRequest.json)
        {
            std::cout << shownText(id);
            if (iRequest.verbose)
            {
                std::cout << " = " << _joined(files) << (stored && !files.empty() ? " + " : "")
                          << (stored ? std::to_string(stored) + " stored" : "");
            }
            std::cout << '\n';
        }
    }
    if (iRequest.json)
    {
        _print({{"ids", all}});
    }
    return eExitOk;
}

int runKeys(const ReadRequest& iRequest)
{
    const PConfigView view(iRequest.options, PConfigView::eRead);
    const PString id = ixlaWide(iRequest.id);
    const PBaseptr<IConfig> config = view.load(id);
    nlohmann::json all = nlohmann::json::array();
    for (const PString& key : view.keys(id))
    {
        PString value;
        const int result = config->getString(key, value);
        all.push_back({{"key", utf8Text(key)}, {"value", utf8Text(value)}, {"result", result}});
        if (!iRequest.json)
        {
            std::cout << shownText(key);
            if (iRequest.verbose)
            {
                std::cout << " = " << (result == 0 ? shownText(value) : ixlaResultText(result));
            }
            std::cout << '\n';
        }
    }
    if (iRequest.json)
    {
        _print({{"id", iRequest.id}, {"keys", all}});
    }
    return eExitOk;
}

int runGet(const ReadRequest& iRequest)
{
    const PConfigView view(iRequest.options, PConfigView::eRead);
    PString text;
    const int result = _read(*view.load(ixlaWide(iRequest.id)), iRequest, text);
    if (result == eIxlaNotFound)
    {
        throw _notFound(iRequest);
    }
    PConfigView::require(result, _subject(iRequest));
    if (iRequest.json)
    {
        nlohmann::json attribute;
        if (iRequest.hasAttribute)
        {
            attribute = iRequest.attribute;
        }
        _print({{"id", iRequest.id},
                {"key", iRequest.key},
                {"attribute", attribute},
                {"value", utf8Text(text)}});
    }
    else
    {
        std::cout << utf8Text(text) << '\n';
    }
    return eExitOk;
}

int runExplain(const ReadRequest& iRequest)
{
    const PConfigView view(iRequest.options, PConfigView::eRead);
    const PExplanation explanation(view, ixlaWide(iRequest.id), ixlaWide(iRequest.key));
    if (iRequest.json)
    {
        _print(explanation.json());
        return explanation.isFound() && explanation.agrees() ? eExitOk : eExitFailed;
    }
    if (!explanation.hasLines())
    {
        throw _notFound(iRequest);
    }
    explanation.print(std::cout);
    return explanation.isFound() && explanation.agrees() ? eExitOk : eExitFailed;
}
