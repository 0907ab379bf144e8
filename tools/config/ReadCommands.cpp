// SPDX-License-Identifier: MIT
#include "config/ReadCommands.h"

#include "Ixla.h"
#include "config/KeyJson.h"
#include "config/PExplanation.h"
#include "config/PPluginKeys.h"
#include "config/PToolError.h"
#include "helpers/ResultText.h"
#include "helpers/Text.h"
#include "shared/ToolTexts.h"

#include <algorithm>
#include <iostream>

namespace
{
std::vector<std::string> _texts(const std::vector<PString>& iTexts)
{
    std::vector<std::string> texts(iTexts.size());
    std::transform(iTexts.begin(), iTexts.end(), texts.begin(), &utf8Text);
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
    const std::string attribute = iRequest.hasAttribute ? ":" + shownUtf8(iRequest.attribute) : "";
    return shownUtf8(iRequest.id) + " " + shownUtf8(iRequest.key) + attribute;
}

bool _isKnown(const PConfigView& iView, const std::string& iID)
{
    const std::vector<PString> ids = iView.ids();
    return std::find(ids.begin(), ids.end(), ixlaWide(iID)) != ids.end();
}

/// A key that is not declared gets no member.
void _addDeclaration(nlohmann::json& ioJson, const DeclaredKey* iKey)
{
    if (iKey)
    {
        ioJson["declaration"] = keyJson(*iKey);
    }
}

void _printDeclaration(const DeclaredKey& iKey, const PString& iValue)
{
    const std::string refusal = refusalOf(iKey, iValue);
    if (!refusal.empty())
    {
        std::cout << "The plugin uses the default " << shownUtf8(iKey.byDefault) << ": "
                  << quotedText(iValue) << " is " << refusal << ".\n";
    }
    std::cout << "Declared: " << summaryOf(iKey) << ": " << shownUtf8(iKey.description) << '\n';
}

/// Explains a declared key that no line names.
int _explainDefault(const ReadRequest& iRequest, const DeclaredKey& iKey)
{
    if (iRequest.json)
    {
        nlohmann::json json = {{"id", iRequest.id},
                               {"key", iRequest.key},
                               {"value", iKey.byDefault},
                               {"layers", nlohmann::json::array()},
                               {"lines", nlohmann::json::array()},
                               {"pinned", "no"},
                               {"runTimeValueWins", true},
                               {"agreesWithCore", true}};
        _addDeclaration(json, &iKey);
        printJson(json);
        return eExitOk;
    }
    std::cout << _subject(iRequest) << " = " << shownUtf8(iKey.byDefault)
              << "\n\nNo line that the core reads names the key, so the plugin uses the default. A "
                 "value set at run time would win.\n";
    _printDeclaration(iKey, ixlaWide(iKey.byDefault));
    return eExitOk;
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
        const std::vector<std::string> files = _texts(view.places().filesOf(id));
        const unsigned int stored = view.storedKeys(id);
        all.push_back({{"id", utf8Text(id)}, {"files", files}, {"stored", stored}});
        if (!iRequest.json)
        {
            std::cout << shownText(id);
            if (iRequest.verbose)
            {
                std::cout << " = " << shownUtf8(joinedTexts(files))
                          << (stored && !files.empty() ? " + " : "")
                          << (stored ? std::to_string(stored) + " stored" : "");
            }
            std::cout << '\n';
        }
    }
    if (iRequest.json)
    {
        printJson({{"ids", all}});
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
        printJson({{"id", iRequest.id}, {"keys", all}});
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
        printJson({{"id", iRequest.id},
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
    const PPluginKeys keys(iRequest.options);
    const DeclaredKey* const key = keys.declarations().findKey(iRequest.id, iRequest.key);
    const PConfigView view(iRequest.options, PConfigView::eRead);
    if (key && !_isKnown(view, iRequest.id))
    {
        return _explainDefault(iRequest, *key);
    }
    const PExplanation explanation(view, ixlaWide(iRequest.id), ixlaWide(iRequest.key));
    if (key && !explanation.hasLines())
    {
        return _explainDefault(iRequest, *key);
    }
    const int result = explanation.isFound() && explanation.agrees() ? eExitOk : eExitFailed;
    if (iRequest.json)
    {
        nlohmann::json json = explanation.json();
        _addDeclaration(json, key);
        printJson(json);
        return result;
    }
    if (!explanation.hasLines())
    {
        throw _notFound(iRequest);
    }
    explanation.print(std::cout);
    if (key)
    {
        _printDeclaration(*key, explanation.value());
    }
    return result;
}
