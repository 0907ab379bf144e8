// SPDX-License-Identifier: MIT
#include "control/PRunningValue.h"

#include "Ixla.h"
#include "control/PConfigCommands.h"
#include "control/PRequestError.h"
#include "helpers/Text.h"
#include "shared/PConfigPlaces.h"

namespace
{
constexpr wchar_t kConst[] = L"const";

PString _argument(const PString& iKey, const ConfigLine& iLine)
{
    PString argument(iKey);
    argument += iLine.attribute.text.len() > 0 ? L":" : L"";
    argument += iLine.attribute.text;
    argument += L"=";
    argument += iLine.value.text;
    return argument;
}
} // namespace

PRunningValue::PRunningValue(const PControlServices& iServices, const PString& iID,
                             const PString& iKey)
    : fServices(iServices), fID(iID), fKey(iKey), fValue(readValue(iServices, iID, iKey, PString()))
{
    PConfigPlaces files(iServices.global);
    // A file that cannot be read has no IDs and no store. "check" reports the failure.
    (void)files.readManagerFile(*iServices.manager);
    std::vector<PString> own;
    std::vector<PString> stored;
    for (const PString& name : files.filesOf(iID))
    {
        addLines(files.pathOf(name), iKey, false, own);
    }
    const PString store = files.storePath();
    if (store.len() > 0)
    {
        PString key(iID);
        key += L"|";
        key += iKey;
        addLines(store, key, true, stored);
    }
    fOwn = read(own);
    fStored = read(stored);
}

// A store with a broken line has no values at all; a file has those before the line.
void PRunningValue::addLines(const PString& iPath, const PString& iKey, bool iIsStored,
                             std::vector<PString>& ioArguments)
{
    PConfigFile file;
    // The lines before a failure count, as for the core. "check" reports the failure.
    (void)file.read(iPath);
    for (const ConfigLine& line : file.lines())
    {
        const bool isRead = iIsStored ? file.brokenLine() == 0 : file.isRead(line);
        if (line.kind == ConfigLine::eEntry && line.key.text == iKey && isRead)
        {
            ioArguments.push_back(_argument(fKey, line));
            fLines.push_back({ixlaNarrow(iPath), line.number, iIsStored, ixlaNarrow(line.text)});
        }
    }
}

PRunningValue::Layer PRunningValue::read(const std::vector<PString>& iArguments) const
{
    Layer layer;
    PBaseptr<IConfig> config;
    PString text;
    if (iArguments.empty() || fServices.manager->loadByArgs(iArguments, config) != eIxlaOk)
    {
        return layer;
    }
    if (config->getString(fKey, text) == eIxlaOk)
    {
        layer.value = text;
    }
    // Without the attribute the value is not pinned.
    (void)config->getAttrBool(fKey, kConst, layer.isPinned);
    return layer;
}

bool PRunningValue::isFound() const noexcept
{
    return fValue.has_value();
}

const char* PRunningValue::source(bool iIsSet) const
{
    if (!fValue)
    {
        return "default";
    }
    if (fOwn.isPinned)
    {
        return "file";
    }
    if (fStored.isPinned && fStored.value == fValue)
    {
        return "store";
    }
    if (iIsSet)
    {
        return "run-time";
    }
    if (fStored.value == fValue)
    {
        return "store";
    }
    return fOwn.value == fValue ? "file" : "run-time";
}

PJsonObject PRunningValue::json(bool iIsSet, const DeclaredKey* iKey) const
{
    PJsonObject reply;
    reply.text("id", ixlaNarrow(fID)).text("key", ixlaNarrow(fKey));
    if (fValue)
    {
        reply.text("value", ixlaNarrow(*fValue));
    }
    else
    {
        reply.text("value", iKey ? iKey->byDefault : "");
    }
    reply.text("source", source(iIsSet)).flag("pinned", fOwn.isPinned || fStored.isPinned);
    std::vector<PJsonObject> lines;
    for (const Line& line : fLines)
    {
        PJsonObject entry;
        entry.text("file", line.file).number("line", line.number);
        entry.flag("stored", line.isStored).text("text", line.text);
        lines.push_back(entry);
    }
    reply.list("lines", lines);
    if (iKey)
    {
        addDeclaration(reply, *iKey);
    }
    return reply;
}

void PRunningValue::addDeclaration(PJsonObject& ioReply, const DeclaredKey& iKey) const
{
    ioReply.object("declaration", PLoadedKeys::json(iKey));
    const std::string refusal = fValue ? refusalOf(iKey, *fValue) : "";
    if (!refusal.empty())
    {
        ioReply.text("refused", refusal);
    }
}
