// SPDX-License-Identifier: MIT
#include "config/StoreCommands.h"

#include "Ixla.h"
#include "config/PExplanation.h"
#include "config/PPluginKeys.h"
#include "config/PToolError.h"
#include "config/StoreUsers.h"
#include "helpers/ResultText.h"
#include "helpers/Text.h"
#include "portinglayer/PBlank.h"
#include "shared/PConfigFile.h"
#include "shared/PStoreFile.h"
#include "shared/ToolTexts.h"

#include <algorithm>
#include <fstream>
#include <iostream>
#include <iterator>

namespace
{
void _warn(const std::string& iText)
{
    std::cerr << "ixla-config: warning: " << iText << '\n';
}

/// Refuses names that a line of the store would change.
void _checkName(const std::string& iName, const char* iWhat)
{
    const PString name = ixlaWide(iName);
    const PSpan trimmed = PBlank::trimmed(name.ptr(), name.len());
    if (name.len() == 0 || trimmed.len != name.len())
    {
        throw PToolError(std::string(iWhat) + " \"" + shownText(name) +
                             "\": a name is not empty and has no blanks at its ends",
                         eExitUsage);
    }
}

void _checkValue(const std::string& iValue)
{
    const PString value = ixlaWide(iValue);
    if (PBlank::trimmed(value.ptr(), value.len()).len != value.len())
    {
        throw PToolError("value \"" + shownText(value) +
                             "\": the store does not keep blanks at the ends",
                         eExitUsage);
    }
}

std::string _pathOfStore(const PConfigView& iView)
{
    if (iView.places().storeName().len() == 0)
    {
        throw PToolError(shownText(iView.places().managerPath()) + ": " +
                         ixlaResultText(eIxlaNoStoreFile) +
                         "; add a line \"ixlap.configmanager.store.file = store.txt\"");
    }
    return utf8Text(iView.places().storePath());
}

/// The request, with its texts converted for the core. The core changes a copy of the store.
class Change
{
public:
    Change(const StoreRequest& iRequest, const PConfigView& iView)
        : fID(ixlaWide(iRequest.id)),
          fKey(ixlaWide(iRequest.key)),
          fAttribute(ixlaWide(iRequest.attribute)),
          fView(iView),
          fStore(_pathOfStore(iView))
    {
        copyStore();
    }

    int store(const PLiteral& iValue) const
    {
        IConfigManager& manager = fView.manager();
        return fAttribute.len() > 0 ? manager.storeAttrString(fID, fKey, fAttribute, iValue)
                                    : manager.storeString(fID, fKey, iValue);
    }

    int remove() const
    {
        IConfigManager& manager = fView.manager();
        return fAttribute.len() > 0 ? manager.removeStoredAttr(fID, fKey, fAttribute)
                                    : manager.removeStoredKey(fID, fKey);
    }

    /// Whether the copy has the entry, and its text.
    bool isStored(PString& oText) const;

    /// Replaces the store by the changed copy.
    void commit();

    /// The line of the store without its value.
    std::string name() const
    {
        return shownText(fID) + "|" + shownText(fKey) + (fAttribute.len() > 0 ? ":" : "") +
               shownText(fAttribute);
    }

    /// The path of the store, which need not exist.
    std::string place() const
    {
        return shownText(fView.places().storePath());
    }

private:
    void copyStore() const;

    const PString fID;
    const PString fKey;
    const PString fAttribute; ///< empty for the value
    const PConfigView& fView;
    PStoreFile fStore;
};

void Change::copyStore() const
{
    const std::optional<std::string> bytes = fStore.read();
    std::ofstream copy(fView.copyOfStore(), std::ios::binary);
    copy << bytes.value_or("");
    copy.close();
    if (!copy)
    {
        throw PToolError(fView.copyOfStore() + ": cannot be written; set TMPDIR to a directory "
                                               "with some space");
    }
}

void Change::commit()
{
    std::ifstream copy(fView.copyOfStore(), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(copy), std::istreambuf_iterator<char>()};
    fStore.write(bytes);
}

bool Change::isStored(PString& oText) const
{
    PString key(fID);
    key += L"|";
    key += fKey;
    PConfigFile store;
    if (store.read(ixlaWide(fView.copyOfStore())) != 0)
    {
        return false;
    }
    bool found = false;
    for (const ConfigLine& line : store.lines())
    {
        const bool matches = line.kind == ConfigLine::eEntry && line.key.text == key;
        // A key without a value in the store has an empty one.
        const bool counts = matches && (fAttribute.len() == 0 || line.attribute.text == fAttribute);
        // The last value counts, and the first text of an attribute.
        if (counts && line.attribute.text == fAttribute && !(found && fAttribute.len() > 0))
        {
            oText = line.value.text;
        }
        found = found || counts;
    }
    return found;
}

/// The reason for a refused operation, and a fix.
std::string _advice(int iResult, const Change& iChange)
{
    const std::string code = ixlaResultText(iResult);
    switch (iResult)
    {
    case eIxlaForbiddenCharacter:
        return iChange.name() + ": " + code + "; choose another name";
    case eIxlaNoValueForAttribute:
        return iChange.name() + ": " + code + "; store a value for the key first";
    case eIxlaBadConfigLine:
        return iChange.place() + ": " + code + "; `ixla-config check --store " + iChange.place() +
               "` shows the line";
    default:
        return iChange.place() + ": " + code + "; the directory of temporary files needs space";
    }
}

void _require(int iResult, const Change& iChange)
{
    if (iResult != 0)
    {
        throw PToolError(_advice(iResult, iChange));
    }
}

void _checkNames(const StoreRequest& iRequest)
{
    _checkName(iRequest.id, "ID");
    _checkName(iRequest.key, "key");
    if (iRequest.hasAttribute)
    {
        _checkName(iRequest.attribute, "attribute");
    }
}

/// Warns of side effects before the change is made.
void _warnBefore(const std::string& iDir, const PConfigView& iView)
{
    const std::string path = utf8Text(iView.places().storePath());
    warnOfUsers(iDir, path);
    PConfigFile store;
    if (iView.hasStore() && store.read(ixlaWide(path)) == 0 && store.comments() > 0)
    {
        _warn(shownText(iView.places().storePath()) +
              ": its comments are lost, because the core rewrites the store");
    }
}

void _warnUnknown(const std::string& iID, const PConfigView& iView)
{
    const std::vector<PString> known = iView.ids();
    if (std::find(known.begin(), known.end(), ixlaWide(iID)) == known.end())
    {
        _warn("no files are listed for " + shownUtf8(iID) + "; is it spelled right?");
    }
}

void _store(const StoreRequest& iRequest)
{
    const PConfigView view(iRequest.options, PConfigView::eWriteStore);
    Change change(iRequest, view);
    const PString value = ixlaWide(iRequest.value);
    _warnBefore(iRequest.options.dir, view);
    _warnUnknown(iRequest.id, view);
    _require(change.store(value), change);
    PString stored;
    if (!change.isStored(stored) || stored != value)
    {
        throw PToolError(
            change.place() + ": " + change.name() + " is \"" + shownText(stored) +
            "\" and is not changed: an attribute keeps its first text, so remove it first");
    }
    change.commit();
    std::cout << change.place() << ": " << change.name() << " = " << shownText(stored) << '\n';
}

/// Warns of a stored value that is never read.
void _warnHidden(const StoreRequest& iRequest)
{
    const PConfigView view(iRequest.options, PConfigView::eRead);
    const PExplanation now(view, ixlaWide(iRequest.id), ixlaWide(iRequest.key));
    if (now.isPinnedByFile())
    {
        _warn("a file pins " + shownUtf8(iRequest.key) +
              " with const, so the stored value is not read; `ixla-config explain` shows where");
    }
}

/// Warns of a value that the plugin refuses.
void _warnRefused(const StoreRequest& iRequest)
{
    const PPluginKeys keys(iRequest.options);
    const DeclaredKey* const key = keys.declarations().findKey(iRequest.id, iRequest.key);
    if (!key || iRequest.hasAttribute)
    {
        return;
    }
    const std::string refusal = refusalOf(*key, ixlaWide(iRequest.value));
    if (!refusal.empty())
    {
        _warn(quotedText(ixlaWide(iRequest.value)) + " is " + refusal +
              ", so the plugin uses the default " + shownUtf8(key->byDefault));
    }
}
} // namespace

int runStore(const StoreRequest& iRequest)
{
    _checkNames(iRequest);
    _checkValue(iRequest.value);
    _store(iRequest);
    _warnHidden(iRequest);
    _warnRefused(iRequest);
    return eExitOk;
}

int runRemove(const StoreRequest& iRequest)
{
    _checkNames(iRequest);
    const PConfigView view(iRequest.options, PConfigView::eWriteStore);
    Change change(iRequest, view);
    PString text;
    if (!change.isStored(text))
    {
        throw PToolError(change.place() + ": nothing is stored for " + change.name());
    }
    _warnBefore(iRequest.options.dir, view);
    _require(change.remove(), change);
    if (change.isStored(text))
    {
        throw PToolError(change.place() + ": " + change.name() + " was not removed");
    }
    change.commit();
    std::cout << change.place() << ": removed " << change.name() << '\n';
    return eExitOk;
}
