// SPDX-License-Identifier: MIT
#include "control/PConfigCommands.h"

#include "control/PRequestError.h"
#include "control/PRunningValue.h"
#include "helpers/ResultText.h"
#include "helpers/Text.h"

namespace
{
/// The members that name a value.
struct ValueName
{
    explicit ValueName(const PRequest& iRequest)
        : id(ixlaWide(iRequest.text("id"))),
          key(ixlaWide(iRequest.text("key"))),
          attribute(ixlaWide(iRequest.optionalText("attribute")))
    {
    }

    std::string text() const
    {
        return ixlaNarrow(id) + " " + ixlaNarrow(key) +
               (attribute.len() > 0 ? ":" + ixlaNarrow(attribute) : "");
    }

    /// The members of a reply.
    PJsonObject json() const
    {
        PJsonObject reply;
        reply.text("id", ixlaNarrow(id)).text("key", ixlaNarrow(key));
        if (attribute.len() > 0)
        {
            reply.text("attribute", ixlaNarrow(attribute));
        }
        return reply;
    }

    const PString id;
    const PString key;
    const PString attribute;
};

void _require(int iResult, const std::string& iWhat)
{
    if (iResult != eIxlaOk)
    {
        const bool refused =
            iResult == eIxlaForbiddenCharacter || iResult == eIxlaNoValueForAttribute;
        throw PRequestError(refused ? kRefused : kFailed, iWhat + ": " + ixlaResultText(iResult),
                            iResult);
    }
}

[[noreturn]] void _refuseUnknown(const ValueName& iName)
{
    throw PRequestError(kNotFound, "no value: " + iName.text(), eIxlaNotFound);
}

PJsonObject _described(const std::string& iID, const DeclaredConfig& iConfig)
{
    std::vector<PJsonObject> keys;
    for (const DeclaredKey& key : iConfig.keys)
    {
        keys.push_back(PLoadedKeys::json(key));
    }
    PJsonObject config;
    return config.text("id", iID).texts("libraries", iConfig.libraries).list("keys", keys);
}

/// Throws for a value that the declaration of its key forbids.
void _requireAllowed(const ValueName& iName, const PString& iValue, const DeclaredKey& iKey)
{
    if (!iKey.changes)
    {
        throw PRequestError(kRefused, iName.text() +
                                          ": the plugin reads the key at the start only; "
                                          "change its file and start the host again");
    }
    const std::string refusal = refusalOf(iKey, iValue);
    if (!refusal.empty())
    {
        throw PRequestError(kRefused,
                            iName.text() + ": \"" + ixlaNarrow(iValue) + "\" is " + refusal);
    }
}

/// Removes the present run-time value, because the manager never replaces one.
int _replace(IConfigManager& ioManager, const ValueName& iName, const PString& iValue)
{
    if (iName.attribute.len() > 0)
    {
        const int removed = ioManager.removeSetAttr(iName.id, iName.key, iName.attribute);
        return removed != eIxlaOk
                   ? removed
                   : ioManager.setAttrString(iName.id, iName.key, iName.attribute, iValue);
    }
    const int removed = ioManager.removeSetKey(iName.id, iName.key);
    return removed != eIxlaOk ? removed : ioManager.setString(iName.id, iName.key, iValue);
}
} // namespace

std::optional<PString> readValue(const PControlServices& iServices, const PString& iID,
                                 const PString& iKey, const PString& iAttribute)
{
    PBaseptr<IConfig> config;
    _require(iServices.manager->loadByID(iID, config), "cannot load " + ixlaNarrow(iID));
    PString value;
    const int result = iAttribute.len() > 0 ? config->getAttrString(iKey, iAttribute, value)
                                            : config->getString(iKey, value);
    if (result == eIxlaNotFound)
    {
        return std::nullopt;
    }
    _require(result, "cannot read " + ixlaNarrow(iKey));
    return value;
}

PConfigCommands::PConfigCommands(const PControlServices& iServices) : fServices(iServices)
{
}

PJsonObject PConfigCommands::get(const PRequest& iRequest) const
{
    iRequest.allow({"id", "key", "attribute"});
    const ValueName name(iRequest);
    const std::optional<PString> value = readValue(fServices, name.id, name.key, name.attribute);
    if (!value)
    {
        _refuseUnknown(name);
    }
    return name.json().text("value", ixlaNarrow(*value));
}

PJsonObject PConfigCommands::explain(const PRequest& iRequest)
{
    iRequest.allow({"id", "key"});
    const ValueName name(iRequest);
    const PRunningValue value(fServices, name.id, name.key);
    const DeclaredKey* const key =
        fKeys.declarations().findKey(ixlaNarrow(name.id), ixlaNarrow(name.key));
    if (!value.isFound() && !key)
    {
        _refuseUnknown(name);
    }
    return value.json(isSet(name.id, name.key), key);
}

PJsonObject PConfigCommands::describe(const PRequest& iRequest)
{
    iRequest.allow({"id"});
    const std::string wanted = iRequest.optionalText("id");
    const PDeclarations& declarations = fKeys.declarations();
    if (!wanted.empty() && !declarations.find(wanted))
    {
        throw PRequestError(kNotFound, "no plugin declares keys of " + wanted);
    }
    std::vector<PJsonObject> list;
    for (const std::string& id : declarations.ids())
    {
        if (wanted.empty() || id == wanted)
        {
            list.push_back(_described(id, *declarations.find(id)));
        }
    }
    PJsonObject reply;
    return reply.list("ids", list);
}

PJsonObject PConfigCommands::set(const PRequest& iRequest)
{
    iRequest.allow({"id", "key", "attribute", "value"});
    const ValueName name(iRequest);
    const PString value = ixlaWide(iRequest.anyText("value"));
    const DeclaredKey* const key =
        fKeys.declarations().findKey(ixlaNarrow(name.id), ixlaNarrow(name.key));
    if (key && name.attribute.len() == 0)
    {
        _requireAllowed(name, value, *key);
    }
    _require(_replace(*fServices.manager, name, value), "cannot set " + name.text());
    if (name.attribute.len() == 0)
    {
        rememberSet(name.id, name.key);
    }
    const std::optional<PString> present = readValue(fServices, name.id, name.key, name.attribute);
    PJsonObject reply = name.json();
    reply.text("value", present ? ixlaNarrow(*present) : "");
    return reply.flag("effective", present == value);
}

PJsonObject PConfigCommands::unset(const PRequest& iRequest)
{
    iRequest.allow({"id", "key", "attribute"});
    const ValueName name(iRequest);
    IConfigManager& manager = *fServices.manager;
    const int result = name.attribute.len() > 0
                           ? manager.removeSetAttr(name.id, name.key, name.attribute)
                           : manager.removeSetKey(name.id, name.key);
    _require(result, "cannot unset " + name.text());
    if (name.attribute.len() == 0)
    {
        forget(name.id, name.key);
    }
    const std::optional<PString> present = readValue(fServices, name.id, name.key, name.attribute);
    PJsonObject reply = name.json();
    return present ? reply.text("value", ixlaNarrow(*present)) : reply.null("value");
}

bool PConfigCommands::isSet(const PString& iID, const PString& iKey) const
{
    const auto found = fSet.find(iID);
    return found != fSet.end() && found->second.count(iKey) > 0;
}

// Only "explain" uses it, and it has a rule for values that are not known, so the number is
// limited.
void PConfigCommands::rememberSet(const PString& iID, const PString& iKey)
{
    if (fKnown < kMostKnown && fSet[iID].insert(iKey).second)
    {
        ++fKnown;
    }
}

void PConfigCommands::forget(const PString& iID, const PString& iKey)
{
    const auto found = fSet.find(iID);
    fKnown -= found == fSet.end() ? 0 : found->second.erase(iKey);
}
